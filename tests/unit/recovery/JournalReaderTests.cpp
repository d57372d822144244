#include "recovery/JournalReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "base/SaturatingMath.h"
#include "document/QuillmorResourceLimits.h"
#include "recovery/JournalEntry.h"
#include "support/ErrorMatchers.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr const char* kDamaged = "The recovery record is damaged.";
constexpr RecordTime kMade{.seconds = 100, .nanoseconds = 5};

/// A journal in memory.
struct Journal {
  explicit Journal(RecordKind kind = RecordKind::journal) {
    RecordHeader header;
    header.kind = kind;
    header.created = kMade;
    header.caretOffset = 3;
    header.selection = {1, 2};
    const auto encoded = header.encoded();
    file.assign(encoded.begin(), encoded.end());
    chain = JournalChain(journalHeaderCheck(file));
  }

  void add(const JournalEntry& entry) {
    Bytes bytes;
    entry.appendTo(bytes);
    chain.seal(bytes);
    file.insert(file.end(), bytes.begin(), bytes.end());
  }

  Bytes file;
  JournalChain chain{0};
};

Bytes plain(const ByteBuffer& buffer) {
  return {buffer.span().begin(), buffer.span().end()};
}

TEST(JournalReader, makesTheEditsAgain) {
  Journal journal;
  const Bytes three{7, 8, 9};
  journal.add({.time = {.seconds = 200},
               .actionName = "Paste",
               .offset = 1,
               .removedCount = 1,
               .inserted = three,
               .caretOffset = 4});
  journal.add({.time = {.seconds = 300, .nanoseconds = 1},
               .actionName = "Delete",
               .offset = 4,
               .removedCount = 1,
               .caretOffset = 2,
               .selection = {1, 3}});
  const auto replayed = replayJournal(journal.file, {1, 2, 3, 4}, {0, 1, 3, 4});
  EXPECT_EQ(plain(replayed.bytes), (Bytes{1, 7, 8, 9, 4}));
  EXPECT_EQ(replayed.places.caretOffset, 2);
  EXPECT_EQ(replayed.places.selection, (HexSelection{1, 3}));
  EXPECT_THAT(replayed.places.bookmarks, testing::ElementsAre(0, 4, 5));
  EXPECT_EQ(replayed.entryCount, 2);
  EXPECT_EQ(replayed.lastEdit, (RecordTime{300, 1}));
  EXPECT_FALSE(replayed.wasCutOff);
}

TEST(JournalReader, leavesTheBaseAsItIsWithoutEntries) {
  const auto replayed = replayJournal(Journal().file, {1, 2, 3, 4}, {2});
  EXPECT_EQ(plain(replayed.bytes), (Bytes{1, 2, 3, 4}));
  EXPECT_EQ(replayed.places.caretOffset, 3);
  EXPECT_EQ(replayed.places.selection, (HexSelection{1, 2}));
  EXPECT_THAT(replayed.places.bookmarks, testing::ElementsAre(2));
  EXPECT_EQ(replayed.entryCount, 0);
  EXPECT_EQ(replayed.lastEdit, kMade);
  EXPECT_FALSE(replayed.wasCutOff);
}

TEST(JournalReader, keepsCaretAndSelectionOfTheHeaderWithinTheBase) {
  const auto replayed = replayJournal(Journal().file, {1, 2}, {});
  EXPECT_EQ(replayed.places.caretOffset, 2);
  EXPECT_EQ(replayed.places.selection, (HexSelection{1, 1}));
}

TEST(JournalReader, refusesWhatIsNoJournal) {
  Bytes file = Journal().file;
  file[100] ^= 1;
  EXPECT_THAT([&] { replayJournal(file, {}, {}); }, test::failsWith(3101, kDamaged));
  EXPECT_THAT([] { replayJournal({}, {}, {}); }, test::failsWith(3101, kDamaged));
  EXPECT_THAT([] { replayJournal(Journal(RecordKind::unsavedChanges).file, {}, {}); },
              test::failsWith(3101, kDamaged));
  file = Journal().file;
  file[8] = 2;
  EXPECT_THAT(
      [&] { replayJournal(file, {}, {}); },
      test::failsWith(3102, "The recovery record was written by a newer version of Quillmor."));
}

