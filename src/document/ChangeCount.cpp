#include "document/ChangeCount.h"

#include <algorithm>
#include <iterator>

namespace quillmor {

void ChangeCount::update(Change change) {
  switch (change) {
    case Change::done:
      // What could have been redone is replaced by another line of history.
      if (position_ < farthest_) startBranchAt(position_ + 1);
      farthest_ = ++position_;
      return;
    case Change::undone:
      --position_;
      return;
    case Change::redone:
      farthest_ = std::max(farthest_, ++position_);
      return;
    case Change::cleared:
      saved_ = token();
      return;
  }
}

ChangeCount::Token ChangeCount::token() const {
  const auto next = std::upper_bound(segments_.begin(), segments_.end(), position_,
                                     [](std::int64_t position, const Segment& segment) {
                                       return position < segment.firstPosition;
                                     });
  return {std::prev(next)->branch, position_};
}

void ChangeCount::makeSavedStateUnreachable() {
  segments_.clear();
  startBranchAt(kLowestPosition);
  saved_.reset();
}

void ChangeCount::startBranchAt(std::int64_t position) {
  while (!segments_.empty() && segments_.back().firstPosition >= position) segments_.pop_back();
  segments_.push_back({position, ++lastBranch_});
  if (segments_.size() > kMaxSegments) {
    // The states of the oldest branch get tokens that they never had, so they count as unsaved.
    segments_.erase(segments_.begin());
    segments_.front().firstPosition = kLowestPosition;
  }
}

}  // namespace quillmor
