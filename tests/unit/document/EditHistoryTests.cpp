#include "document/EditHistory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/FailingAllocation.h"
#include "support/Stopping.h"

namespace quillmor::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using testing::ElementsAre;
using testing::ElementsAreArray;

Bytes plain(std::span<const std::uint8_t> bytes) {
  return {bytes.begin(), bytes.end()};
}

class EditHistoryTest : public testing::Test {
 protected:
  void announce(std::int64_t offset, std::int64_t removed) {
    history.willEdit({offset, removed}, nullptr);
  }

  void didReplace(std::int64_t offset, std::int64_t removed, std::int64_t inserted,
                  const std::string& name = "Edit") {
    history.didEdit({.actionName = name,
                     .offset = offset,
                     .removedCount = removed,
                     .insertedCount = inserted,
                     .caretOffset = offset + inserted,
                     .selection = {offset, inserted}});
  }

  void edit(std::int64_t offset, std::int64_t removed, const Bytes& inserted,
            const std::string& name = "Edit") {
    announce(offset, removed);
    bytes.replace(offset, removed, inserted);
    didReplace(offset, removed, std::ssize(inserted), name);
  }

  /// Removes everything and begins with `count` other bytes.
  void fill(std::int64_t count, std::uint8_t value = 7) {
    bytes = ByteBuffer::filled(count, value);
    history.clear();
  }

  Bytes state(std::int64_t number) {
    TaskProgress progress;
    return plain(bytesBeforeSteps(history.stepsFrom(number), bytes, progress).span());
  }

  ByteBuffer bytes{1, 2, 3, 4};
  EditHistory::Time now{std::chrono::seconds(1000)};
  EditHistory history{[this]() -> const ByteBuffer& { return bytes; }, [this] { return now; }};
};

TEST_F(EditHistoryTest, hasTheStateAsOpenedAtFirst) {
  EXPECT_TRUE(history.isEnabled());
  EXPECT_EQ(history.stepCount(), 0);
  EXPECT_TRUE(history.canOpen(0));
  EXPECT_FALSE(history.hasForgotten());
  EXPECT_EQ(state(0), (Bytes{1, 2, 3, 4}));
}

TEST_F(EditHistoryTest, listsWhatWasDone) {
  edit(1, 2, {9, 9, 9}, "Paste");
  now += std::chrono::milliseconds(1500);
  edit(0, 1, {}, "Delete");
  ASSERT_EQ(history.stepCount(), 2);
  const HistoryStep& paste = history.step(0);
  EXPECT_EQ(paste.name, "Paste");
  EXPECT_EQ(paste.time, EditHistory::Time(std::chrono::seconds(1000)));
  EXPECT_EQ(paste.offset, 1);
  EXPECT_EQ(paste.removedCount, 2);
  EXPECT_EQ(paste.insertedCount, 3);
  EXPECT_THAT(paste.shownRemoved(), ElementsAre(2, 3));
  EXPECT_THAT(paste.shownInserted(), ElementsAre(9, 9, 9));
  EXPECT_EQ(paste.caretOffset, 4);
  EXPECT_EQ(paste.selection, (HexSelection{1, 3}));
  EXPECT_EQ(history.step(1).name, "Delete");
  EXPECT_EQ(history.step(1).time, now);
  EXPECT_TRUE(history.step(1).shownInserted().empty());
  EXPECT_EQ(state(0), (Bytes{1, 2, 3, 4}));
  EXPECT_EQ(state(1), (Bytes{1, 9, 9, 9, 4}));
  EXPECT_EQ(state(2), (Bytes{9, 9, 9, 4}));
}

TEST_F(EditHistoryTest, showsTheFirst16BytesAndKeepsAll) {
  for (const std::int64_t count : {15, 16, 17, 300}) {
    SCOPED_TRACE(count);
    bytes = ByteBuffer::filled(count + 2, 0);
    for (std::int64_t i = 0; i < count; ++i) bytes.set(i + 1, static_cast<std::uint8_t>(i));
    const Bytes before = plain(bytes.span());
    history.clear();
    edit(1, count, Bytes(static_cast<std::size_t>(count), 0xEE));
    const HistoryStep& step = history.step(0);
    const auto shown = std::min<std::int64_t>(count, 16);
    EXPECT_THAT(step.shownRemoved(),
                ElementsAreArray(std::span(before).subspan(1, static_cast<std::size_t>(shown))));
    EXPECT_EQ(std::ssize(step.shownInserted()), shown);
    EXPECT_EQ(history.keptByteCount(), count > 16 ? count : 0) << "what is shown is kept already";
    EXPECT_EQ(state(0), before);
  }
}

