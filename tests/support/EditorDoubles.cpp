#include "support/EditorDoubles.h"

#include <algorithm>
#include <new>

namespace quillmor::test {

void RecordingDelegate::rememberBytes() {
  before_ = bytesOf(state_);
}

void RecordingDelegate::clear() {
  announced.clear();
  edits = unannouncedEdits = statusUpdates = 0;
}

void RecordingDelegate::announceEdit(std::int64_t start, std::int64_t removedCount,
                                     std::int64_t insertedCount) {
  EXPECT_FALSE(isAnnounced_) << "two announcements for one edit";
  EXPECT_EQ(before_, bytesOf(state_)) << "bytes changed before the announcement";
  announced.push_back({start, removedCount, insertedCount});
  isAnnounced_ = true;
}

void RecordingDelegate::hexEditorDidEdit(HexEditorState& editor) {
  EXPECT_EQ(&editor, &state_);
  ++edits;
  const auto now = state_.storage()->bytes.span();
  if (isAnnounced_) {
    expectOnlyAnnouncedChange(announced.back(), now);
  } else {
    ++unannouncedEdits;
    expectOneByteCompleted(now);
  }
  isAnnounced_ = false;
  rememberBytes();
  if (failsAfterEdits) throw std::bad_alloc();
}

void RecordingDelegate::expectOnlyAnnouncedChange(const AnnouncedEdit& edit,
                                                  std::span<const std::uint8_t> now) {
  const auto size = static_cast<std::int64_t>(before_.size());
  ASSERT_TRUE(edit.start >= 0 && edit.removedCount >= 0 && edit.insertedCount >= 0);
  ASSERT_LE(edit.start + edit.removedCount, size);
  ASSERT_EQ(static_cast<std::int64_t>(now.size()), size - edit.removedCount + edit.insertedCount);
  EXPECT_TRUE(std::equal(before_.begin(), before_.begin() + edit.start, now.begin()));
  EXPECT_TRUE(std::equal(before_.begin() + edit.start + edit.removedCount, before_.end(),
                         now.begin() + edit.start + edit.insertedCount));
}

void RecordingDelegate::expectOneByteCompleted(std::span<const std::uint8_t> now) {
  ASSERT_EQ(now.size(), before_.size());
  int differences = 0;
  for (std::size_t i = 0; i < now.size(); ++i) {
    if (now[i] == before_[i]) continue;
    ++differences;
    EXPECT_EQ(now[i] & 0xF0, before_[i] & 0xF0) << "only a second digit may come unannounced";
    EXPECT_EQ(static_cast<std::int64_t>(i) + 1, state_.caretOffset());
  }
  EXPECT_EQ(differences, 1);
}

EditorFixture::EditorFixture(const std::vector<std::uint8_t>& bytes) {
  state->storage()->bytes = ByteBuffer(bytes);
  state->setFontMetrics(8, 13);
  state->setViewportSize({700, 400});
  state->recalcMetrics();
  delegate = std::make_unique<RecordingDelegate>(*state);
  state->setDelegate(delegate.get());
  state->setSurface(surface.get());
}

EditorFixture EditorFixture::counting(int byteCount) {
  std::vector<std::uint8_t> bytes;
  for (int i = 0; i < byteCount; ++i) bytes.push_back(static_cast<std::uint8_t>(i));
  return EditorFixture(bytes);
}

void EditorFixture::type(std::string_view characters) {
  for (const char c : characters) state->keyDown({.characters = std::string(1, c)});
}

void EditorFixture::press(KeyPress::Key key, bool shift) {
  state->keyDown({.key = key, .shift = shift, .characters = {}});
}

Point EditorFixture::hexPoint(std::int64_t offset, double digit) const {
  const auto& geometry = state->geometry();
  return {geometry.hexCellX(offset % state->bytesPerRow()) + (digit + 0.5) * geometry.charWidth(),
          geometry.rowTop(offset / state->bytesPerRow()) + 5};
}

Point EditorFixture::asciiPoint(std::int64_t offset) const {
  const auto& geometry = state->geometry();
  return {geometry.asciiCellX(offset % state->bytesPerRow()) + 3,
          geometry.rowTop(offset / state->bytesPerRow()) + 5};
}

}  // namespace quillmor::test
