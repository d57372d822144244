#include "recovery/JournalWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "recovery/JournalReader.h"
#include "support/ErrorMatchers.h"
#include "support/FaultySystemCalls.h"
#include "support/TemporaryFolder.h"

namespace quillmor::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

class JournalWriterTest : public testing::Test {
 protected:
  std::unique_ptr<JournalWriter> create() const { return JournalWriter::create(store, {}); }

  /// `count` entries that each put one byte before the document.
  static Bytes entries(int count) {
    const Bytes one{'x'};
    Bytes bytes;
    for (int entry = 0; entry < count; ++entry)
      JournalEntry{.actionName = "Edit", .offset = 0, .inserted = one}.appendTo(bytes);
    return bytes;
  }

  static void append(JournalWriter& writer, int count) {
    Bytes bytes = entries(count);
    writer.append(bytes);
  }

  ReplayedJournal replayed() const {
    const auto records = store.list();
    EXPECT_EQ(records.size(), 1U);
    return replayJournal(store.readJournal(records.front()).span(), {}, {});
  }

  TemporaryFolder folder;
  const RecordStore store{folder.location("records")};
};

TEST_F(JournalWriterTest, appendsBatchesThatAreReplayed) {
  const auto writer = create();
  EXPECT_TRUE(writer->isEmpty());
  EXPECT_EQ(replayed().entryCount, 0);
  append(*writer, 2);
  append(*writer, 0);
  append(*writer, 3);
  EXPECT_FALSE(writer->isEmpty());
  EXPECT_EQ(replayed().entryCount, 5);
  EXPECT_FALSE(replayed().wasCutOff);
  EXPECT_EQ(writer->record().byteCount(), store.list().front().byteCount);
}

TEST_F(JournalWriterTest, makesABatchDurableWithOneWriteAndOneFlush) {
  const auto writer = create();
  FaultySystemCalls calls;
  const ScopedSystemCalls scope(calls);
  append(*writer, 100);
  EXPECT_EQ(calls.log(), (std::vector{SystemCall::write, SystemCall::fsync}));
  append(*writer, 0);
  EXPECT_EQ(calls.log().size(), 2U);
}

TEST_F(JournalWriterTest, goesOnAfterAnInterruptedAndAShortWrite) {
  const auto writer = create();
  FaultySystemCalls calls;
  calls.interruptEveryCall();
  calls.limitCount(SystemCall::write, 1, 10);
  const ScopedSystemCalls scope(calls);
  append(*writer, 2);
  EXPECT_EQ(replayed().entryCount, 2);
}

TEST_F(JournalWriterTest, isFinishedForGoodAfterAFailure) {
  for (const auto kind : {SystemCall::write, SystemCall::fsync}) {
    const auto writer = create();
    append(*writer, 2);
    FaultySystemCalls calls;
    calls.limitCount(SystemCall::write, 1, 100);
    calls.fail(kind, kind == SystemCall::write ? 2 : 1, ENOSPC);
    {
      const ScopedSystemCalls scope(calls);
      EXPECT_THROW(append(*writer, 3), Error);
    }
    const std::int64_t byteCount = store.list().front().byteCount;
    try {
      append(*writer, 1);
      FAIL();
    } catch (const Error& error) {
      EXPECT_EQ(error.code(), ENOSPC);
    }
    EXPECT_EQ(store.list().front().byteCount, byteCount) << "nothing may follow a hole";
    EXPECT_GE(replayed().entryCount, 2);
    writer->takeRecord()->remove();
  }
}

TEST_F(JournalWriterTest, leavesNothingWhenItCannotBeMade) {
  int refused = 0;
  for (int number = 1;; ++number) {
    std::unique_ptr<JournalWriter> writer;
    FaultySystemCalls calls;
    calls.failCall(number, EIO);
    {
      const ScopedSystemCalls scope(calls);
      try {
        writer = create();
      } catch (const Error&) {
        ++refused;
      }
    }
    EXPECT_EQ(store.list().size(), writer ? 1U : 0U) << number;
    if (writer) writer->takeRecord()->remove();
    if (static_cast<int>(calls.log().size()) < number) break;
  }
  EXPECT_GT(refused, 5);
}

}  // namespace
}  // namespace quillmor::test