TEST_F(EditHistoryTest, takesNoShareOfASmallDocument) {
  fill(16);
  const auto* const place = bytes.data();
  announce(0, 16);
  bytes.set(0, 1);
  EXPECT_EQ(bytes.data(), place) << "writing copies nothing";
}

TEST_F(EditHistoryTest, keepsACopyThatThereIsAlready) {
  fill(1000);
  const ByteBuffer removed = bytes.slice(10, 500);
  history.willEdit({10, 500}, &removed);
  bytes.erase(10, 500);
  didReplace(10, 500, 0);
  EXPECT_TRUE(history.step(0).removedBytes.sharesStorageWith(removed));
  EXPECT_EQ(state(0), Bytes(1000, 7));
}

TEST_F(EditHistoryTest, leavesTheGapOfALargeDocumentOpen) {
  bytes = ByteBuffer::filled(4 * ByteBuffer::kMinGapDistance, 0);
  const std::int64_t middle = bytes.size() / 2;
  edit(middle, 0, {1, 2});
  ASSERT_FALSE(bytes.isContiguous());
  edit(middle + 1, 1, {3});
  edit(middle - 100, 200, Bytes(200, 1));
  edit(middle, 1, {});
  EXPECT_FALSE(bytes.isContiguous());
}

TEST_F(EditHistoryTest, countsASecondDigitToTheStepOfTheFirst) {
  edit(1, 1, {0xA0});
  const auto complete = [this](std::int64_t offset, std::uint8_t value) {
    announce(offset, 1);
    bytes.set(offset, value);
    history.didEdit({.actionName = "Edit",
                     .offset = offset,
                     .removedCount = 1,
                     .insertedCount = 1,
                     .caretOffset = offset + 1,
                     .completesStep = true});
  };
  complete(1, 0xAB);
  ASSERT_EQ(history.stepCount(), 1);
  EXPECT_THAT(history.step(0).shownRemoved(), ElementsAre(2));
  EXPECT_THAT(history.step(0).shownInserted(), ElementsAre(0xAB));
  EXPECT_EQ(history.step(0).caretOffset, 2);
  EXPECT_EQ(state(0), (Bytes{1, 2, 3, 4}));
  EXPECT_EQ(state(1), (Bytes{1, 0xAB, 3, 4}));
  complete(0, 0x11);
  EXPECT_EQ(history.stepCount(), 2) << "the newest step is of another byte";
  history.clear();
  complete(1, 0xAC);
  EXPECT_EQ(history.stepCount(), 1) << "the first digit came before the history";
  EXPECT_EQ(state(0), (Bytes{0x11, 0xAB, 3, 4}));
}

TEST_F(EditHistoryTest, forgetsAnAnnouncedEditThatFails) {
  announce(0, 2);
  history.editDidNotHappen();
  EXPECT_EQ(history.stepCount(), 0);
  history.editDidNotHappen();
  edit(3, 1, {5});
  EXPECT_EQ(state(0), (Bytes{1, 2, 3, 4}));
}

TEST_F(EditHistoryTest, beginsAnewWithAnEditThatWasNotAnnouncedAsItHappened) {
  edit(0, 1, {5});
  announce(0, 2);
  bytes.replace(0, 3, Bytes{8});
  didReplace(0, 3, 1);
  EXPECT_EQ(history.stepCount(), 0);
  EXPECT_TRUE(history.hasForgotten());
  EXPECT_EQ(state(0), (Bytes{8, 4}));
}

TEST_F(EditHistoryTest, beginsAnewWithBytesThatCameAboutByNoEdit) {
  edit(0, 1, {5});
  const auto beginning = history.beginning();
  fill(2);
  EXPECT_EQ(history.stepCount(), 0);
  EXPECT_FALSE(history.hasForgotten());
  EXPECT_NE(history.beginning(), beginning);
  EXPECT_EQ(state(0), (Bytes{7, 7}));
}