TEST(JournalReader, endsBeforeAnEntryThatDoesNotFitTheDocument) {
  const Bytes one{1};
  const std::vector<JournalEntry> impossible{
      {.actionName = "before", .offset = -1},
      {.actionName = "after", .offset = 5},
      {.actionName = "removes too much", .offset = 2, .removedCount = 3},
      {.actionName = "removes less than nothing", .offset = 2, .removedCount = -1},
      {.actionName = "overflows", .offset = 4, .removedCount = kMaxInt64},
      {.actionName = "caret", .offset = 0, .inserted = one, .caretOffset = 6},
      {.actionName = "caret before", .offset = 0, .inserted = one, .caretOffset = -1},
      {.actionName = "selection", .offset = 0, .inserted = one, .selection = {3, 3}},
      {.actionName = "selection before", .offset = 0, .inserted = one, .selection = {-1, 1}},
      {.actionName = "selection of less", .offset = 0, .inserted = one, .selection = {1, -1}}};
  for (const JournalEntry& entry : impossible) {
    Journal journal;
    journal.add({.offset = 0, .removedCount = 1, .inserted = one});
    journal.add(entry);
    journal.add({.offset = 0, .removedCount = 1});
    const auto replayed = replayJournal(journal.file, {9, 2, 3, 4}, {});
    EXPECT_EQ(replayed.entryCount, 1) << entry.actionName;
    EXPECT_EQ(plain(replayed.bytes), (Bytes{1, 2, 3, 4})) << entry.actionName;
    EXPECT_TRUE(replayed.wasCutOff) << entry.actionName;
  }
}

TEST(JournalReader, allowsAnEntryAtTheVeryEnds) {
  const Bytes one{1};
  Journal journal;
  journal.add({.offset = 4, .inserted = one, .caretOffset = 5, .selection = {5, 0}});
  journal.add({.offset = 0, .removedCount = 5, .caretOffset = 0});
  const auto replayed = replayJournal(journal.file, {9, 2, 3, 4}, {});
  EXPECT_EQ(replayed.entryCount, 2);
  EXPECT_TRUE(replayed.bytes.empty());
}

TEST(JournalReader, neverMakesADocumentLargerThanItMayBe) {
  const std::int64_t limit = QuillmorResourceLimits::maximumDocumentByteCount();
  const Bytes one{1};
  const Bytes two{1, 2};
  Journal journal;
  journal.add({.offset = 0, .inserted = one});
  journal.add({.offset = 0, .removedCount = 1, .inserted = two});
  const auto replayed = replayJournal(journal.file, ByteBuffer::filled(limit - 1, 0), {});
  EXPECT_EQ(replayed.entryCount, 1);
  EXPECT_EQ(replayed.bytes.size(), limit);
  EXPECT_TRUE(replayed.wasCutOff);
}

/// The document after each number of entries of a small journal.
struct SmallJournal : Journal {
  SmallJournal() {
    const Bytes text{'a', 'b', 'c'};
    states.push_back({1, 2, 3, 4});
    ends.push_back(file.size());
    for (const std::int64_t removed : {0, 2, 4}) {
      Bytes next = states.back();
      next.erase(next.begin(), next.begin() + removed);
      next.insert(next.begin(), text.begin(), text.end());
      states.push_back(next);
      add({.actionName = "Edit", .offset = 0, .removedCount = removed, .inserted = text});
      ends.push_back(file.size());
    }
  }

  /// True if the replay is the document after as many entries as it says, and says whether there
  /// was more.
  bool isReplayedRightly(const Bytes& damaged) const {
    const auto replayed = replayJournal(damaged, ByteBuffer(states[0]), {});
    const auto count = static_cast<std::size_t>(replayed.entryCount);
    return count < states.size() && plain(replayed.bytes) == states[count] &&
           replayed.wasCutOff == (damaged.size() != ends[count]);
  }

  std::vector<Bytes> states;
  std::vector<std::size_t> ends;
};

