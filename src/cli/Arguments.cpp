#include "cli/Arguments.h"

#include <utility>

#include "base/Check.h"
#include "base/SaturatingMath.h"
#include "base/Unicode.h"
#include "fileaccess/ResolvedPaths.h"
#include "search/typed/HexParser.h"

namespace quillmor::cli {

namespace {

/// What was typed, as far as a message repeats it.
std::string shortened(const std::string& typed) {
  constexpr std::int64_t kRepeatedScalars = 64;
  const auto shown = Unicode::prefixOfScalars(typed, kRepeatedScalars);
  return std::string(shown) + (shown.size() < typed.size() ? "..." : "");
}

}  // namespace

void Arguments::set(std::string_view name, std::string text, std::string_view shownName) {
  values_[std::string(name)] = {std::string(shownName.empty() ? name : shownName), std::move(text)};
}

const Arguments::Value& Arguments::value(std::string_view name) const {
  const auto found = values_.find(name);
  checkPrecondition(found != values_.end(), "an argument that the command requires");
  return found->second;
}

const std::string& Arguments::text(std::string_view name) const {
  return value(name).text;
}

std::optional<std::string> Arguments::find(std::string_view name) const {
  if (!has(name)) return std::nullopt;
  return text(name);
}

FileLocation Arguments::file(std::string_view name) const {
  const auto& [shownName, path] = value(name);
  if (path.empty()) throw UsageError(shownName + " is an empty name.");
  return FileLocation::fromPath(path);
}

FileLocation Arguments::documentFile(std::string_view name) const {
  return SecureFileAccess::realLocation(file(name));
}

std::int64_t Arguments::offset(std::string_view name) const {
  const auto& [shownName, typed] = value(name);
  const auto parsed = HexParser::parseOffset(typed);
  if (!parsed) {
    throw UsageError(shownName + " cannot be read: \"" + shortened(typed) +
                     "\" is neither decimal, 0xHEX, HEX nor HEXh.");
  }
  if (*parsed < 0)
    throw UsageError(shownName + " must be 0 or more, not " + shortened(typed) + ".");
  return *parsed;
}

std::optional<std::int64_t> Arguments::findOffset(std::string_view name) const {
  if (!has(name)) return std::nullopt;
  return offset(name);
}

bool Arguments::hasRange() const {
  return has("--start") || has("--length");
}

HexSelection Arguments::range(std::int64_t byteCount) const {
  const HexSelection asked{findOffset("--start").value_or(0),
                           findOffset("--length").value_or(kMaxInt64)};
  return asked.normalized(byteCount);
}

}  // namespace quillmor::cli
