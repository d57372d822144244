#include "recovery/JournalEntry.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/FailingAllocation.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kCheck = 0x12345678;

const Bytes kInserted{1, 2, 3};

JournalEntry entryNamed(std::string_view name) {
  return {.time = {.seconds = 1700000000, .nanoseconds = 999999999},
          .actionName = name,
          .offset = 5,
          .removedCount = 2,
          .inserted = kInserted,
          .caretOffset = 8,
          .selection = {.start = 5, .length = 3}};
}

Bytes sealed(const std::vector<JournalEntry>& entries) {
  Bytes bytes;
  for (const JournalEntry& entry : entries) entry.appendTo(bytes);
  JournalChain(kCheck).seal(bytes);
  return bytes;
}

TEST(JournalEntry, hasItsFieldsWhereTheFormatSays) {
  const Bytes bytes = sealed({entryNamed("Ab")});
  ASSERT_EQ(bytes.size(), JournalEntry::kFixedByteCount + 2 + 3);
  const Bytes expected{81,   0,    0,    0,    0, 0, 0, 0,            // length
                       1,    0,    0,    0,    0, 0, 0, 0,            // number
                       0x00, 0xF1, 0x53, 0x65, 0, 0, 0, 0,            // seconds
                       0xFF, 0xC9, 0x9A, 0x3B,                        // nanoseconds
                       2,    0,    0,    0,                           // length of the name
                       5,    0,    0,    0,    0, 0, 0, 0,            // offset
                       2,    0,    0,    0,    0, 0, 0, 0,            // removed
                       8,    0,    0,    0,    0, 0, 0, 0,            // caret
                       5,    0,    0,    0,    0, 0, 0, 0,            // selection
                       3,    0,    0,    0,    0, 0, 0, 0, 'A', 'b',  // its length, the name
                       1,    2,    3};
  EXPECT_EQ(Bytes(bytes.begin(), bytes.end() - 4), expected);
}

TEST(JournalEntry, isReadAsItWasWritten) {
  const Bytes bytes = sealed({entryNamed("Paste"), entryNamed("")});
  JournalChain chain(kCheck);
  JournalEntry entry;
  ASSERT_TRUE(chain.read(bytes, entry));
  EXPECT_EQ(entry.number, 1U);
  EXPECT_EQ(entry.time, (RecordTime{1700000000, 999999999}));
  EXPECT_EQ(entry.actionName, "Paste");
  EXPECT_EQ(entry.offset, 5);
  EXPECT_EQ(entry.removedCount, 2);
  EXPECT_EQ(Bytes(entry.inserted.begin(), entry.inserted.end()), kInserted);
  EXPECT_EQ(entry.caretOffset, 8);
  EXPECT_EQ(entry.selection, (HexSelection{5, 3}));
  const std::size_t first = entry.byteCount();
  ASSERT_TRUE(chain.read(std::span(bytes).subspan(first), entry));
  EXPECT_EQ(entry.number, 2U);
  EXPECT_EQ(entry.actionName, "");
  EXPECT_EQ(first + entry.byteCount(), bytes.size());
  EXPECT_FALSE(chain.read({}, entry));
}

TEST(JournalEntry, cutsOffANameThatIsTooLong) {
  for (const std::size_t length : {254U, 255U, 256U}) {
    const Bytes bytes = sealed({entryNamed(std::string(length, 'n'))});
    JournalEntry entry;
    ASSERT_TRUE(JournalChain(kCheck).read(bytes, entry));
    EXPECT_EQ(entry.actionName.size(), std::min<std::size_t>(length, 255));
    EXPECT_EQ(entry.byteCount(), bytes.size());
  }
}

TEST(JournalEntry, isNotBelievedWhenCutOffAnywhere) {
  const Bytes bytes = sealed({entryNamed("Edit")});
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    JournalEntry entry;
    EXPECT_FALSE(JournalChain(kCheck).read(std::span(bytes).first(size), entry)) << size;
  }
}

TEST(JournalEntry, isNotBelievedWithAnyBitFlipped) {
  const Bytes bytes = sealed({entryNamed("Edit")});
  for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {
    Bytes damaged = bytes;
    damaged[bit / 8] ^= static_cast<std::uint8_t>(1 << (bit % 8));
    JournalEntry entry;
    EXPECT_FALSE(JournalChain(kCheck).read(damaged, entry)) << bit;
  }
}

TEST(JournalEntry, belongsToItsPlaceInItsJournal) {
  const Bytes both = sealed({entryNamed("One"), entryNamed("Two")});
  const Bytes second(both.begin() + static_cast<std::ptrdiff_t>(entryNamed("One").byteCount()),
                     both.end());
  JournalEntry entry;
  EXPECT_FALSE(JournalChain(kCheck).read(second, entry));
  EXPECT_FALSE(JournalChain(kCheck + 1).read(both, entry));
  JournalChain chain(kCheck);
  ASSERT_TRUE(chain.read(both, entry));
  EXPECT_FALSE(chain.read(both, entry));
  EXPECT_TRUE(chain.read(second, entry)) << "a refused entry leaves the chain as it was";
}

TEST(JournalEntry, isSealedTheSameWayInOneBatchOrMore) {
  const Bytes both = sealed({entryNamed("One"), entryNamed("Two")});
  Bytes first;
  Bytes second;
  entryNamed("One").appendTo(first);
  entryNamed("Two").appendTo(second);
  JournalChain chain(kCheck);
  chain.seal(first);
  chain.seal({});
  chain.seal(second);
  first.insert(first.end(), second.begin(), second.end());
  EXPECT_EQ(first, both);
}

#if QUILLMOR_NEW_CAN_FAIL

TEST(JournalEntry, changesNothingWithoutMemory) {
  Bytes bytes;
  entryNamed("One").appendTo(bytes);
  bytes.shrink_to_fit();
  const Bytes before = bytes;
  {
    const FailingAllocation failing;
    EXPECT_THROW(entryNamed("Two").appendTo(bytes), std::bad_alloc);
  }
  EXPECT_EQ(bytes, before);
}

#endif

}  // namespace
}  // namespace quillmor
