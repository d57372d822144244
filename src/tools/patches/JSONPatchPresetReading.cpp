// Reading presets; JSONPatchPreset.cpp applies them.

#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>

#include "base/Error.h"
#include "base/Unicode.h"
#include "search/typed/HexParser.h"
#include "tools/patches/BoundedJSON.h"
#include "tools/patches/JSONPatchPreset.h"
#include "tools/patches/LimitedFile.h"

namespace quillmor {

namespace {

using Json = nlohmann::json;

/// The text of `key` in `object`; null when there is none or it is no text.
const std::string* textOf(const Json& object, const char* key) {
  const auto found = object.find(key);
  return found == object.end() ? nullptr : found->get_ptr<const std::string*>();
}

bool isTooLong(std::string_view name) {
  return Unicode::hasMoreScalarsThan(name, JSONPatchPreset::kMaximumNameCharacters);
}

std::string presetName(const Json& preset) {
  const std::string* const name = textOf(preset, "name");
  if (name == nullptr || name->empty()) return "Untitled";
  if (isTooLong(*name)) {
    throw Error::quillmor(2604, "Preset name is too long to import safely.");
  }
  return *name;
}

const Json& rulesOf(const Json& preset) {
  const auto rules = preset.find("rules");
  if (rules == preset.end() || !rules->is_array()) {
    throw Error::quillmor(2605, "Preset is missing rules array.");
  }
  if (rules->size() > static_cast<std::size_t>(JSONPatchPreset::kMaximumRules)) {
    throw Error::quillmor(2606, "Preset contains too many rules to apply safely.");
  }
  return *rules;
}

// --- one rule -----------------------------------------------------------------------------------

[[noreturn]] void failInvalidRule(std::size_t index, const std::string& reason) {
  throw Error::quillmor(2607,
                        "Invalid rule at index " + std::to_string(index) + ": " + reason + ".");
}

std::vector<std::uint8_t> ruleBytes(const Json& rule, const char* key, std::size_t index,
                                    const TaskProgress* progress) {
  const std::string* const text = textOf(rule, key);
  auto bytes = text == nullptr ? std::nullopt : HexParser::parseHexBytes(*text, {}, {}, progress);
  if (!bytes) failInvalidRule(index, "\"" + std::string(key) + "\" must be hexadecimal bytes");
  return *std::move(bytes);
}

std::string ruleName(const Json& rule, std::size_t index) {
  const std::string* const name = textOf(rule, "name");
  if (name == nullptr || name->empty()) return "Rule " + std::to_string(index + 1);
  if (isTooLong(*name)) {
    throw Error::quillmor(
        2608, "Rule name at index " + std::to_string(index) + " is too long to import safely.");
  }
  return *name;
}

JSONPatchPreset::Rule ruleOf(const Json& rule, std::size_t index, const TaskProgress* progress) {
  if (!rule.is_object()) failInvalidRule(index, "a rule must be an object");
  JSONPatchPreset::Rule result;
  result.find = ruleBytes(rule, "find", index, progress);
  result.replace = ruleBytes(rule, "replace", index, progress);
  result.name = ruleName(rule, index);
  return result;
}

}  // namespace

JSONPatchPreset JSONPatchPreset::read(const FileLocation& location, std::int64_t maxFileBytes,
                                      const TaskProgress& progress) {
  const std::vector<std::uint8_t> file = readLimitedFileUncounted(
      location, maxFileBytes, Error::quillmor(2601, "Preset file is too large to import safely."),
      progress);
  return parse(file, &progress);
}

JSONPatchPreset JSONPatchPreset::parse(std::span<const std::uint8_t> file,
                                       const TaskProgress* progress) {
  const BoundedJSON::Errors errors{
      Error::quillmor(2602, "Preset file is not valid JSON."),
      Error::quillmor(2612, "Preset file is nested too deeply to import safely.")};
  const Json top = BoundedJSON::parsed<Json>(file, errors, progress);
  if (!top.is_object()) throw Error::quillmor(2603, "Preset must be a JSON object.");
  JSONPatchPreset preset{presetName(top), {}};
  const Json& rules = rulesOf(top);
  preset.rules.reserve(rules.size());
  for (const Json& rule : rules) {
    preset.rules.push_back(ruleOf(rule, preset.rules.size(), progress));
  }
  return preset;
}

}  // namespace quillmor
