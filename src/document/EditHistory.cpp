#include "document/EditHistory.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "base/Check.h"
#include "base/ReplayedBytes.h"
#include "platform/RunInBackground.h"

namespace quillmor {

namespace {

constexpr auto kShown = static_cast<std::int64_t>(HistoryStep::kShownBytes);

std::span<const std::uint8_t> shown(const std::array<std::uint8_t, HistoryStep::kShownBytes>& head,
                                    std::int64_t count) {
  return std::span(head).first(static_cast<std::size_t>(std::min(count, kShown)));
}

/// Copies the first of the `count` bytes from `offset`. Takes no memory and leaves a gap open.
void copyHead(const ByteBuffer& bytes, std::int64_t offset, std::int64_t count,
              std::array<std::uint8_t, HistoryStep::kShownBytes>& head) noexcept {
  bytes.copyTo(offset, std::span(head).first(static_cast<std::size_t>(std::min(count, kShown))));
}

}  // namespace

std::span<const std::uint8_t> HistoryStep::shownRemoved() const {
  return shown(removedHead, removedCount);
}

std::span<const std::uint8_t> HistoryStep::shownInserted() const {
  return shown(insertedHead, insertedCount);
}

std::optional<std::span<const std::uint8_t>> HistoryStep::removed() const {
  if (removedCount <= kShown) return shownRemoved();
  if (removedBytes.size() == removedCount) return removedBytes.span();
  return std::nullopt;
}

EditHistory::EditHistory(std::function<const ByteBuffer&()> bytes, std::function<Time()> now)
    : bytes_(std::move(bytes)), now_(std::move(now)) {}

void EditHistory::setEnabled(bool isEnabled) noexcept {
  if (std::exchange(isEnabled_, isEnabled) == isEnabled) return;
  hasForgotten_ = true;
  begin();
}

void EditHistory::clear() noexcept {
  hasForgotten_ = false;
  begin();
}

void EditHistory::begin() noexcept {
  removed_ = {};
  steps_.clear();
  forgottenCount_ = 0;
  oldestOpenable_ = 0;
  keptByteCount_ = 0;
  ++beginning_;
  tellObserver();
}

const HistoryStep& EditHistory::step(std::int64_t index) const {
  checkPrecondition(index >= 0 && index < stepCount(), "a step of the history");
  return steps_[static_cast<std::size_t>(index)];
}

std::vector<HistoryStep> EditHistory::stepsFrom(std::int64_t state) const {
  checkPrecondition(state >= 0 && state <= stepCount(), "a state of the history");
  return {steps_.begin() + state, steps_.end()};
}

/// Bytes that are shown anyway are kept without memory of their own. So no key that is typed takes
/// any, or a share of a small document.
void EditHistory::willEdit(HexSelection range, const ByteBuffer* removed) noexcept {
  removed_ = {};
  if (!isEnabled_) return;
  removed_.count = range.length;
  const ByteBuffer& bytes = bytes_();
  copyHead(bytes, range.start, range.length, removed_.head);
  if (range.length <= kShown || range.length > kMaxKeptBytes) return;
  if (removed != nullptr) {
    removed_.bytes = *removed;
  } else {
    resultOf([&] { return removed_.bytes = bytes.slice(range.start, range.length), Done(); });
  }
}

void EditHistory::didEdit(const RecordedEdit& edit) noexcept {
  if (!isEnabled_) return;
  if (edit.completesStep && completeNewest(edit)) return tellObserver();
  const bool isAdded = removed_.count == edit.removedCount &&
                       resultOf([&] { return steps_.push_back(stepOf(edit)), Done(); }).isOk();
  if (!isAdded) {
    // A hole in the list would lead to bytes that never were.
    hasForgotten_ = true;
    return begin();
  }
  keptByteCount_ += steps_.back().removedBytes.size();
  keepWithinBounds();
  tellObserver();
}

/// False when the newest step is another one, because the history has begun anew in between.
bool EditHistory::completeNewest(const RecordedEdit& edit) noexcept {
  if (steps_.empty()) return false;
  HistoryStep& newest = steps_.back();
  const std::int64_t place = edit.offset - newest.offset;
  if (place < 0 || place >= newest.insertedCount) return false;
  removed_ = {};
  copyHead(bytes_(), newest.offset, newest.insertedCount, newest.insertedHead);
  newest.caretOffset = edit.caretOffset;
  newest.selection = edit.selection;
  return true;
}

HistoryStep EditHistory::stepOf(const RecordedEdit& edit) {
  Removed removed = std::exchange(removed_, {});
  HistoryStep step{.time = now_(),
                   .name = std::string(edit.actionName),
                   .offset = edit.offset,
                   .removedCount = edit.removedCount,
                   .insertedCount = edit.insertedCount,
                   .removedHead = removed.head,
                   .removedBytes = std::move(removed.bytes),
                   .caretOffset = edit.caretOffset,
                   .selection = edit.selection};
  copyHead(bytes_(), edit.offset, edit.insertedCount, step.insertedHead);
  return step;
}

void EditHistory::keepWithinBounds() noexcept {
  if (!steps_.back().removed()) dropBytesBefore(stepCount());
  while (keptByteCount_ > kMaxKeptBytes) dropBytesBefore(oldestOpenable_ + 1);
  if (stepCount() <= kMaxSteps) return;
  dropBytesBefore(1);
  steps_.pop_front();
  --oldestOpenable_;
  ++forgottenCount_;
  hasForgotten_ = true;
}

/// No state before this one can be had any more. Looks at each step once in its life.
void EditHistory::dropBytesBefore(std::int64_t state) noexcept {
  for (; oldestOpenable_ < state; ++oldestOpenable_) {
    ByteBuffer& bytes = steps_[static_cast<std::size_t>(oldestOpenable_)].removedBytes;
    keptByteCount_ -= bytes.size();
    bytes = {};
  }
}

void EditHistory::tellObserver() noexcept {
  if (changed_) resultOf([&] { return changed_(), Done(); });
}

ByteBuffer bytesBeforeSteps(std::span<const HistoryStep> steps, const ByteBuffer& bytes,
                            TaskProgress& progress) {
  if (steps.empty()) return bytes;
  std::int64_t size = bytes.size();
  for (const HistoryStep& step : steps) size += step.removedCount - step.insertedCount;
  progress.setTotal(bytes.size() + size);
  ReplayedBytes replayed(bytes, &progress);
  for (auto step = steps.rbegin(); step != steps.rend(); ++step) {
    progress.checkpoint();
    const auto removed = step->removed();
    checkPrecondition(removed.has_value(), "steps whose bytes are kept");
    replayed.replace(step->offset, step->insertedCount, *removed);
  }
  return replayed.take(&progress);
}

}  // namespace quillmor
