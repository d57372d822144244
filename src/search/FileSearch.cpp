#include "search/FileSearch.h"

#include <algorithm>
#include <array>

#include "base/OrderedPieces.h"
#include "base/SaturatingMath.h"
#include "fileaccess/StableFile.h"
#include "search/Searching.h"

namespace quillmor {

namespace {

std::int64_t longestOf(const std::vector<SearchCandidate>& candidateList) {
  std::size_t longest = 0;
  for (const SearchCandidate& candidate : candidateList)
    longest = std::max(longest, candidate.bytes.size());
  return static_cast<std::int64_t>(longest);
}

/// The places where a match may begin, in pieces: front to back or the other way round.
class SearchedFile {
 public:
  SearchedFile(const StableFile& file, const SearchRequest& request,
               const std::vector<SearchCandidate>& candidateList, const FileSearchStart& start,
               TaskProgress& progress, std::int64_t pieceBytes)
      : file_(file),
        request_(request),
        candidateList_(candidateList),
        isForward_(start.forward),
        progress_(progress),
        longest_(longestOf(candidateList)),
        pieceByteCount_(std::max(pieceBytes, saturatingMultiply(longest_, kPieceOverNeedle))) {
    const std::int64_t size = file.size();
    begin_ = isForward_ ? clampedToCount(start.offset.value_or(0), size) : 0;
    end_ =
        isForward_ ? size : std::min(clampedToCount(start.offset.value_or(size), size) + 1, size);
    progress_.setTotal(end_ - begin_);
  }

  std::optional<HexSelection> search() {
    const std::int64_t count = (end_ - begin_ + pieceByteCount_ - 1) / pieceByteCount_;
    forEachPieceInOrder(count, /*mayShare=*/count > kFewPieces, [this](auto index, int worker) {
      const auto match = matchInPiece(index, workers_.at(static_cast<std::size_t>(worker)));
      return !match;
    });
    // Each worker takes pieces in order, so that its match is the first of its own.
    const auto& [one, other] = workers_;
    const bool takesOther = other.match && (!one.match || isBefore(*other.match, *one.match));
    return takesOther ? other.match : one.match;
  }

 private:
  static constexpr std::int64_t kFewPieces = 8;
  /// What is read twice, because a match may reach into the next piece, stays a small part.
  static constexpr std::int64_t kPieceOverNeedle = 4;

  struct Worker {
    std::vector<std::uint8_t> buffer;
    std::optional<HexSelection> match;
  };

  bool isBefore(const HexSelection& a, const HexSelection& b) const {
    return isForward_ ? a.start < b.start : a.start > b.start;
  }

  bool matchInPiece(std::int64_t index, Worker& worker) {
    progress_.checkpoint();
    const std::int64_t done = index * pieceByteCount_;
    const std::int64_t count = std::min(pieceByteCount_, end_ - begin_ - done);
    const std::int64_t first = isForward_ ? begin_ + done : end_ - done - count;
    // Matches that begin in the piece may end after it.
    const std::int64_t byteCount = std::min(count + longest_ - 1, file_.size() - first);
    worker.buffer.resize(static_cast<std::size_t>(byteCount));
    file_.read(first, worker.buffer);
    TaskProgress ownProgress;
    const auto match = nextMatch(worker.buffer, request_, candidateList_,
                                 {isForward_ ? 0 : count - 1, isForward_}, ownProgress);
    progress_.advance(count);
    if (!match || match->offset >= count) return false;
    worker.match = HexSelection{first + match->offset, std::ssize(match->bytes)};
    return true;
  }

  const StableFile& file_;
  const SearchRequest& request_;
  const std::vector<SearchCandidate>& candidateList_;
  const bool isForward_;
  TaskProgress& progress_;
  const std::int64_t longest_;
  const std::int64_t pieceByteCount_;
  std::int64_t begin_ = 0;  // matches may begin from here on
  std::int64_t end_ = 0;    // and before here
  std::array<Worker, kMaximumPieceWorkers> workers_;
};

}  // namespace

std::optional<HexSelection> nextMatchInFile(const FileLocation& location,
                                            std::int64_t maximumByteCount,
                                            const SearchRequest& request,
                                            const std::vector<SearchCandidate>& candidateList,
                                            const FileSearchStart& start, TaskProgress& progress,
                                            std::int64_t pieceBytes) {
  progress.checkpoint();
  const StableFile file(location, maximumByteCount);
  const auto match =
      SearchedFile(file, request, candidateList, start, progress, pieceBytes).search();
  file.requireUnchanged();
  return match;
}

}  // namespace quillmor
