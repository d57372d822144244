// Applying presets; JSONPatchPresetReading.cpp reads them.

#include "tools/patches/JSONPatchPreset.h"

#include <algorithm>
#include <utility>

#include "base/SaturatingMath.h"
#include "base/VisibleText.h"
#include "search/OccurrenceWalk.h"
#include "search/ReplacementWriter.h"
#include "tools/patches/JSONPresetLimits.h"

namespace quillmor {

namespace {

using Bytes = std::span<const std::uint8_t>;

/// Returns at least the number of bytes of the result of `rule`. Throws if that is too many. The
/// matches are counted only if a document full of matches would be too long.
std::int64_t largestResult(const JSONPatchPreset::Rule& rule, Bytes bytes,
                           std::int64_t maximumByteCount, const TaskProgress& progress) {
  const std::int64_t growth = std::ssize(rule.replace) - std::ssize(rule.find);
  if (growth <= 0 || rule.find.empty()) return std::ssize(bytes);
  const JSONPresetExtent extent(std::ssize(bytes), growth, maximumByteCount);
  const std::int64_t mostMatches = std::ssize(bytes) / std::ssize(rule.find);
  if (extent.allows(mostMatches)) return extent.sizeWith(mostMatches);
  std::int64_t matches = 0;
  std::int64_t size = std::ssize(bytes);
  OccurrenceWalk walk(bytes, rule.find);
  while (walk.next(StopCheck(progress))) size = extent.sizeWith(++matches);
  return size;
}

/// Moves the bookmarks after the end of a document, which no match touches, from `beyond` into
/// `bookmarks`.
void appendMoved(const std::vector<std::int64_t>& beyond, std::int64_t shift,
                 std::vector<std::int64_t>& bookmarks) {
  bookmarks.reserve(bookmarks.size() + beyond.size());
  for (const std::int64_t offset : beyond) bookmarks.push_back(movedPresetBookmark(offset, shift));
}

}  // namespace

void applyJSONPresetRule(const JSONPatchPreset::Rule& rule, std::int64_t maximumByteCount,
                         JSONPresetResult& document, TaskProgress& progress) {
  const std::int64_t size = document.bytes.size();
  const std::int64_t largest =
      largestResult(rule, document.bytes.span(), maximumByteCount, progress);

  const auto beyondEnd = std::ranges::upper_bound(document.bookmarks, size);
  ReplacementWriter writer(document.bytes, {document.bookmarks.begin(), beyondEnd}, largest - size,
                           largest, progress);
  std::optional<HexSelection> first;
  OccurrenceWalk walk(document.bytes.span(), rule.find);
  while (const auto match = walk.next(StopCheck(progress))) {
    if (!first) first = HexSelection{match->offset, std::ssize(rule.replace)};
    writer.replace(match->offset, match->length, rule.replace);
  }
  ReplaceAllComputation replaced = writer.finish();
  appendMoved({beyondEnd, document.bookmarks.end()}, replaced.bytes.size() - size,
              replaced.bookmarks);

  // From here on nothing fails but the first step.
  document.counts.push_back(replaced.replacements);
  document.total = saturatingAdd(document.total, replaced.replacements);
  document.bytes = std::move(replaced.bytes);
  document.bookmarks = std::move(replaced.bookmarks);
  if (first) document.lastRuleFirstReplacement = first;
}

JSONPresetResult applyJSONPreset(const ByteBuffer& original, const JSONPatchPreset& preset,
                                 std::vector<std::int64_t> bookmarks, std::int64_t maximumByteCount,
                                 TaskProgress& progress) {
  JSONPresetResult document;
  document.bytes = original;
  document.bookmarks = std::move(bookmarks);
  std::int64_t done = 0;
  std::int64_t rulesLeft = std::ssize(preset.rules);
  for (const JSONPatchPreset::Rule& rule : preset.rules) {
    const std::int64_t size = document.bytes.size();
    progress.setTotal(saturatingAdd(done, saturatingMultiply(size, rulesLeft--)));
    applyJSONPresetRule(rule, maximumByteCount, document, progress);
    done = saturatingAdd(done, size);
  }
  return document;
}

std::string jsonPresetReport(const JSONPatchPreset& preset, const JSONPresetResult& result) {
  std::string report = "Preset: " + visibleText(preset.name) + "\n";
  for (std::size_t i = 0; i < preset.rules.size(); ++i) {
    report += visibleText(preset.rules[i].name) + ": " + std::to_string(result.counts[i]) +
              " match(es)\n";
  }
  return report + "\nTotal: " + std::to_string(result.total) + " replacement(s)";
}

}  // namespace quillmor
