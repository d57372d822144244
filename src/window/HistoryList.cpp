#include "window/HistoryList.h"

#include <array>
#include <ctime>
#include <utility>

#include "base/HexText.h"
#include "window/GroupedDecimal.h"

namespace quillmor {

namespace {

std::string localTime(EditHistory::Time moment) {
  const std::time_t time = std::chrono::system_clock::to_time_t(moment);
  struct tm parts {};
  if (::localtime_r(&time, &parts) == nullptr) return {};
  std::array<char, 64> text{};
  const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts);
  return {text.data(), length};
}

}  // namespace

std::string shownBytesText(std::span<const std::uint8_t> shown, std::int64_t count) {
  std::string text;
  for (const std::uint8_t byte : shown) {
    if (!text.empty()) text += ' ';
    text += uppercaseHexByteStrings[byte];
  }
  if (count > std::ssize(shown)) text += " … (" + groupedDecimal(count) + " bytes)";
  return text;
}

HistoryList::HistoryList(std::shared_ptr<const EditHistory> history)
    : history_(std::move(history)) {
  beginAnew();
}

void HistoryList::beginAnew() {
  isEnabled_ = history_->isEnabled();
  beginning_ = history_->beginning();
  forgottenCount_ = history_->forgottenCount();
  stepCount_ = history_->stepCount();
}

void HistoryList::remove(std::int64_t count) {
  forgottenCount_ += count;
  stepCount_ -= count;
}

HistoryList::Change HistoryList::change() const {
  const std::int64_t removed = history_->forgottenCount() - forgottenCount_;
  if (beginning_ != history_->beginning() || removed > stepCount_) return {.isAnew = true};
  return {.added = history_->stepCount() + removed - stepCount_, .removed = removed};
}

/// The step that leads to the row's state; null for the last row and when the step has gone.
const HistoryStep* HistoryList::stepOf(std::int64_t row) const {
  if (beginning_ != history_->beginning()) return nullptr;
  const std::int64_t index = forgottenCount_ + stepCount_ - 1 - row - history_->forgottenCount();
  return isLastRow(row) || index < 0 ? nullptr : &history_->step(index);
}

std::string HistoryList::text(std::int64_t row, Column column) const {
  const HistoryStep* const step = stepOf(row);
  if (step == nullptr) {
    if (!isLastRow(row) || column != Column::action) return {};
    return history_->hasForgotten() ? "Before the oldest step" : "Before any change";
  }
  switch (column) {
    case Column::time:
      return localTime(step->time);
    case Column::action:
      return step->name;
    case Column::offset:
      return offsetText(step->offset);
    case Column::removed:
      return shownBytesText(step->shownRemoved(), step->removedCount);
    case Column::inserted:
      return shownBytesText(step->shownInserted(), step->insertedCount);
  }
  return {};
}

std::optional<std::int64_t> HistoryList::stateToOpen(std::int64_t row) const {
  if (row < 0 || row >= rowCount() || beginning_ != history_->beginning()) return std::nullopt;
  const std::int64_t state = forgottenCount_ + stepCount_ - row - history_->forgottenCount();
  if (state < 0 || !history_->canOpen(state)) return std::nullopt;
  return state;
}

std::string HistoryList::note(std::int64_t row) const {
  if (!isEnabled_) return "This document keeps no history.";
  if (row >= 0 && row < rowCount() && !stateToOpen(row))
    return "The bytes of this state are no longer kept.";
  return stepCount_ == 0 ? "Nothing has been changed yet." : "";
}

}  // namespace quillmor