TEST_F(EditHistoryTest, forgetsEverythingWhenItIsSwitchedOff) {
  fill(100);
  edit(0, 50, {5});
  edit(0, 1, {6});
  history.setEnabled(false);
  EXPECT_FALSE(history.isEnabled());
  EXPECT_EQ(history.stepCount(), 0);
  EXPECT_EQ(history.keptByteCount(), 0);
  edit(0, 40, {7});
  EXPECT_EQ(history.stepCount(), 0);
  EXPECT_EQ(history.keptByteCount(), 0);
  history.setEnabled(true);
  EXPECT_TRUE(history.hasForgotten()) << "it does not begin with the document as opened";
  const Bytes before = plain(bytes.span());
  edit(0, 1, {9});
  EXPECT_EQ(history.stepCount(), 1);
  EXPECT_EQ(state(0), before);
}

TEST_F(EditHistoryTest, staysAsItIsWhenItIsSwitchedOnTwice) {
  edit(0, 1, {5});
  history.setEnabled(true);
  EXPECT_EQ(history.stepCount(), 1);
  EXPECT_FALSE(history.hasForgotten());
}

TEST_F(EditHistoryTest, tellsOfEveryChange) {
  int changes = 0;
  history.setObserver([&] {
    ++changes;
    throw std::bad_alloc();
  });
  edit(0, 1, {5});
  edit(0, 1, {6});
  EXPECT_EQ(changes, 2);
  history.clear();
  EXPECT_EQ(changes, 3);
  history.setEnabled(false);
  EXPECT_EQ(changes, 4);
  edit(0, 1, {7});
  EXPECT_EQ(changes, 4);
  history.setObserver(nullptr);
  history.clear();
  EXPECT_EQ(changes, 4);
}

// Bounds.

