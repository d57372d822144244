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

  /// Reads a preset file of at most `maxFileBytes`. Codes 2601 to 2608 in the order of the checks
  /// (2602 also for a number beyond the range of a double), 2612 after 2602 for values nested
  /// deeper than `BoundedJSON` allows, or what reading a file fails with. `progress` is asked every
  /// few milliseconds whether to stop, which throws `Error::stopped()`; nothing is counted in it,
  /// as applying the preset does that.
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

/// Replaces all occurrences of one rule's `find` in `document.bytes` that do not overlap, carries
/// its bookmarks along and counts. Throws code 2609 when the document would grow beyond
/// `maximumByteCount`, before memory is taken for it, 2610 or 2611 when an offset or a bookmark
/// would leave the 64-bit range, and `Error::stopped()` when `progress` says so, which it is asked
/// every few milliseconds and advanced by the document's size; then `document` is as it was.
/// Memory: the result and little more, none when nothing changes.
void applyJSONPresetRule(const JSONPatchPreset::Rule& rule, std::int64_t maximumByteCount,
                         JSONPresetResult& document, TaskProgress& progress);

/// Applies all rules in order. `bookmarks` are strictly increasing. The total of `progress` becomes
/// the document's size times the number of rules, and follows the size from rule to rule. Otherwise
/// as `applyJSONPresetRule`. A result without matches shares the memory of `original`.
JSONPresetResult applyJSONPreset(const ByteBuffer& original, const JSONPatchPreset& preset,
                                 std::vector<std::int64_t> bookmarks, std::int64_t maximumByteCount,
                                 TaskProgress& progress);

/// What a run found, a line a rule and the total.
std::string jsonPresetReport(const JSONPatchPreset& preset, const JSONPresetResult& result);

}  // namespace quillmor
