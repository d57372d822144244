// Tries QuillmorPatch::parse on any bytes. The last byte of the input is the largest number of data
// bytes. Invariants:
//  - the outcome, a patch or the code of the failed check, is that of a reference that does one
//    check after the other on lines of their own;
//  - a patch has an offset of 0 or more and 1 byte of data to as many as are allowed;
//  - a patch that is written and read again is the same, and is written the same again.

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Check.h"
#include "base/Error.h"
#include "base/Unicode.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/FuzzTargets.h"
#include "fuzz/ReferenceParsers.h"
#include "tools/patches/HexPatch.h"

namespace quillmor::fuzz {

namespace {

/// A patch, or the code of why there is none.
struct Outcome {
  int code = 0;
  std::int64_t offset = 0;
  std::vector<std::uint8_t> data;

  bool operator==(const Outcome&) const = default;
};

std::span<const std::uint8_t> bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

Outcome outcomeOf(std::string_view text, std::int64_t maxDataBytes) {
  try {
    QuillmorPatch patch = QuillmorPatch::parse(bytesOf(text), maxDataBytes);
    return {0, patch.offset, std::move(patch.data)};
  } catch (const Error& error) {
    checkPrecondition(
        error.domain() == ErrorDomain::quillmor && error.code() >= 2502 && error.code() <= 2508,
        "A failure is one of the patch reader's");
    return {error.code(), 0, {}};
  }
}

// --- the reference --------------------------------------------------------------------------

std::string trimmed(const std::string& text) {
  return std::string(Unicode::trimmedOfWhiteSpace(text));
}

std::vector<std::string> linesOf(std::string_view text) {
  std::vector<std::string> lines(1);
  for (const char c : text) {
    if (c == '\n') {
      lines.emplace_back();
    } else {
      lines.back() += c;
    }
  }
  return lines;
}

bool isWhiteSpaceAt(std::string_view text, std::size_t at) {
  return Unicode::isWhiteSpace(Unicode::decodeFirst(text.substr(at)).scalar);
}

/// The values of the lines whose key is `wanted`, of lines that are not empty.
std::vector<std::string> valuesOf(const std::vector<std::string>& lines, const std::string& wanted,
                                  bool& isAnyOther) {
  std::vector<std::string> values;
  for (const std::string& line : lines) {
    std::string key;
    std::size_t at = 0;
    for (; at < line.size() && !isWhiteSpaceAt(line, at); ++at) {
      const char c = line[at];
      key += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    }
    if (key == wanted) values.push_back(trimmed(line.substr(at)));
    isAnyOther = isAnyOther || (key != "OFFSET" && key != "DATA");
  }
  return values;
}

Outcome referenceOutcome(std::string_view text, std::int64_t maxDataBytes) {
  if (!Unicode::isValid(text)) return {2502, 0, {}};
  std::vector<std::string> lines = linesOf(text);
  if (lines.size() >= 5) return {2503, 0, {}};
  if (trimmed(lines[0]) != "QuillmorPatch 1") return {2504, 0, {}};
  lines.erase(lines.begin());
  std::erase_if(lines, [](const std::string& line) { return line.empty() || line == "\r"; });
  for (std::string& line : lines) line = trimmed(line);
  const bool hasBlankLine = std::erase(lines, "") > 0;

  bool isAnyOther = false;
  const auto offsets = valuesOf(lines, "OFFSET", isAnyOther);
  const auto data = valuesOf(lines, "DATA", isAnyOther);
  if (isAnyOther) return {2505, 0, {}};
  const auto offset = offsets.size() == 1 ? reference::offset(offsets[0]) : std::nullopt;
  if (!offset || *offset < 0) return {2506, 0, {}};
  const auto bytes =
      data.size() == 1 ? reference::hexBytes(data[0], maxDataBytes, {}) : std::nullopt;
  if (!bytes) return {2507, 0, {}};
  if (hasBlankLine) return {2508, 0, {}};
  return {0, *offset, *bytes};
}

// --- writing --------------------------------------------------------------------------------

std::string written(const Outcome& patch) {
  std::string text;
  TaskProgress progress;
  produceHexPatch(
      patch.data, patch.offset, [&](std::string_view piece) { text += piece; }, progress);
  return text;
}

}  // namespace

void fuzzHexPatch(std::span<const std::uint8_t> bytes) {
  FuzzInput input(bytes);
  const std::int64_t maxDataBytes = input.takeByte();
  const Outcome outcome = outcomeOf(input.text(), maxDataBytes);
  checkPrecondition(outcome == referenceOutcome(input.text(), maxDataBytes),
                    "A patch is read as the reference reads it");
  if (outcome.code != 0) return;
  checkPrecondition(outcome.offset >= 0, "An offset is not negative");
  checkPrecondition(!outcome.data.empty() && std::ssize(outcome.data) <= maxDataBytes,
                    "There is some data and not too much");
  const std::string text = written(outcome);
  checkPrecondition(outcomeOf(text, maxDataBytes) == outcome, "What is written can be read");
  checkPrecondition(written(outcomeOf(text, maxDataBytes)) == text, "It is written the same");
}

}  // namespace quillmor::fuzz
