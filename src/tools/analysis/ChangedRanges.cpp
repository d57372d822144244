#include "tools/analysis/ChangedRanges.h"

#include <algorithm>

#include "base/HexText.h"
#include "tools/analysis/ByteDifferences.h"

namespace quillmor {

namespace {

using Bytes = std::span<const std::uint8_t>;

std::string counted(std::int64_t count, const char* singular, const char* plural) {
  return std::to_string(count) + " " + (count == 1 ? singular : plural);
}

void appendBeginning(Bytes bytes, std::vector<std::uint8_t>& beginning) {
  const std::size_t room = ChangedRanges::kShownBytes - beginning.size();
  const Bytes taken = bytes.first(std::min(room, bytes.size()));
  beginning.insert(beginning.end(), taken.begin(), taken.end());
}

/// The bytes of one side; "…" when the range has more of them.
std::string shownBytes(const std::vector<std::uint8_t>& bytes, std::int64_t byteCount) {
  if (bytes.empty()) return "(none)";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    if (!text.empty()) text += ' ';
    text += uppercaseHexByteStrings[byte];
  }
  if (std::ssize(bytes) < byteCount && bytes.size() == ChangedRanges::kShownBytes) text += " …";
  return text;
}

}  // namespace

void ChangedRanges::compare(Bytes oldBytes, Bytes newBytes) {
  const std::int64_t start = position_;
  forEachDifference(oldBytes.data(), newBytes.data(), oldBytes.size(), TaskProgress(),
                    [&](std::size_t place, std::uint64_t mask) {
                      forEachRun(mask, [&](int first, int count) {
                        const std::size_t at = place + static_cast<std::size_t>(first);
                        const auto length = static_cast<std::size_t>(count);
                        extend(start + static_cast<std::int64_t>(at), oldBytes.subspan(at, length),
                               newBytes.subspan(at, length));
                      });
                    });
  position_ = start + std::ssize(oldBytes);
}

void ChangedRanges::addRemoved(Bytes oldBytes) {
  if (!oldBytes.empty()) extend(position_, oldBytes, {});
  position_ += std::ssize(oldBytes);
}

void ChangedRanges::addAdded(Bytes newBytes) {
  if (!newBytes.empty()) extend(position_, {}, newBytes);
  position_ += std::ssize(newBytes);
}

/// Notes differing bytes at `offset`; one side may be empty.
void ChangedRanges::extend(std::int64_t offset, Bytes oldBytes, Bytes newBytes) {
  const std::int64_t count = std::max(std::ssize(oldBytes), std::ssize(newBytes));
  const bool isNew = offset != end_;
  if (isNew) ++rangeCount_;
  byteCount_ += count;
  end_ = offset + count;
  if (isNew && listed_.size() < kMaximumListedRanges) listed_.push_back({.offset = offset});
  if (rangeCount_ != std::ssize(listed_)) return;
  Range& range = listed_.back();
  range.byteCount += count;
  appendBeginning(oldBytes, range.oldBytes);
  appendBeginning(newBytes, range.newBytes);
}

std::optional<std::int64_t> ChangedRanges::firstOffset() const {
  if (listed_.empty()) return std::nullopt;
  return listed_.front().offset;
}

std::string ChangedRanges::summary() const {
  return counted(rangeCount_, "range", "ranges") + ", " + counted(byteCount_, "byte", "bytes") +
         ", first at " + offsetText(firstOffset().value_or(0));
}

std::string ChangedRanges::report() const {
  std::string text;
  for (const Range& range : listed_) {
    text += "\n" + offsetText(range.offset) + "  " + counted(range.byteCount, "byte", "bytes") +
            "\n  Old: " + shownBytes(range.oldBytes, range.byteCount) +
            "\n  New: " + shownBytes(range.newBytes, range.byteCount) + "\n";
  }
  const std::int64_t rest = rangeCount_ - std::ssize(listed_);
  if (rest > 0) text += "\nand " + counted(rest, "more range", "more ranges") + "\n";
  return text;
}

}  // namespace quillmor
