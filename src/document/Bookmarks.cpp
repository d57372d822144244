#include "document/Bookmarks.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "base/SaturatingMath.h"

namespace quillmor {
namespace {

/// What an edit does to offsets: those in `lo`..<`hi` go, those from `hi` on move by `delta`.
struct Shift {
  std::int64_t lo;
  std::int64_t hi;
  std::int64_t delta;
};

std::optional<Shift> shiftOf(std::int64_t start, std::int64_t removed, std::int64_t inserted) {
  const std::int64_t lo = std::max<std::int64_t>(start, 0);
  if (removed < 0) {
    if (inserted < 1) return std::nullopt;
    return Shift{lo, lo, inserted};
  }
  if (inserted < 0) {
    if (removed == 0) return std::nullopt;
    return Shift{lo, saturatingAdd(start, removed), -removed};
  }
  if (removed == inserted) return std::nullopt;
  return Shift{lo, saturatingAdd(lo, removed), inserted - removed};
}

std::int64_t moved(std::int64_t offset, const Shift& shift) {
  std::int64_t sum = 0;
  if (__builtin_add_overflow(offset, shift.delta, &sum)) {
    return shift.delta > 0 ? kMaxInt64 : shift.lo;
  }
  return std::max(sum, shift.lo);
}

}  // namespace

Bookmarks::AddResult Bookmarks::add(std::int64_t offset) {
  const auto at = std::lower_bound(offsets_.begin(), offsets_.end(), offset);
  if (at != offsets_.end() && *at == offset) return AddResult::alreadyPresent;
  if (offsets_.size() >= maxBookmarkEntries) return AddResult::limitReached;
  offsets_.insert(at, offset);
  return AddResult::added;
}

std::optional<std::int64_t> Bookmarks::next(std::int64_t caret) const {
  if (offsets_.empty()) return std::nullopt;
  const auto at = std::upper_bound(offsets_.begin(), offsets_.end(), caret);
  return at == offsets_.end() ? offsets_.front() : *at;
}

std::optional<std::int64_t> Bookmarks::previous(std::int64_t caret) const {
  if (offsets_.empty()) return std::nullopt;
  const auto at = std::lower_bound(offsets_.begin(), offsets_.end(), caret);
  return at == offsets_.begin() ? offsets_.back() : *std::prev(at);
}

void Bookmarks::keepWithin(std::int64_t count) {
  offsets_.erase(std::upper_bound(offsets_.begin(), offsets_.end(), count), offsets_.end());
  offsets_.erase(offsets_.begin(), std::lower_bound(offsets_.begin(), offsets_.end(), 0));
}

void Bookmarks::crop(HexSelection range, std::int64_t count) {
  const std::int64_t end = range.start + range.length;
  const auto isCutOff = [&](std::int64_t offset) {
    return offset < range.start || offset > end || (offset == end && end < count);
  };
  std::erase_if(offsets_, isCutOff);
  for (std::int64_t& offset : offsets_) offset -= range.start;
}

void Bookmarks::replaceAll(std::vector<std::int64_t> offsets) {
  const auto unordered =
      std::adjacent_find(offsets.begin(), offsets.end(), std::greater_equal<std::int64_t>());
  if (unordered != offsets.end()) {
    std::sort(offsets.begin(), offsets.end());
    offsets.erase(std::unique(offsets.begin(), offsets.end()), offsets.end());
  }
  if (offsets.size() > maxBookmarkEntries) offsets.resize(maxBookmarkEntries);
  offsets_ = std::move(offsets);
}

void Bookmarks::adjustForEdit(std::int64_t start, std::int64_t removedCount,
                              std::int64_t insertedCount) {
  adjustBookmarksForEdit(offsets_, start, removedCount, insertedCount);
  // Ranges that begin before the data or end beyond 64 bits can move two marks to one offset.
  const bool mayCoincide = start < 0 || (!offsets_.empty() && offsets_.back() == kMaxInt64);
  if (mayCoincide) offsets_.erase(std::unique(offsets_.begin(), offsets_.end()), offsets_.end());
}

void adjustBookmarksForEdit(std::vector<std::int64_t>& offsets, std::int64_t start,
                            std::int64_t removedCount, std::int64_t insertedCount) {
  const std::optional<Shift> shift = shiftOf(start, removedCount, insertedCount);
  if (!shift) return;
  const auto firstAffected = std::lower_bound(offsets.begin(), offsets.end(), shift->lo);
  const auto firstMoved = std::lower_bound(firstAffected, offsets.end(), shift->hi);
  const auto end = std::transform(firstMoved, offsets.end(), firstAffected,
                                  [&](std::int64_t offset) { return moved(offset, *shift); });
  offsets.erase(end, offsets.end());
}

}  // namespace quillmor
