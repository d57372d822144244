#include "recovery/RecordStore.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>

#include "recovery/RecordNames.h"
#include "support/ErrorMatchers.h"
#include "support/FileAccessTest.h"

namespace quillmor {
namespace {

namespace fs = std::filesystem;
using test::failsWith;
using test::failsWithPosix;
using test::SystemCall;

class RecordStoreTest : public test::FileAccessTest {
 protected:
  RecordContent content(RecordKind kind = RecordKind::save) const {
    RecordContent content{.header = {}, .bookmarks = {0, 3, 9}};
    content.header.kind = kind;
    content.header.path = document.path();
    content.header.caretOffset = 4;
    content.header.selection = {1, 2};
    return content;
  }

  std::unique_ptr<HeldRecord> write() const {
    return store.write(content(), test::bytesOf("new bytes"));
  }

  /// The one record there is, after its process has gone.
  ListedRecord onlyRecord() const {
    const auto records = store.list({{document}});
    EXPECT_EQ(records.size(), 1u);
    return records.at(0);
  }

  fs::path directory() const { return folder.path() / "state/quillmor/recovery"; }
  std::vector<std::string> recordNames() const {
    std::vector<std::string> names;
    if (!fs::exists(directory())) return names;
    for (const auto& entry : fs::directory_iterator(directory()))
      names.push_back(entry.path().filename());
    return names;
  }

