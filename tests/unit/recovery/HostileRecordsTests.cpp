// Records and journals with bytes that no program has written: refused, or read as they were.

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <chrono>
#include <random>
#include <set>

#include "platform/RunInBackground.h"
#include "recovery/Crc32c.h"
#include "recovery/JournalEntry.h"
#include "recovery/LittleEndian.h"
#include "support/RecoveryFixture.h"

namespace quillmor::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int kRounds = 5000;

/// Changes some bytes, or the length.
void mutate(Bytes& bytes, std::mt19937& random) {
  const auto place = [&] { return random() % bytes.size(); };
  switch (random() % 8) {
    case 0:
      return bytes.resize(place());
    case 1:
      return bytes.resize(bytes.size() + 1 + random() % 100, static_cast<std::uint8_t>(random()));
    case 2: {
      const auto from = bytes.begin() + static_cast<std::ptrdiff_t>(place());
      bytes.erase(from, from + std::min<std::ptrdiff_t>(8, bytes.end() - from));
      return;
    }
    case 3: {
      // The fields stand in the first bytes; large numbers are the most dangerous ones.
      const std::size_t at = random() % 256;
      if (at + 8 > bytes.size()) return;
      putLittleEndian(std::span(bytes), at, std::uint64_t{random()} << (random() % 64));
      return;
    }
    default:
      for (unsigned left = 1 + random() % 8; left > 0; --left)
        bytes[place()] ^= static_cast<std::uint8_t>(1 + random() % 255);
  }
}

class HostileRecords : public RecoveryFixture {
 protected:
  static Bytes bytesIn(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }

  static void write(const std::filesystem::path& path, const Bytes& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes));
    ::chmod(path.c_str(), 0600);
  }

  /// Appends one edit of a document to its journal and to its bytes.
  void edit(std::string& document, std::int64_t offset, std::int64_t removed,
            std::string_view inserted) {
    JournalEntry entry;
    entry.actionName = "Edit";
    entry.offset = offset;
    entry.removedCount = removed;
    entry.inserted = bytesOf(inserted);
    entry.caretOffset = offset;
    entry.appendTo(entries);
    document.replace(static_cast<std::size_t>(offset), static_cast<std::size_t>(removed), inserted);
  }

  const FileLocation file = folder.write("data.bin", "on disk");
  Bytes entries;
};

TEST_F(HostileRecords, aRecordIsReadAsItWasWrittenOrRefused) {
  const std::string payload = patternedText(300);
  const std::string id = records.leaveUnsaved(
      file, payload, {.caretOffset = 5, .selection = {5, 0}, .bookmarks = {1, 2, 300}});
  const RecordHeader written = recovery.find(id).header();
  const Bytes original = bytesIn(records.path(id));
  const std::uint32_t seed = 20260301;
  std::mt19937 random(seed);
  int believed = 0;
  for (int round = 0; round < kRounds; ++round) {
    Bytes bytes = original;
    mutate(bytes, random);
    write(records.path(id), bytes);
    const auto recovered = resultOf([&] { return recover(id); });
    if (!recovered.isOk()) continue;
    ++believed;
    ASSERT_EQ(textOf(recovered.value().bytes.span()), payload) << seed << " " << round;
    ASSERT_EQ(recovery.find(id).header(), written) << seed << " " << round;
    for (const std::int64_t bookmark : recovered.value().places.bookmarks)
      ASSERT_TRUE(bookmark >= 0 && bookmark <= 300) << seed << " " << round;
  }
  // Some of the changes hit nothing but bookmarks; nearly all of them something else.
  EXPECT_LT(believed, kRounds / 10);
}

TEST_F(HostileRecords, aJournalLeadsToAStateThatTheDocumentHadOrIsRefused) {
  std::string document = patternedText(200);
  const std::string base = records.leaveUnsaved(file, document);
  RecordContent content = LeftRecords::contentOf(RecordKind::journal, file);
  content.header.baseID = base;
  const std::string id = records.store.createJournal(std::move(content))->id();
  std::set<std::string> states = {document};
  for (int count = 0; count < 20; ++count) {
    edit(document, count * 7, count % 3, std::string(static_cast<std::size_t>(count % 4), 'x'));
    states.insert(document);
  }
  Bytes original = bytesIn(records.path(id));
  JournalChain chain(journalHeaderCheck(original));
  chain.seal(entries);
  original.insert(original.end(), entries.begin(), entries.end());
  write(records.path(id), original);
  ASSERT_EQ(textOf(recover(base).bytes.span()), document);

  const std::uint32_t seed = 20260302;
  std::mt19937 random(seed);
  int whole = 0;
  for (int round = 0; round < kRounds; ++round) {
    Bytes bytes = original;
    mutate(bytes, random);
    write(records.path(id), bytes);
    const auto recovered = resultOf([&] { return recover(base); });
    if (!recovered.isOk()) continue;
    const std::string text = textOf(recovered.value().bytes.span());
    ASSERT_TRUE(states.contains(text)) << seed << " " << round;
    whole += text == document ? 1 : 0;
  }
  // Only what was appended behind the last entry leaves them all.
  EXPECT_LT(whole, kRounds / 4);
}

/// The digest of the file can be changed by whoever can compute the check of the header.
TEST_F(HostileRecords, aJournalOfAFileIsReplayedOnTheBytesItBeganWithOrRefused) {
  std::string document = "on disk";
  RecordContent content = LeftRecords::contentOf(RecordKind::journal, file);
  content.header.setBaseDigest(contentDigest(bytesOf(document)));
  const std::string id = records.store.createJournal(std::move(content))->id();
  std::set<std::string> states = {document};
  for (int count = 0; count < 5; ++count) {
    edit(document, count, 1, "xy");
    states.insert(document);
  }
  Bytes original = bytesIn(records.path(id));
  JournalChain chain(journalHeaderCheck(original));
  chain.seal(entries);
  original.insert(original.end(), entries.begin(), entries.end());
  write(records.path(id), original);
  // Only the digest can tell that it is the file.
  std::filesystem::last_write_time(
      file.path(), std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
  ASSERT_EQ(textOf(recover(id).bytes.span()), document);

  const std::uint32_t seed = 20260303;
  std::mt19937 random(seed);
  constexpr std::size_t kDigestAt = 24;
  constexpr std::size_t kSizeAt = 64 + 3 * 8;
  for (int round = 0; round < kRounds; ++round) {
    Bytes bytes = original;
    const bool isForged = random() % 2 == 0;
    if (isForged) {
      const std::size_t at = random() % 4 == 0 ? kSizeAt + random() % 7 : kDigestAt + random() % 32;
      bytes[at] ^= static_cast<std::uint8_t>(1 + random() % 255);
      const auto header = std::span(bytes).first(RecordHeader::kByteCount);
      putLittleEndian(header, header.size() - 4, crc32c(header.first(header.size() - 4)));
    } else {
      mutate(bytes, random);
    }
    write(records.path(id), bytes);
    const auto recovered = resultOf([&] { return recover(id); });
    ASSERT_FALSE(isForged && recovered.isOk()) << seed << " " << round;
    if (!recovered.isOk()) continue;
    ASSERT_TRUE(states.contains(textOf(recovered.value().bytes.span()))) << seed << " " << round;
  }
}

}  // namespace
}  // namespace quillmor::test
