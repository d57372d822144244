#include "window/HistoryList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

namespace quillmor::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Column = HistoryList::Column;
using testing::ElementsAre;

class HistoryListTest : public testing::Test {
 protected:
  HistoryListTest() {
    ::setenv("TZ", "UTC", 1);
    ::tzset();
  }

  void edit(std::int64_t offset, std::int64_t removed, const Bytes& inserted,
            const std::string& name = "Edit") {
    history->willEdit({offset, removed}, nullptr);
    bytes.replace(offset, removed, inserted);
    history->didEdit({.actionName = name,
                      .offset = offset,
                      .removedCount = removed,
                      .insertedCount = std::ssize(inserted)});
  }

  /// Does what a view does.
  void update() {
    const auto change = list.change();
    if (change.isAnew) return list.beginAnew();
    list.remove(change.removed);
    list.add(change.added);
  }

  std::vector<std::string> row(std::int64_t number) const {
    std::vector<std::string> texts;
    for (const auto column :
         {Column::time, Column::action, Column::offset, Column::removed, Column::inserted})
      texts.push_back(list.text(number, column));
    return texts;
  }

  ByteBuffer bytes{1, 2, 3, 4};
  EditHistory::Time now{std::chrono::seconds(1'000'000'000)};
  std::shared_ptr<EditHistory> history = std::make_shared<EditHistory>(
      [this]() -> const ByteBuffer& { return bytes; }, [this] { return now; });
  HistoryList list{history};
};

TEST(ShownBytes, areTheFirstOnesWithTheCountWhenThereAreMore) {
  EXPECT_EQ(shownBytesText({}, 0), "");
  EXPECT_EQ(shownBytesText(Bytes{0x0A}, 1), "0A");
  EXPECT_EQ(shownBytesText(Bytes{0x41, 0xFF}, 2), "41 FF");
  EXPECT_EQ(shownBytesText(Bytes{0x41, 0x42}, 3), "41 42 … (3 bytes)");
  EXPECT_EQ(shownBytesText(Bytes{0x41}, 1234567), "41 … (1,234,567 bytes)");
}

TEST_F(HistoryListTest, hasTheOpenedDocumentAtFirst) {
  EXPECT_EQ(list.rowCount(), 1);
  EXPECT_THAT(row(0), ElementsAre("", "Before any change", "", "", ""));
  EXPECT_EQ(list.stateToOpen(0), 0);
  EXPECT_EQ(list.note(0), "Nothing has been changed yet.");
}

TEST_F(HistoryListTest, hasTheNewestStepFirst) {
  edit(1, 2, {0xAB}, "Paste");
  now += std::chrono::seconds(61);
  edit(0, 0, Bytes(300, 0x41), "Insert Bytes");
  update();
  ASSERT_EQ(list.rowCount(), 3);
  std::string sixteen = "41";
  for (int i = 0; i < 15; ++i) sixteen += " 41";
  EXPECT_THAT(row(0), ElementsAre("2001-09-09 01:47:41", "Insert Bytes", "0x00000000", "",
                                  sixteen + " … (300 bytes)"));
  EXPECT_THAT(row(1), ElementsAre("2001-09-09 01:46:40", "Paste", "0x00000001", "02 03", "AB"));
  EXPECT_EQ(row(2)[1], "Before any change");
  EXPECT_EQ(list.stateToOpen(0), 2);
  EXPECT_EQ(list.stateToOpen(1), 1);
  EXPECT_EQ(list.stateToOpen(2), 0);
  EXPECT_EQ(list.note(1), "");
}

TEST_F(HistoryListTest, changesOnlyWhenItIsUpdated) {
  edit(0, 1, {9});
  update();
  edit(0, 1, {8});
  EXPECT_EQ(list.rowCount(), 2);
  EXPECT_EQ(row(0)[4], "09");
  EXPECT_EQ(list.stateToOpen(0), 1);
  EXPECT_EQ(list.change().added, 1);
  EXPECT_EQ(list.change().removed, 0);
  EXPECT_FALSE(list.change().isAnew);
  update();
  EXPECT_EQ(row(0)[4], "08");
  EXPECT_EQ(list.change().added, 0);
}

TEST_F(HistoryListTest, followsStepsThatGo) {
  for (std::int64_t i = 0; i < EditHistory::kMaxSteps; ++i)
    edit(0, 1, {static_cast<std::uint8_t>(i)});
  update();
  EXPECT_EQ(list.rowCount(), EditHistory::kMaxSteps + 1);
  EXPECT_EQ(row(EditHistory::kMaxSteps)[1], "Before any change");
  const auto oldest = row(EditHistory::kMaxSteps - 1);
  edit(0, 1, {0xAA});
  edit(0, 1, {0xBB});
  EXPECT_EQ(list.change().removed, 2);
  EXPECT_EQ(list.change().added, 2);
  EXPECT_THAT(row(EditHistory::kMaxSteps - 1), ElementsAre("", "", "", "", ""))
      << "this step has gone";
  EXPECT_EQ(list.stateToOpen(EditHistory::kMaxSteps), std::nullopt);
  update();
  EXPECT_EQ(list.rowCount(), EditHistory::kMaxSteps + 1);
  EXPECT_EQ(row(0)[4], "BB");
  EXPECT_EQ(row(EditHistory::kMaxSteps)[1], "Before the oldest step");
  EXPECT_EQ(list.stateToOpen(EditHistory::kMaxSteps), 0);
}

TEST_F(HistoryListTest, beginsAnewWithTheHistory) {
  edit(0, 1, {9});
  update();
  history->clear();
  EXPECT_TRUE(list.change().isAnew);
  EXPECT_THAT(row(0), ElementsAre("", "", "", "", ""));
  EXPECT_EQ(list.stateToOpen(0), std::nullopt);
  update();
  EXPECT_EQ(list.rowCount(), 1);
  EXPECT_EQ(row(0)[1], "Before any change");
}

TEST_F(HistoryListTest, isEmptyWhileTheHistoryIsSwitchedOff) {
  edit(0, 1, {9});
  history->setEnabled(false);
  update();
  EXPECT_EQ(list.rowCount(), 0);
  EXPECT_EQ(list.note(-1), "This document keeps no history.");
  EXPECT_EQ(list.stateToOpen(0), std::nullopt);
  history->setEnabled(true);
  update();
  EXPECT_EQ(row(0)[1], "Before the oldest step");
}

TEST_F(HistoryListTest, saysWhichStatesCannotBeOpened) {
  bytes = ByteBuffer::filled(EditHistory::kMaxKeptBytes + 1, 0);
  edit(0, bytes.size(), {1});
  edit(0, 1, {2});
  update();
  EXPECT_EQ(list.stateToOpen(1), 1);
  EXPECT_EQ(list.note(1), "");
  EXPECT_EQ(list.stateToOpen(2), std::nullopt);
  EXPECT_EQ(list.note(2), "The bytes of this state are no longer kept.");
}

}  // namespace
}  // namespace quillmor::test