  const RecordStore store{FileLocation::fromPath(directory().string())};
  const FileLocation document = folder.write("data.bin", "old bytes");
};

TEST_F(RecordStoreTest, readsWhatItHasWritten) {
  const std::string id = write()->id();
  EXPECT_TRUE(isRecordID(id));
  const ListedRecord listed = onlyRecord();
  EXPECT_EQ(listed.id, id);
  ASSERT_TRUE(listed.header);
  EXPECT_FALSE(listed.belongsToRunningProcess);
  EXPECT_EQ(listed.byteCount, RecordHeader::kByteCount + 9 + 3 * 8);
  const ReadRecord read = store.read(listed);
  EXPECT_EQ(read.header, *listed.header);
  EXPECT_EQ(read.header.path, document.path());
  EXPECT_EQ(read.header.caretOffset, 4);
  EXPECT_EQ(read.header.selection, (HexSelection{1, 2}));
  EXPECT_EQ(read.header.processID, static_cast<std::uint32_t>(::getpid()));
  EXPECT_NE(read.header.writerNumber, 0U);
  EXPECT_EQ(read.header.writerNumber, currentWriterNumber()) << "the same in all records";
  EXPECT_EQ(test::textOf(read.payload.span()), "new bytes");
  EXPECT_THAT(read.bookmarks, testing::ElementsAre(0, 3, 9));
}

TEST_F(RecordStoreTest, keepsRecordsFromOthers) {
  const ::mode_t before = ::umask(0);
  const auto held = write();
  ::umask(before);
  struct stat status {};
  for (fs::path path = directory(); path != folder.path(); path = path.parent_path()) {
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0700u) << path;
  }
  ASSERT_EQ(::stat(held->location().path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0600u);
}

TEST_F(RecordStoreTest, knowsRecordsOfLivingProcesses) {
  auto held = write();
  EXPECT_TRUE(onlyRecord().belongsToRunningProcess);
  EXPECT_THAT([&] { store.discard(onlyRecord()); },
              failsWith(3105, "This record belongs to a running Quillmor."));
  held.reset();
  EXPECT_FALSE(onlyRecord().belongsToRunningProcess);
  store.discard(onlyRecord());
  EXPECT_THAT(recordNames(), testing::IsEmpty());
}

TEST_F(RecordStoreTest, knowsThemByTheirProcessWhereThereAreNoLocks) {
  calls.fail(SystemCall::flock, test::FaultySystemCalls::kEvery, ENOLCK);
  write();
  EXPECT_TRUE(onlyRecord().belongsToRunningProcess) << "this process lives";
  // After another start of the system the number of the process means nothing.
  calls.fail(SystemCall::pread, calls.count(SystemCall::pread) + 2, EIO);
  EXPECT_FALSE(onlyRecord().belongsToRunningProcess);
}

TEST_F(RecordStoreTest, listsWhatLiesBesideTheDocumentsOfItsRecords) {
  const std::string id = write()->id();
  calls.fail(SystemCall::openat, calls.count(SystemCall::openat) + 1, ENOSPC);
  const std::string besideID = write()->id();
  std::vector<std::string> ids;
  for (const ListedRecord& record : store.list()) ids.push_back(record.id);
  EXPECT_THAT(ids, testing::UnorderedElementsAre(id, besideID));
}

TEST_F(RecordStoreTest, namesARecordOnlyWhenItIsDurable) {
  std::vector<std::string> namesBefore;
  calls.before(SystemCall::renameat, 1, [&] {
    namesBefore = recordNames();
    // Header, payload and bookmarks have been written, and flushed once.
    EXPECT_EQ(calls.count(SystemCall::fsync), 4);  // three new directories, and the file
  });
  const auto held = write();
  ASSERT_EQ(namesBefore.size(), 1u);
  EXPECT_EQ(namesBefore.front(), held->id() + ".qrec.tmp");
  EXPECT_EQ(calls.count(SystemCall::fsync), 5);
  EXPECT_EQ(calls.log().back(), SystemCall::fsync);
}

TEST_F(RecordStoreTest, tellsWhenThePayloadIsNotNeededAnyMore) {
  auto lent = content();
  int flushes = -1;
  lent.payloadWasRead = [&] { flushes = calls.count(SystemCall::fsync); };
  store.write(lent, test::bytesOf("new bytes"));
  EXPECT_EQ(flushes, 3) << "the new directories only";
  // What cannot be read again is not tried elsewhere.
  calls.fail(SystemCall::fsync, calls.count(SystemCall::fsync) + 1, ENOSPC);
  EXPECT_THROW(store.write(lent, test::bytesOf("new bytes")), Error);
  EXPECT_THAT(folder.names(), testing::UnorderedElementsAre("data.bin", "state"));
}

TEST_F(RecordStoreTest, removesARecordDurably) {
  auto held = write();
  const int before = calls.count(SystemCall::fsync);
  held->remove();
  EXPECT_EQ(calls.count(SystemCall::fsync), before + 1);
  EXPECT_THAT(recordNames(), testing::IsEmpty());
  held->remove();
}

TEST_F(RecordStoreTest, leavesNothingWhenAnyCallFails) {
  write()->remove();
  const auto first = std::ssize(calls.log());
  write()->remove();
  const std::vector<SystemCall> log(calls.log().begin() + first, calls.log().end());
  const int perWrite = static_cast<int>(log.size());
  const auto removal = std::find(log.begin(), log.end(), SystemCall::unlinkat) - log.begin();
  int failures = 0;
  for (int nth = 1; nth <= perWrite; ++nth) {
    for (const int errorNumber : {ENOSPC, EIO, EDQUOT, EROFS}) {
      test::FaultySystemCalls faulty;
      faulty.failCall(nth, errorNumber);
      const ScopedSystemCalls scope(faulty);
      try {
        write()->remove();
      } catch (const Error&) {
        ++failures;
      }
      // From there on the record is being removed.
      if (nth <= removal) {
        EXPECT_THAT(recordNames(), testing::IsEmpty()) << nth;
      }
      fs::remove_all(directory());
      fs::create_directory(directory());
      fs::permissions(directory(), fs::perms::owner_all);
    }
  }
  EXPECT_GT(failures, 10);
  EXPECT_THAT(folder.names(), testing::UnorderedElementsAre("data.bin", "state"));
}

TEST_F(RecordStoreTest, goesBesideTheDocumentWhereItsDirectoryCannotBeUsed) {
  for (const int errorNumber : {ENOSPC, EDQUOT, EROFS, EACCES, EPERM}) {
    test::FaultySystemCalls faulty;
    faulty.fail(SystemCall::openat, 1, errorNumber);
    const ScopedSystemCalls scope(faulty);
    const auto held = write();
    EXPECT_EQ(held->location().directory(), document.directory());
    const std::string name = held->location().lastPathComponent();
    EXPECT_EQ(name, ".data.bin.quillmor." + held->id().substr(17) + ".qrec");
    EXPECT_EQ(onlyRecord().id, held->id());
    EXPECT_EQ(store.list().size(), 0u);
    EXPECT_EQ(test::textOf(store.read(onlyRecord()).payload.span()), "new bytes");
    held->remove();
  }
}

TEST_F(RecordStoreTest, findsARecordByTheNameOfItsFile) {
  const FileLocation location = write()->location();
  EXPECT_EQ(store.at(location).id, onlyRecord().id);
  const auto held = write();
  EXPECT_EQ(held->name(), held->id());
  calls.fail(SystemCall::openat, calls.count(SystemCall::openat) + 1, ENOSPC);
  const auto beside = write();
  EXPECT_EQ(beside->name(), beside->location().path());
  EXPECT_EQ(store.at(beside->location()).id, beside->id());
  EXPECT_THAT([&] { store.at(document); }, failsWith(3103, untrustedRecordError().message()));
  EXPECT_THAT([&] { store.at(folder.location("none.qrec")); },
              failsWith(3104, "There is no such recovery record."));
}

TEST_F(RecordStoreTest, tellsTheFirstReasonWhenThereIsNoPlaceAtAll) {
  calls.fail(SystemCall::openat, 1, EDQUOT);
  calls.fail(SystemCall::openat, 2, EROFS);
  EXPECT_THAT([&] { write(); }, failsWithPosix(EDQUOT, "Could not write the recovery record."));
}

TEST_F(RecordStoreTest, doesNotGoElsewhereWhenTheDiskIsDefective) {
  calls.fail(SystemCall::write, 1, EIO);
  EXPECT_THAT([&] { write(); }, failsWithPosix(EIO, "Could not write the recovery record."));
  EXPECT_THAT(folder.names(), testing::UnorderedElementsAre("data.bin", "state"));
  EXPECT_THAT(recordNames(), testing::IsEmpty());
}

TEST_F(RecordStoreTest, finishesShortAndInterruptedWrites) {
  calls.limitCount(SystemCall::write, test::FaultySystemCalls::kEvery, 5);
  calls.limitCount(SystemCall::pwrite, test::FaultySystemCalls::kEvery, 1000);
  calls.interruptEveryCall();
  write();
  EXPECT_EQ(test::textOf(store.read(onlyRecord()).payload.span()), "new bytes");
}

TEST_F(RecordStoreTest, takesNoNameThatTheSystemRefuses) {
  const auto longName = folder.write(std::string(255, 'n'), "x");
  calls.fail(SystemCall::openat, 1, ENOSPC);
  RecordContent beside = content();
  beside.header.path = longName.path();
  const auto held = store.write(beside, test::bytesOf("new"));
  EXPECT_EQ(held->location().directory(), document.directory());
  EXPECT_EQ(store.list({{longName}}).size(), 1u);
}

TEST_F(RecordStoreTest, stopsOnRequestAndLeavesNothing) {
  TaskProgress progress;
  progress.requestStop();
  EXPECT_THROW(store.write(content(), test::bytesOf("new"), &progress), Error);
  EXPECT_THAT(recordNames(), testing::IsEmpty());
}

TEST_F(RecordStoreTest, refusesADirectoryThatOthersMayUse) {
  fs::create_directories(directory());
  fs::permissions(directory(), fs::perms::owner_all | fs::perms::group_read);
  EXPECT_EQ(write()->location().directory(), document.directory());
  EXPECT_THAT([&] { store.list(); }, failsWithPosix(EPERM, Error::posix(EPERM).message()));
}

TEST_F(RecordStoreTest, refusesALinkInPlaceOfItsDirectory) {
  fs::create_directories(folder.path() / "elsewhere");
  fs::permissions(folder.path() / "elsewhere", fs::perms::owner_all);
  fs::create_directories(directory().parent_path());
  fs::create_directory_symlink(folder.path() / "elsewhere", directory());
  EXPECT_EQ(write()->location().directory(), document.directory());
  EXPECT_TRUE(fs::is_empty(folder.path() / "elsewhere"));
}

TEST_F(RecordStoreTest, believesNoRecordThatOthersCanHaveMade) {
  const auto refused = failsWith(3103,
                                 "The recovery record belongs to another user or is open to "
                                 "others.");
  const std::string id = write()->id();
  const fs::path path = directory() / (id + ".qrec");
  const ListedRecord record = onlyRecord();
  fs::permissions(path, fs::perms::group_read, fs::perm_options::add);
  EXPECT_THAT([&] { store.read(record); }, refused);
  EXPECT_FALSE(onlyRecord().header);
  fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
  fs::create_hard_link(path, folder.path() / "second");
  EXPECT_THAT([&] { store.read(record); }, refused);
  fs::remove(path);
  EXPECT_THAT([&] { store.read(record); }, failsWith(3104, "There is no such recovery record."));
  fs::create_symlink(folder.path() / "second", path);
  EXPECT_THAT([&] { store.read(record); }, refused);
  fs::remove(path);
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  EXPECT_THAT([&] { store.read(record); }, refused);
}

TEST_F(RecordStoreTest, believesNoRecordOfAnotherUser) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
  const std::string id = write()->id();
  ASSERT_EQ(::chown((directory() / (id + ".qrec")).c_str(), 12345, static_cast<gid_t>(-1)), 0);
  EXPECT_FALSE(onlyRecord().header);
  ASSERT_TRUE(onlyRecord().error);
  EXPECT_EQ(onlyRecord().error->code(), 3103);
}

TEST_F(RecordStoreTest, believesNoDamagedRecord) {
  const std::string id = write()->id();
  const std::string name = "state/quillmor/recovery/" + id + ".qrec";
  const std::string whole = folder.read(name);
  const ListedRecord record = onlyRecord();
  const auto damaged = failsWith(3101, "The recovery record is damaged.");
  for (const std::size_t length :
       {std::size_t{0}, std::size_t{8191}, std::size_t{8192}, whole.size() - 1}) {
    folder.write(name, whole.substr(0, length));
    EXPECT_THAT([&] { store.read(record); }, damaged) << length;
  }
  folder.write(name, whole + "x");
  EXPECT_THAT([&] { store.read(record); }, damaged);
  for (std::size_t at = 8192; at < whole.size(); ++at) {
    std::string changed = whole;
    changed[at] = static_cast<char>(changed[at] ^ 0x40);
    folder.write(name, changed);
    EXPECT_THAT([&] { store.read(record); }, damaged) << at;
  }
  folder.write(name, whole);
  EXPECT_EQ(test::textOf(store.read(record).payload.span()), "new bytes");
}

TEST_F(RecordStoreTest, putsDamagedRecordsAside) {
  const std::string id = write()->id();
  folder.write("state/quillmor/recovery/" + id + ".qrec", "damaged");
  store.setAside(onlyRecord());
  EXPECT_THAT(recordNames(), testing::ElementsAre(id + ".qrec.bad"));
  EXPECT_TRUE(store.list().empty());
}

TEST_F(RecordStoreTest, removesUnfinishedRecordsOfDeadProcessesAfterADay) {
  write()->remove();
  const auto make = [&](std::chrono::hours age) {
    const std::string name = newRecordID("/x") + ".qrec.tmp";
    const auto location = folder.write("state/quillmor/recovery/" + name, "");
    fs::permissions(location.path(), fs::perms::owner_read | fs::perms::owner_write);
    fs::last_write_time(location.path(), fs::file_time_type::clock::now() - age);
    return name;
  };
  make(std::chrono::hours(25));
  const std::string young = make(std::chrono::hours(23));
  EXPECT_TRUE(store.list().empty());
  EXPECT_THAT(recordNames(), testing::ElementsAre(young));
}

TEST_F(RecordStoreTest, hasNoRecordsBeforeItsFirst) {
  EXPECT_TRUE(store.list().empty());
  EXPECT_FALSE(fs::exists(directory()));
}

TEST_F(RecordStoreTest, makesJournals) {
  RecordContent journal = content(RecordKind::journal);
  const auto held = store.createJournal(journal);
  ASSERT_EQ(::write(held->handle().get(), "entry", 5), 5);
  const ByteBuffer bytes = store.readJournal(onlyRecord());
  EXPECT_EQ(bytes.size(), RecordHeader::kByteCount + 5);
  EXPECT_EQ(RecordHeader::decoded(bytes.span()).kind, RecordKind::journal);
  EXPECT_THROW(store.read(onlyRecord()), Error);
}

TEST_F(RecordStoreTest, ofTheUserLiesInTheStateDirectory) {
  ::setenv("XDG_STATE_HOME", "/state", 1);
  EXPECT_EQ(RecordStore::ofThisUser().directory().path(), "/state/quillmor/recovery");
  ::setenv("XDG_STATE_HOME", "relative", 1);
  ::setenv("HOME", "/home/x", 1);
  EXPECT_EQ(RecordStore::ofThisUser().directory().path(), "/home/x/.local/state/quillmor/recovery");
  ::unsetenv("XDG_STATE_HOME");
}

}  // namespace
}  // namespace quillmor
