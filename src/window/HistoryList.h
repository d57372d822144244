#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "document/EditHistory.h"

namespace quillmor {

/// The history of a document as a list for the user: a row for every state, the present one first.
/// The last row is the state before the oldest step.
///
/// The list changes only by `beginAnew`, `remove` and `add`, so that a view can be told of each
/// change, while the history goes on. A row whose step has gone meanwhile is empty. Main thread only.
class HistoryList {
 public:
  enum class Column { time, action, offset, removed, inserted };

  explicit HistoryList(std::shared_ptr<const EditHistory> history);

  /// 0 while the history is switched off.
  std::int64_t rowCount() const { return isEnabled_ ? stepCount_ + 1 : 0; }

  /// The cell's text. Times are in the time zone of the process.
  std::string text(std::int64_t row, Column column) const;

  /// The state of the row in the history as it is now; absent when its bytes cannot be had.
  std::optional<std::int64_t> stateToOpen(std::int64_t row) const;

  /// A sentence on why the row cannot be opened, or about the whole list; empty for none.
  std::string note(std::int64_t row) const;

  /// What the list lacks of the history as it is now.
  struct Change {
    /// Everything is different.
    bool isAnew = false;
    /// Rows to be added before the first one.
    std::int64_t added = 0;
    /// Rows to be taken away before the last one, which come first.
    std::int64_t removed = 0;
  };
  Change change() const;

  // What a view does with a change, a step at a time.

  void beginAnew();
  void remove(std::int64_t count);
  void add(std::int64_t count) { stepCount_ += count; }

 private:
  bool isLastRow(std::int64_t row) const { return row == stepCount_; }
  const HistoryStep* stepOf(std::int64_t row) const;

  std::shared_ptr<const EditHistory> history_;
  // The history as the rows show it.
  bool isEnabled_ = false;
  std::uint64_t beginning_ = 0;
  std::int64_t forgottenCount_ = 0;
  std::int64_t stepCount_ = 0;
};

/// The first bytes of `count` as they are listed: "41 42", or "41 42 … (300 bytes)" when there are
/// more.
std::string shownBytesText(std::span<const std::uint8_t> shown, std::int64_t count);

}  // namespace quillmor
