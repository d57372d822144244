#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "base/ByteBuffer.h"
#include "base/SaturatingMath.h"
#include "base/TaskProgress.h"
#include "search/OccurrenceWalk.h"
#include "search/Replacing.h"
#include "search/SearchCandidate.h"
#include "search/SearchRequest.h"

namespace quillmor {

/// A Replace All in which each occurrence is decided. `findNext` offers one, then `replaceCurrent`
/// or `skipCurrent` decides it, until `findNext` returns none. `finish` may be called at any time
/// and returns the document with the accepted replacements.
///
/// For one thread at a time, not always the same one. The document is a snapshot. Until `finish`
/// only the accepted offsets take memory.
class PromptedReplaceAll {
 public:
  /// The memory for accepted replacements in bytes, 64 MiB: more than four million of them.
  static constexpr std::int64_t kMaximumRecordBytes = 67'108'864;
  /// The memory for one of them, in bytes.
  static constexpr std::int64_t kRecordBytes = 16;

  /// `replacementByPattern` has an entry for each of `candidateList`; `bookmarks` are strictly
  /// increasing; the document may grow by `maximumGrowth` bytes.
  PromptedReplaceAll(ByteBuffer original, SearchRequest request,
                     std::vector<SearchCandidate> candidateList,
                     ReplacementTable replacementByPattern, std::vector<std::int64_t> bookmarks,
                     std::int64_t maximumGrowth,
                     std::int64_t maximumRecordBytes = kMaximumRecordBytes);
  PromptedReplaceAll(const PromptedReplaceAll&) = delete;
  PromptedReplaceAll& operator=(const PromptedReplaceAll&) = delete;

  /// Returns the next occurrence to decide, and the same again until it is decided. Absent after
  /// the last one and once a limit has ended the run. Offsets are those of the original document.
  /// Throws `Error::stopped()` when `progress` asks for it; the call may then be repeated.
  std::optional<SearchMatch> findNext(TaskProgress& progress);

  /// Accepts the occurrence offered. Returns false when the document would grow too much or the
  /// memory for accepted replacements is used up: then it is not accepted, and the run ends.
  bool replaceCurrent();

  /// Leaves the occurrence offered as it is.
  void skipCurrent();

  /// True if a limit has ended the run.
  bool stoppedAtGrowthLimit() const { return stopped_; }

  /// Returns the document with the accepted replacements, in one pass. Throws `Error::stopped()`
  /// when `progress` asks for it. May be repeated.
  ReplaceAllComputation finish(TaskProgress& progress) const;

 private:
  /// An accepted replacement.
  struct Record {
    std::int64_t offset;
    std::size_t candidate;
  };
  static_assert(sizeof(Record) == kRecordBytes);

  std::optional<std::int64_t> growthWith(const OccurrenceWalk::Hit& hit) const;
  bool hasRoomForRecord() const;
  /// Of the whole run: the walk through the document, and the copy.
  std::int64_t progressTotal() const { return saturatingMultiply(original_.size(), 2); }

  const ByteBuffer original_;
  const SearchRequest request_;
  const std::vector<SearchCandidate> candidateList_;
  const ReplacementTable replacementByPattern_;
  const std::vector<std::int64_t> bookmarks_;
  const std::int64_t maximumGrowth_;
  const std::int64_t maximumRecordBytes_;
  OccurrenceWalk walk_;
  std::optional<OccurrenceWalk::Hit> current_;  // offered and not yet decided
  std::int64_t growth_ = 0;                     // of the whole document, by what was accepted
  std::vector<Record> accepted_;
  bool stopped_ = false;
};

}  // namespace quillmor
