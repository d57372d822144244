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

/// A Replace All that is decided occurrence by occurrence. `findNext` offers one, `replaceCurrent`
/// or `skipCurrent` decides it, and so on until `findNext` has none; `finish`, at any time, makes
/// the document of all that was accepted.
///
/// For one thread at a time, not always the same one. The document is a snapshot; until `finish`
/// nothing but the accepted offsets takes memory.
class PromptedReplaceAll {
 public:
  /// What the notes of accepted replacements may take in memory, 64 MiB: more than four million.
  static constexpr std::int64_t kMaximumRecordBytes = 67'108'864;
  /// What one accepted replacement takes of it.
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

  /// The next occurrence to decide, the same again while it is not decided; absent behind the last
  /// one and once the run was stopped by a limit. Offsets are those of the original document.
  /// Throws `Error::stopped()` when `progress` asks for it; the call may then be repeated.
  std::optional<SearchMatch> findNext(TaskProgress& progress);

  /// Accepts the occurrence that was offered. False when the document would grow beyond the
  /// allowance or the notes beyond their memory: then it is not accepted and the run is over.
  bool replaceCurrent();

  /// Leaves the occurrence that was offered as it is.
  void skipCurrent();

  /// Whether a limit has ended the run.
  bool stoppedAtGrowthLimit() const { return stopped_; }

  /// The document with the accepted replacements, in one pass. Throws `Error::stopped()` when
  /// `progress` asks for it. Changes nothing, so that it may be repeated.
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
  /// Of the whole run, which has one progress: the walk through the document, and the copy.
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