TEST(JournalReader, replaysTheWholeEntriesOfAJournalCutOffAnywhere) {
  const SmallJournal journal;
  for (std::size_t size = RecordHeader::kByteCount; size <= journal.file.size(); ++size) {
    const Bytes cut(journal.file.begin(), journal.file.begin() + static_cast<std::ptrdiff_t>(size));
    const auto replayed = replayJournal(cut, ByteBuffer(journal.states[0]), {});
    std::int64_t whole = 0;
    for (std::size_t entry = 1; entry < journal.ends.size(); ++entry)
      whole += journal.ends[entry] <= size ? 1 : 0;
    ASSERT_EQ(replayed.entryCount, whole) << size;
    ASSERT_TRUE(journal.isReplayedRightly(cut)) << size;
  }
}

TEST(JournalReader, believesNoEntryWithABitFlippedNorAnyAfterIt) {
  const SmallJournal journal;
  for (std::size_t at = RecordHeader::kByteCount; at < journal.file.size(); ++at) {
    for (int bit = 0; bit < 8; ++bit) {
      Bytes damaged = journal.file;
      damaged[at] ^= static_cast<std::uint8_t>(1 << bit);
      const auto replayed = replayJournal(damaged, ByteBuffer(journal.states[0]), {});
      std::int64_t before = 0;
      while (journal.ends[static_cast<std::size_t>(before) + 1] <= at) ++before;
      ASSERT_EQ(replayed.entryCount, before) << at << ", bit " << bit;
      ASSERT_TRUE(replayed.wasCutOff);
      ASSERT_EQ(plain(replayed.bytes), journal.states[static_cast<std::size_t>(before)]);
    }
  }
}

TEST(JournalReader, believesNothingWronglyOfChangedJournals) {
  constexpr unsigned kSeed = 20260701;
  RecordProperty("seed", static_cast<int>(kSeed));
  std::mt19937 random(kSeed);
  const SmallJournal journal;
  for (int round = 0; round < 20000; ++round) {
    Bytes damaged = journal.file;
    const std::size_t room = damaged.size() - RecordHeader::kByteCount;
    const auto place = [&] {
      return static_cast<std::ptrdiff_t>(RecordHeader::kByteCount + random() % room);
    };
    const auto from = std::min(place(), std::ssize(damaged) - 1);
    const auto to = std::min<std::ptrdiff_t>(from + static_cast<std::ptrdiff_t>(random() % 200),
                                             std::ssize(damaged));
    const Bytes piece(damaged.begin() + from, damaged.begin() + to);
    switch (random() % 4) {
      case 0:
        damaged.erase(damaged.begin() + from, damaged.begin() + to);
        break;
      case 1:
        damaged.insert(damaged.begin() + place(), piece.begin(), piece.end());
        break;
      case 2:
        std::fill(damaged.begin() + from, damaged.begin() + to, std::uint8_t{0});
        break;
      default:
        damaged.insert(damaged.end(), 100, static_cast<std::uint8_t>(random()));
        break;
    }
    ASSERT_TRUE(journal.isReplayedRightly(damaged)) << round;
  }
}

TEST(JournalReader, believesNoEntryThatWasDroppedOrExchanged) {
  const SmallJournal journal;
  const auto part = [&](std::size_t entry) {
    return Bytes(journal.file.begin() + static_cast<std::ptrdiff_t>(journal.ends[entry - 1]),
                 journal.file.begin() + static_cast<std::ptrdiff_t>(journal.ends[entry]));
  };
  for (const auto& order : std::vector<std::vector<std::size_t>>{{2, 3}, {2, 1, 3}, {1, 3, 2}}) {
    Bytes file(journal.file.begin(), journal.file.begin() + RecordHeader::kByteCount);
    for (const std::size_t entry : order) {
      const Bytes bytes = part(entry);
      file.insert(file.end(), bytes.begin(), bytes.end());
    }
    const auto replayed = replayJournal(file, ByteBuffer(journal.states[0]), {});
    EXPECT_EQ(replayed.entryCount, order[0] == 1 ? 1 : 0);
    EXPECT_TRUE(replayed.wasCutOff);
  }
}

}  // namespace
}  // namespace quillmor
