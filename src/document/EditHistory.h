#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/ByteBuffer.h"
#include "base/ByteUnits.h"
#include "base/TaskProgress.h"
#include "document/EditRecorder.h"

namespace quillmor {

/// One step of a document's history: an edit that has happened.
struct HistoryStep {
  /// How many of the bytes on each side are shown.
  static constexpr std::size_t kShownBytes = 16;

  std::chrono::system_clock::time_point time = {};
  /// As the Edit menu names it ("Edit", "Paste", "Undo Paste").
  std::string name = {};
  std::int64_t offset = 0;
  std::int64_t removedCount = 0;
  std::int64_t insertedCount = 0;
  /// The first bytes of each side.
  std::array<std::uint8_t, kShownBytes> removedHead = {};
  std::array<std::uint8_t, kShownBytes> insertedHead = {};
  /// All removed bytes where they are more than `removedHead` holds, as long as they are kept.
  ByteBuffer removedBytes = {};
  /// After the step, within the document.
  std::int64_t caretOffset = 0;
  HexSelection selection = {};

  std::span<const std::uint8_t> shownRemoved() const;
  std::span<const std::uint8_t> shownInserted() const;

  /// All removed bytes; absent when they are not kept any more.
  std::optional<std::span<const std::uint8_t>> removed() const;
};

/// Every edit of one document since it was opened, for the user to see and to go back to, however
/// many levels undo has. In memory alone, and bounded: of more than `kMaxSteps` steps the oldest
/// go; of more than `kMaxKeptBytes` removed bytes the oldest are dropped, and the states before
/// their steps cannot be had any more.
///
/// A state is named by the number of listed steps that lead to it: 0 is the one before the oldest
/// step, `stepCount` the present one.
///
/// Takes no part in whether an edit succeeds: without memory for a step's bytes it is listed
/// without them, and without memory for the step the history begins anew. Main thread only.
class EditHistory : public EditRecorder {
 public:
  using Time = std::chrono::system_clock::time_point;

  /// Some 20 MiB.
  static constexpr std::int64_t kMaxSteps = 100'000;
  /// The removed bytes of all steps together, beyond those that are shown anyway.
  static constexpr std::int64_t kMaxKeptBytes = 64 * kMiB;

  /// `bytes` returns those of the document as they are now.
  explicit EditHistory(std::function<const ByteBuffer&()> bytes,
                       std::function<Time()> now = std::chrono::system_clock::now);

  /// Switched off, the history forgets everything at once and keeps nothing from then on. It is on
  /// at first.
  bool isEnabled() const { return isEnabled_; }
  void setEnabled(bool isEnabled) noexcept;

  /// Begins anew with the present bytes, because they have not come about by edits.
  void clear() noexcept;

  std::int64_t stepCount() const { return std::ssize(steps_); }
  /// The step that leads from the state `index` to the next one; 0..<`stepCount`.
  const HistoryStep& step(std::int64_t index) const;
  /// How many older steps have been forgotten since the history began.
  std::int64_t forgottenCount() const { return forgottenCount_; }
  /// Another one whenever the history has begun anew.
  std::uint64_t beginning() const { return beginning_; }
  /// True if there were edits before the oldest step that are not listed.
  bool hasForgotten() const { return hasForgotten_; }

  /// True if the bytes of the state, 0..`stepCount`, can be had.
  bool canOpen(std::int64_t state) const { return state >= oldestOpenable_; }
  /// The removed bytes that are kept.
  std::int64_t keptByteCount() const { return keptByteCount_; }

  /// Copies of the steps that follow on a state, the oldest first.
  std::vector<HistoryStep> stepsFrom(std::int64_t state) const;

  /// `changed` is called after every change of the list and must be quick; null for none.
  void setObserver(std::function<void()> changed) { changed_ = std::move(changed); }

  // EditRecorder
  void willEdit(HexSelection range, const ByteBuffer* removed) noexcept override;
  void editDidNotHappen() noexcept override { removed_ = {}; }
  void didEdit(const RecordedEdit& edit) noexcept override;
  void didTakeStorage() noexcept override { clear(); }

 private:
  /// What an edit is about to remove.
  struct Removed {
    std::int64_t count = 0;
    std::array<std::uint8_t, HistoryStep::kShownBytes> head = {};
    ByteBuffer bytes = {};
  };

  void begin() noexcept;
  bool completeNewest(const RecordedEdit& edit) noexcept;
  HistoryStep stepOf(const RecordedEdit& edit);
  void keepWithinBounds() noexcept;
  void dropBytesBefore(std::int64_t state) noexcept;
  void tellObserver() noexcept;

  const std::function<const ByteBuffer&()> bytes_;
  const std::function<Time()> now_;
  std::function<void()> changed_;
  bool isEnabled_ = true;
  std::deque<HistoryStep> steps_;
  std::int64_t forgottenCount_ = 0;
  std::uint64_t beginning_ = 0;
  bool hasForgotten_ = false;
  /// The steps before it keep no bytes.
  std::int64_t oldestOpenable_ = 0;
  std::int64_t keptByteCount_ = 0;
  Removed removed_;
};

/// Returns the bytes as they were before `steps`, the oldest first, which have led to `bytes` and
/// keep what they removed. Throws `Error::stopped()`. Any thread.
ByteBuffer bytesBeforeSteps(std::span<const HistoryStep> steps, const ByteBuffer& bytes,
                            TaskProgress& progress);

}  // namespace quillmor