TEST_F(EditHistoryTest, lists100000Steps) {
  fill(1, 0);
  for (std::int64_t i = 1; i <= EditHistory::kMaxSteps; ++i)
    edit(0, 1, {static_cast<std::uint8_t>(i)});
  EXPECT_EQ(history.stepCount(), 100'000);
  EXPECT_EQ(history.forgottenCount(), 0);
  EXPECT_FALSE(history.hasForgotten());
  EXPECT_EQ(state(0), Bytes{0});
  edit(0, 1, {0xFF});
  EXPECT_EQ(history.stepCount(), 100'000);
  EXPECT_EQ(history.forgottenCount(), 1);
  EXPECT_TRUE(history.hasForgotten());
  EXPECT_TRUE(history.canOpen(0));
  EXPECT_EQ(state(0), Bytes{1});
  EXPECT_EQ(state(100'000), Bytes{0xFF});
}

TEST_F(EditHistoryTest, keeps64MebibytesOfRemovedBytes) {
  for (const std::int64_t beyond : {-1, 0, 1}) {
    SCOPED_TRACE(beyond);
    fill(EditHistory::kMaxKeptBytes + beyond + 1);
    edit(0, 100, {});
    edit(0, EditHistory::kMaxKeptBytes - 100 + beyond, {1});
    EXPECT_EQ(history.stepCount(), 2);
    EXPECT_EQ(history.canOpen(0), beyond <= 0);
    EXPECT_TRUE(history.canOpen(1));
    EXPECT_EQ(history.keptByteCount(),
              EditHistory::kMaxKeptBytes + beyond - (beyond > 0 ? 100 : 0));
    EXPECT_EQ(history.step(0).removed().has_value(), beyond <= 0);
    EXPECT_EQ(std::ssize(state(1)), EditHistory::kMaxKeptBytes + beyond + 1 - 100);
  }
}

TEST_F(EditHistoryTest, keepsOneStepOfAsManyAndNoneOfMore) {
  for (const std::int64_t beyond : {-1, 0, 1}) {
    SCOPED_TRACE(beyond);
    fill(EditHistory::kMaxKeptBytes + 10);
    edit(0, 2, {5});
    edit(0, EditHistory::kMaxKeptBytes + beyond, {1});
    EXPECT_EQ(history.canOpen(1), beyond <= 0);
    EXPECT_EQ(history.canOpen(0), beyond <= 0) << "what lies before cannot be had either";
    EXPECT_TRUE(history.canOpen(2));
    EXPECT_EQ(history.keptByteCount(), beyond <= 0 ? EditHistory::kMaxKeptBytes + beyond : 0);
    EXPECT_EQ(history.step(1).shownRemoved().size(), 16U) << "the list still shows them";
    EXPECT_FALSE(bytes.empty());
  }
}

TEST_F(EditHistoryTest, keepsNoShareOfADocumentThatIsTooLarge) {
  fill(EditHistory::kMaxKeptBytes + 1);
  const auto* const place = bytes.data();
  announce(0, bytes.size());
  bytes.set(0, 1);
  EXPECT_EQ(bytes.data(), place);
}

TEST_F(EditHistoryTest, goesOnAfterStepsWhoseBytesAreNotKept) {
  fill(EditHistory::kMaxKeptBytes + 1);
  edit(0, bytes.size(), {1, 2, 3});
  edit(1, 1, {9, 9});
  EXPECT_FALSE(history.canOpen(0));
  EXPECT_EQ(state(1), (Bytes{1, 2, 3}));
  EXPECT_EQ(state(2), (Bytes{1, 9, 9, 3}));
}

TEST_F(EditHistoryTest, forgetsTheOldestStepWhicheverStatesCanBeOpened) {
  fill(EditHistory::kMaxKeptBytes + 1);
  edit(0, bytes.size(), {0});
  for (std::int64_t i = 1; i < EditHistory::kMaxSteps; ++i)
    edit(0, 1, {static_cast<std::uint8_t>(i)});
  EXPECT_FALSE(history.canOpen(0));
  EXPECT_TRUE(history.canOpen(1));
  edit(0, 1, {0xAA});
  EXPECT_TRUE(history.canOpen(0)) << "the step without bytes has gone";
  EXPECT_EQ(state(0), Bytes{0});
  edit(0, 1, {0xBB});
  EXPECT_EQ(state(0), Bytes{1});
  EXPECT_EQ(history.forgottenCount(), 2);
}

TEST_F(EditHistoryTest, stopsMakingAStateOnRequest) {
  fill(32 * kMiB);
  for (int i = 0; i < 1000; ++i) edit(i * 1000, 0, {5});
  const auto steps = history.stepsFrom(0);
  EXPECT_TRUE(stopsInTheMiddle(
      [&](TaskProgress& progress) { return bytesBeforeSteps(steps, bytes, progress); }));
}

TEST_F(EditHistoryTest, tellsHowFarAStateIs) {
  fill(kMiB);
  edit(0, 1000, {5});
  TaskProgress progress;
  bytesBeforeSteps(history.stepsFrom(0), bytes, progress);
  EXPECT_EQ(progress.fraction(), 1);
}

#if QUILLMOR_NEW_CAN_FAIL

TEST_F(EditHistoryTest, neverFailsWithoutMemory) {
  int newBeginnings = 0;
  int withoutBytes = 0;
  bool hasFailed = true;
  for (int number = 1; hasFailed; ++number) {
    SCOPED_TRACE("allocation " + std::to_string(number));
    fill(100);
    edit(0, 1, {1});
    {
      const std::string name = "a name that needs memory of its own";
      const FailingAllocation failing(number);
      announce(10, 50);
      {
        const UncountedAllocations uncounted;
        bytes.replace(10, 50, Bytes{2});
      }
      didReplace(10, 50, 1, name);
      hasFailed = failing.hasFailed();
    }
    const bool isAnew = history.stepCount() == 0;
    EXPECT_EQ(history.hasForgotten(), isAnew);
    newBeginnings += isAnew ? 1 : 0;
    EXPECT_EQ(std::ssize(state(history.stepCount())), 51);
    const bool isWhole = !isAnew && history.canOpen(0);
    withoutBytes += isAnew || isWhole ? 0 : 1;
    if (isWhole) {
      EXPECT_EQ(state(0), Bytes(100, 7));
    }
  }
  EXPECT_GT(newBeginnings, 0);
  EXPECT_GT(withoutBytes, 0);
  EXPECT_TRUE(history.canOpen(0)) << "enough memory in the end";
}

TEST_F(EditHistoryTest, listsAStepWithoutItsBytesWhenThereIsNoMemoryForThem) {
  fill(16 * kMiB);
  edit(0, 20, {1});
  {
    const NoMoreAddressSpace scarce;
    announce(0, 8 * kMiB);
  }
  bytes.replace(0, 8 * kMiB, Bytes{2});
  didReplace(0, 8 * kMiB, 1);
  EXPECT_EQ(history.stepCount(), 2);
  EXPECT_FALSE(history.canOpen(1));
  EXPECT_TRUE(history.canOpen(2));
  EXPECT_EQ(history.keptByteCount(), 0);
}

#endif

}  // namespace
}  // namespace quillmor::test
