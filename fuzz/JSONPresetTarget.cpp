// Tries JSONPatchPreset::parse on any bytes and applies what it reads to a small document. The last
// byte of the input says what the document is, the one before it how much it may grow. Invariants:
//  - what fails, fails with one of the reader's codes;
//  - no more rules and no longer names than allowed, no empty name, find or replace;
//  - a preset that is written and read again is the same;
//  - applying gives the bytes, bookmarks and counts that edit after edit gives, and fails exactly
//    when the document would grow beyond the limit after some rule;
//  - the total is the sum of the counts, and the first replacement of the last rule that had a
//    match lies in the result and holds what that rule writes;
//  - a result without matches shares the memory of the document;
//  - the report has a line for each rule, two more and an empty one.

#include <algorithm>
#include <numeric>
#include <optional>
#include <string>
#include <vector>

#include "base/Check.h"
#include "base/Error.h"
#include "base/HexText.h"
#include "base/Unicode.h"
#include "document/Bookmarks.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/FuzzTargets.h"
#include "tools/patches/JSONPatchPreset.h"

namespace quillmor::fuzz {

namespace {

using Bytes = std::vector<std::uint8_t>;
using Rule = JSONPatchPreset::Rule;

std::optional<JSONPatchPreset> presetOf(std::string_view text) {
  try {
    return JSONPatchPreset::parse(
        {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
  } catch (const Error& error) {
    const int code = error.code();
    checkPrecondition(
        error.domain() == ErrorDomain::quillmor && ((code >= 2602 && code <= 2608) || code == 2612),
        "A failure is one of the preset reader's");
    return std::nullopt;
  }
}

bool isGoodName(const std::string& name) {
  return !name.empty() && Unicode::isValid(name) &&
         !Unicode::hasMoreScalarsThan(name, JSONPatchPreset::kMaximumNameCharacters);
}

void checkPreset(const JSONPatchPreset& preset) {
  checkPrecondition(isGoodName(preset.name), "A preset's name is not too long");
  checkPrecondition(std::ssize(preset.rules) <= JSONPatchPreset::kMaximumRules,
                    "There are not too many rules");
  for (const Rule& rule : preset.rules) {
    checkPrecondition(isGoodName(rule.name), "A rule's name is not too long");
    checkPrecondition(!rule.find.empty() && !rule.replace.empty(), "A rule has bytes");
  }
}

// --- writing --------------------------------------------------------------------------------

std::string quoted(std::string_view text) {
  std::string result = "\"";
  for (const char c : text) {
    if (static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\') {
      result += "\\u00";
      result += uppercaseHexByteStrings[static_cast<unsigned char>(c)];
    } else {
      result += c;
    }
  }
  return result + '"';
}

std::string quotedHex(const Bytes& bytes) {
  std::string result;
  for (const std::uint8_t byte : bytes) result += uppercaseHexByteStrings[byte];
  return quoted(result);
}

std::string written(const JSONPatchPreset& preset) {
  std::string text = "{\"name\":" + quoted(preset.name) + ",\"rules\":[";
  for (const Rule& rule : preset.rules) {
    if (&rule != preset.rules.data()) text += ',';
    text += "{\"name\":" + quoted(rule.name) + ",\"find\":" + quotedHex(rule.find) +
            ",\"replace\":" + quotedHex(rule.replace) + '}';
  }
  return text + "]}";
}

void checkRoundTrip(const JSONPatchPreset& preset) {
  const auto again = presetOf(written(preset));
  checkPrecondition(again && again->name == preset.name && again->rules == preset.rules,
                    "What is written can be read");
}

// --- applying -------------------------------------------------------------------------------

struct Document {
  Bytes bytes;
  std::vector<std::int64_t> bookmarks;
  std::vector<std::int64_t> counts;
};

/// All finds and replacements of the rules, so that there is something to find.
Document documentFor(const JSONPatchPreset& preset, std::uint8_t choice) {
  constexpr std::size_t kLongest = 600;
  Document document;
  for (const Rule& rule : preset.rules) {
    const Bytes& bytes = (choice & 1) != 0 ? rule.find : rule.replace;
    document.bytes.insert(document.bytes.end(), rule.find.begin(), rule.find.end());
    document.bytes.insert(document.bytes.end(), bytes.begin(), bytes.end());
    document.bytes.push_back(choice);
  }
  document.bytes.resize(std::min(document.bytes.size(), kLongest));
  const std::int64_t step = 1 + choice % 7;
  for (std::int64_t at = choice % 3; at <= std::ssize(document.bytes); at += step) {
    document.bookmarks.push_back(at);
  }
  return document;
}

/// Edit by edit; false when the document then has grown beyond `limit`.
bool applyNaively(const Rule& rule, std::int64_t limit, Document& document) {
  const std::int64_t sizeBefore = std::ssize(document.bytes);
  Bytes result;
  std::int64_t count = 0;
  for (std::size_t at = 0; at < document.bytes.size();) {
    const auto left = document.bytes.size() - at;
    const auto begin = document.bytes.begin() + static_cast<std::ptrdiff_t>(at);
    if (left >= rule.find.size() && std::equal(rule.find.begin(), rule.find.end(), begin)) {
      adjustBookmarksForEdit(document.bookmarks, std::ssize(result), std::ssize(rule.find),
                             std::ssize(rule.replace));
      result.insert(result.end(), rule.replace.begin(), rule.replace.end());
      at += rule.find.size();
      ++count;
      if (std::ssize(result) > std::max(limit, sizeBefore)) return false;
    } else {
      result.push_back(document.bytes[at++]);
    }
  }
  document.bytes = std::move(result);
  document.counts.push_back(count);
  return std::ssize(document.bytes) <= std::max(limit, sizeBefore);
}

void checkResult(const JSONPatchPreset& preset, const JSONPresetResult& result) {
  checkPrecondition(
      result.total == std::accumulate(result.counts.begin(), result.counts.end(), std::int64_t{0}),
      "The total is the sum of the counts");
  const auto last = std::find_if(result.counts.rbegin(), result.counts.rend(),
                                 [](std::int64_t count) { return count > 0; });
  checkPrecondition((last == result.counts.rend()) == !result.lastRuleFirstReplacement,
                    "A replacement is told of exactly when there is one");
  if (last == result.counts.rend()) return;
  const HexSelection place = *result.lastRuleFirstReplacement;
  const Bytes& replace =
      preset.rules[static_cast<std::size_t>(result.counts.rend() - last - 1)].replace;
  checkPrecondition(std::ranges::equal(result.bytes.span(place.start, place.length), replace),
                    "The replacement stands where it is said to be");
}

void checkApplying(const JSONPatchPreset& preset, std::uint8_t choice, std::uint8_t growth) {
  Document expected = documentFor(preset, choice);
  const std::int64_t limit = std::ssize(expected.bytes) + growth;
  const ByteBuffer original(expected.bytes);
  std::optional<JSONPresetResult> result;
  TaskProgress progress;
  try {
    result = applyJSONPreset(original, preset, expected.bookmarks, limit, progress);
  } catch (const Error& error) {
    checkPrecondition(error.code() == 2609, "Only growing fails");
  }
  const bool fits = std::ranges::all_of(
      preset.rules, [&](const Rule& rule) { return applyNaively(rule, limit, expected); });
  checkPrecondition(fits == result.has_value(), "It fails exactly when it grows too much");
  if (!result) return;
  checkPrecondition(std::ranges::equal(result->bytes.span(), expected.bytes),
                    "The bytes are those of edit after edit");
  checkPrecondition(result->bookmarks == expected.bookmarks, "So are the bookmarks");
  checkPrecondition(result->counts == expected.counts, "So are the counts");
  checkPrecondition(
      result->total > 0 || original.empty() || result->bytes.sharesStorageWith(original),
      "Without matches the memory is shared");
  checkResult(preset, *result);

  // Whatever the names are.
  const std::string report = jsonPresetReport(preset, *result);
  checkPrecondition(std::ranges::count(report, '\n') == std::ssize(preset.rules) + 2,
                    "A rule has its line");
}

}  // namespace

void fuzzJSONPreset(std::span<const std::uint8_t> bytes) {
  FuzzInput input(bytes);
  const std::uint8_t choice = input.takeByte();
  const std::uint8_t growth = input.takeByte();
  const auto preset = presetOf(input.text());
  if (!preset) return;
  checkPreset(*preset);
  checkRoundTrip(*preset);
  checkApplying(*preset, choice, growth);
}

}  // namespace quillmor::fuzz
