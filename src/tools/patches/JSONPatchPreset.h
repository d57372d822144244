#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/ByteBuffer.h"
#include "base/FileLocation.h"
#include "base/TaskProgress.h"
#include "document/HexSelection.h"

namespace quillmor {

/// A list of byte replacements that are applied one after another. Any thread.
struct JSONPatchPreset {
  static constexpr std::int64_t kMaximumNameCharacters = 512;  ///< Unicode scalars
  static constexpr std::int64_t kMaximumRules = 512;

  struct Rule {
    std::string name;  ///< "Rule 1" and so on where the file has no text of at least one character
    std::vector<std::uint8_t> find;
    std::vector<std::uint8_t> replace;

    bool operator==(const Rule&) const = default;
  };

  std::string name;  ///< "Untitled" where the file has no such text either
  std::vector<Rule> rules;

  /// Reads a preset file of at most `maxFileBytes`. Throws codes 2601 to 2608 in the order of the
  /// checks (2602 also for a number beyond the range of a double). After 2602 comes 2612 for values
  /// nested deeper than `BoundedJSON` allows. Otherwise throws as reading a file does. Checks
  /// `progress` for a stop every few milliseconds, and throws `Error::stopped()` then; only
  /// applying the preset advances it.
  static JSONPatchPreset read(const FileLocation& location, std::int64_t maxFileBytes,
                              const TaskProgress& progress);

  /// The same from the bytes of a file.
  static JSONPatchPreset parse(std::span<const std::uint8_t> file,
                               const TaskProgress* progress = nullptr);
};

/// A whole document after a preset.
struct JSONPresetResult {
  ByteBuffer bytes;
  /// The bookmarks carried into `bytes`.
  std::vector<std::int64_t> bookmarks;
  /// The matches of each rule, in order.
  std::vector<std::int64_t> counts;
  std::int64_t total = 0;
  /// The first replacement of the last rule that had a match, where it stands in `bytes`.
  std::optional<HexSelection> lastRuleFirstReplacement;
};

/// Replaces all non-overlapping occurrences of the rule's `find` in `document.bytes`, moves the
/// bookmarks along, and counts the matches. Throws code 2609 if the document would grow beyond
/// `maximumByteCount`, before memory is taken for it. Throws 2610 or 2611 if an offset or a
/// bookmark would leave the 64-bit range. Advances `progress` by the document's size and checks it
/// every few milliseconds; throws `Error::stopped()` on a stop request. After an exception
/// `document` is as it was. Memory: the result and little more; none when nothing changes.
void applyJSONPresetRule(const JSONPatchPreset::Rule& rule, std::int64_t maximumByteCount,
                         JSONPresetResult& document, TaskProgress& progress);

/// Applies all rules in order. `bookmarks` are strictly increasing. Sets the total of `progress` to
/// the document's size times the number of rules, and corrects it after each rule that changes the
/// size. Otherwise as `applyJSONPresetRule`. A result without matches shares the memory of
/// `original`.
JSONPresetResult applyJSONPreset(const ByteBuffer& original, const JSONPatchPreset& preset,
                                 std::vector<std::int64_t> bookmarks, std::int64_t maximumByteCount,
                                 TaskProgress& progress);

/// Returns the report of a run: a line for each rule, and the total.
std::string jsonPresetReport(const JSONPatchPreset& preset, const JSONPresetResult& result);

}  // namespace quillmor
