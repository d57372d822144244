#include "search/Replacing.h"

#include <algorithm>

#include "base/Check.h"
#include "base/SaturatingMath.h"
#include "search/OccurrenceWalk.h"
#include "search/ReplacementWriter.h"

namespace quillmor {

namespace {

/// No fewer bytes than any result of replacing occurrences in `size` bytes has: all of the document
/// may be made of the candidate that grows most.
std::int64_t largestOutput(std::int64_t size, const std::vector<SearchCandidate>& candidateList,
                           const ReplacementTable& replacements, std::int64_t maximumGrowth) {
  std::int64_t growth = 0;
  for (std::size_t i = 0; i < candidateList.size(); ++i) {
    const auto length = static_cast<std::int64_t>(candidateList[i].bytes.size());
    const std::int64_t each = static_cast<std::int64_t>(replacements[i].size()) - length;
    if (each > 0) growth = std::max(growth, saturatingMultiply(size / length + 1, each));
  }
  return saturatingAdd(size, std::min(growth, std::max<std::int64_t>(maximumGrowth, 0)));
}

}  // namespace

ReplaceAllComputation computeReplaceAll(const ByteBuffer& original, const SearchRequest& request,
                                        const std::vector<SearchCandidate>& candidateList,
                                        const ReplacementTable& replacementByPattern,
                                        const std::vector<std::int64_t>& bookmarks,
                                        std::int64_t maximumGrowth, TaskProgress& progress) {
  checkPrecondition(candidateList.size() == replacementByPattern.size(),
                    "a replacement for each candidate");
  progress.checkpoint();
  progress.setTotal(saturatingMultiply(original.size(), 2));  // the walk, and the copy
  OccurrenceWalk walk(original.span(), candidateList, request.ignoresASCIICase());
  ReplacementWriter writer(
      original, bookmarks, maximumGrowth,
      largestOutput(original.size(), candidateList, replacementByPattern, maximumGrowth), progress);
  while (const auto hit = walk.next(progress)) {
    writer.replace(hit->offset, hit->length, replacementByPattern[hit->candidate]);
  }
  return writer.finish();
}

}  // namespace quillmor
