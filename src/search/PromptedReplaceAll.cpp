#include "search/PromptedReplaceAll.h"

#include <algorithm>
#include <utility>

#include "base/Check.h"
#include "base/SaturatingMath.h"
#include "search/ReplacementWriter.h"
#include "search/Searching.h"

namespace quillmor {

PromptedReplaceAll::PromptedReplaceAll(ByteBuffer original, SearchRequest request,
                                       std::vector<SearchCandidate> candidateList,
                                       ReplacementTable replacementByPattern,
                                       std::vector<std::int64_t> bookmarks,
                                       std::int64_t maximumGrowth, std::int64_t maximumRecordBytes)
    : original_(std::move(original)),
      request_(std::move(request)),
      candidateList_(std::move(candidateList)),
      replacementByPattern_(std::move(replacementByPattern)),
      bookmarks_(std::move(bookmarks)),
      maximumGrowth_(std::max<std::int64_t>(maximumGrowth, 0)),
      maximumRecordBytes_(maximumRecordBytes),
      walk_(original_.span(), candidateList_, request_.ignoresASCIICase()) {
  checkPrecondition(candidateList_.size() == replacementByPattern_.size(),
                    "a replacement for each candidate");
}

std::optional<SearchMatch> PromptedReplaceAll::findNext(TaskProgress& progress) {
  progress.checkpoint();
  if (stopped_) return std::nullopt;
  progress.setTotal(progressTotal());
  if (!current_) current_ = walk_.next(progress);
  if (!current_) return std::nullopt;
  return matchOf(original_.span(), request_, candidateList_, current_->candidate, current_->offset);
}

bool PromptedReplaceAll::replaceCurrent() {
  checkPrecondition(current_.has_value(), "an occurrence to decide");
  const std::optional<std::int64_t> growth = growthWith(*current_);
  if (!growth || !hasRoomForRecord()) {
    stopped_ = true;
    current_.reset();
    return false;
  }
  accepted_.push_back({current_->offset, current_->candidate});
  growth_ = *growth;
  skipCurrent();
  return true;
}

void PromptedReplaceAll::skipCurrent() {
  checkPrecondition(current_.has_value(), "an occurrence to decide");
  current_.reset();
}

ReplaceAllComputation PromptedReplaceAll::finish(TaskProgress& progress) const {
  progress.checkpoint();
  progress.setTotal(progressTotal());
  ReplacementWriter writer(original_, bookmarks_, maximumGrowth_,
                           saturatingAdd(original_.size(), growth_), progress);
  for (const Record& record : accepted_) {
    const auto length = static_cast<std::int64_t>(candidateList_[record.candidate].bytes.size());
    writer.replace(record.offset, length, replacementByPattern_[record.candidate]);
  }
  return writer.finish();
}

/// By how much the document will have grown when `hit` is replaced, too; absent when that is too
/// much.
std::optional<std::int64_t> PromptedReplaceAll::growthWith(const OccurrenceWalk::Hit& hit) const {
  const auto inserted = static_cast<std::int64_t>(replacementByPattern_[hit.candidate].size());
  const std::int64_t growth = saturatingAdd(growth_, inserted - hit.length);
  if (growth > maximumGrowth_) return std::nullopt;
  return growth;
}

bool PromptedReplaceAll::hasRoomForRecord() const {
  return static_cast<std::int64_t>(accepted_.size()) < maximumRecordBytes_ / kRecordBytes;
}

}  // namespace quillmor
