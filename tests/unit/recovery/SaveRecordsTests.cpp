// Saves with their records: what is on the disk at every moment.

#include "recovery/SaveRecords.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "document/FileSave.h"
#include "support/ErrorMatchers.h"
#include "support/FileAccessTest.h"

namespace quillmor {
namespace {

namespace fs = std::filesystem;
using test::FaultySystemCalls;
using test::SystemCall;

class SaveRecordsTest : public test::FileAccessTest {
 protected:
  static constexpr const char* kOld = "old bytes";
  static constexpr const char* kNew = "the new bytes";

  FileSave::Request request() {
    return {.destination = file,
            .ownFile = file,
            .known = KnownFile{SecureFileAccess::fileStatus(file, FollowSymlinks::no),
                               contentDigest(test::bytesOf(kOld))},
            .safetyCopies = safetyCopies};
  }

  /// A whole save; true if it says that it has saved.
  bool save(FileSave::Request wanted) {
    FileSave save(std::move(wanted));
    try {
      save.prepare(bytes.size(), {});
      save.secure(bytes, {.caretOffset = 3, .selection = {1, 2}, .bookmarks = {5}});
      save.write(bytes);
      return true;
    } catch (const Error& error) {
      message = error.message();
      return false;
    }
  }

  std::vector<ListedRecord> records() const { return store.list({{file}}); }

  /// The new bytes can be had by recovery.
  bool isRecoverable() const {
    const auto found = records();
    return std::any_of(found.begin(), found.end(), [&](const ListedRecord& record) {
      return test::textOf(store.read(record).payload.span()) == kNew;
    });
  }

  std::vector<std::string> leftBehind() const {
    std::vector<std::string> names;
    const fs::path directory = store.directory().path();
    if (fs::exists(directory)) {
      for (const auto& entry : fs::directory_iterator(directory))
        names.push_back(entry.path().filename());
    }
    for (const std::string& name : folder.names()) {
      if (name != "data.bin" && name != "state") names.push_back(name);
    }
    return names;
  }

  void expectOldBytes() {
    folder.write("data.bin", kOld);
    fs::remove_all(folder.path() / "state/recovery");
  }

  const RecordStore store{folder.location("state/recovery")};
  const std::shared_ptr<SaveRecords> safetyCopies = std::make_shared<SaveRecords>(store);
  const FileLocation file = folder.write("data.bin", kOld);
  const ByteBuffer bytes = ByteBuffer(test::bytesOf(kNew));
  std::string message;
};

TEST_F(SaveRecordsTest, haveTheNewBytesBeforeTheFileIsTouched) {
  bool wasDurable = false;
  calls.before(SystemCall::ftruncate, 1, [&] {
    EXPECT_EQ(test::TemporaryFolder::read(file), kOld);
    ASSERT_EQ(records().size(), 1u);
    const ReadRecord read = store.read(records().front());
    EXPECT_EQ(test::textOf(read.payload.span()), kNew);
    EXPECT_EQ(read.header.kind, RecordKind::save);
    EXPECT_EQ(read.header.path, file.path());
    EXPECT_EQ(read.header.caretOffset, 3);
    EXPECT_EQ(read.header.selection, (HexSelection{1, 2}));
    EXPECT_THAT(read.bookmarks, testing::ElementsAre(5));
    EXPECT_EQ(read.header.file->size, 9);
    // The file of the record, and the directory that has its name, after the rename.
    const auto& log = calls.log();
    const auto renamed = std::find(log.begin(), log.end(), SystemCall::renameat);
    wasDurable = std::find(log.begin(), renamed, SystemCall::fsync) != renamed &&
                 std::find(renamed, log.end(), SystemCall::fsync) != log.end();
  });
  EXPECT_TRUE(save(request()));
  EXPECT_TRUE(wasDurable);
  EXPECT_EQ(test::TemporaryFolder::read(file), kNew);
  EXPECT_THAT(leftBehind(), testing::IsEmpty());
}

TEST_F(SaveRecordsTest, goOnlyWhenTheFileIsOnTheDisk) {
  std::vector<SystemCall> before;
  calls.before(SystemCall::unlinkat, 1, [&] { before = calls.log(); });
  EXPECT_TRUE(save(request()));
  ASSERT_FALSE(before.empty());
  const auto emptied = std::find(before.begin(), before.end(), SystemCall::ftruncate);
  const auto flushed = std::find(emptied, before.end(), SystemCall::fsync);
  EXPECT_NE(std::find(flushed, before.end(), SystemCall::close), before.end());
}

/// The counts of the calls of a whole save, to make each of them fail.
TEST_F(SaveRecordsTest, loseNothingWhicheverCallFails) {
  ASSERT_TRUE(save(request()));
  const int count = static_cast<int>(calls.log().size());
  ASSERT_GT(count, 30);
  int failed = 0;
  for (const int errorNumber : {ENOSPC, EIO, EDQUOT, EINTR, EFBIG, EROFS, EACCES}) {
    for (int nth = 1; nth <= count; ++nth) {
      expectOldBytes();
      FaultySystemCalls faulty;
      faulty.failCall(nth, errorNumber);
      auto wanted = request();
      bool isSaved = false;
      {
        const ScopedSystemCalls scope(faulty);
        isSaved = save(std::move(wanted));
      }
      const std::string now = test::TemporaryFolder::read(file);
      const auto where = testing::Message() << "call " << nth << ", error " << errorNumber;
      EXPECT_TRUE(now == kOld || now == kNew || isRecoverable()) << where;
      if (isSaved) {
        EXPECT_EQ(now, kNew) << where;
      }
      if (!isSaved) ++failed;
      // A record is left only where it is needed, or where removing it has failed.
      if (now == kOld) {
        EXPECT_THAT(leftBehind(), testing::IsEmpty()) << where;
      }
      EXPECT_LE(leftBehind().size(), 1u) << where;
    }
  }
  EXPECT_GT(failed, count);
}

TEST_F(SaveRecordsTest, loseNothingWhenEverythingFailsFromSomeCallOn) {
  ASSERT_TRUE(save(request()));
  const int count = static_cast<int>(calls.log().size());
  for (int first = 1; first <= count; ++first) {
    expectOldBytes();
    FaultySystemCalls faulty;
    for (int nth = first; nth < first + 60; ++nth) faulty.failCall(nth, EIO);
    auto wanted = request();
    {
      const ScopedSystemCalls scope(faulty);
      save(std::move(wanted));
    }
    const std::string now = test::TemporaryFolder::read(file);
    EXPECT_TRUE(now == kOld || now == kNew || isRecoverable()) << first;
  }
}

TEST_F(SaveRecordsTest, stayWhenTheFileIsTorn) {
  calls.fail(SystemCall::write, 3, EIO);  // header and payload of the record come before
  FileSave save(request());
  save.prepare(bytes.size(), {});
  save.secure(bytes, {});
  EXPECT_THROW(save.write(bytes), Error);
  EXPECT_EQ(test::TemporaryFolder::read(file), "");
  const auto copy = save.takeSafetyCopy();
  ASSERT_TRUE(copy);
  EXPECT_TRUE(isRecoverable());
  EXPECT_EQ(records().front().id, copy->name());
  copy->remove();
  EXPECT_THAT(leftBehind(), testing::IsEmpty());
}

TEST_F(SaveRecordsTest, goWhenTheOldBytesAreBack) {
  auto wanted = request();
  wanted.ownBytes = ByteBuffer(test::bytesOf(kOld));
  calls.fail(SystemCall::write, 4, EIO);
  EXPECT_FALSE(save(wanted));
  EXPECT_EQ(test::TemporaryFolder::read(file), kOld);
  EXPECT_THAT(leftBehind(), testing::IsEmpty());
}

TEST_F(SaveRecordsTest, goWithASaveThatWasNeverBegun) {
  {
    FileSave save(request());
    save.prepare(bytes.size(), {});
    save.secure(bytes, {});
    EXPECT_EQ(records().size(), 1u);
  }
  EXPECT_THAT(leftBehind(), testing::IsEmpty());
  EXPECT_EQ(test::TemporaryFolder::read(file), kOld);
}

TEST_F(SaveRecordsTest, areMissedWhereThereIsNoPlaceForThem) {
  FileSave save(request());
  save.prepare(bytes.size(), {});
  calls.fail(SystemCall::openat, 1, ENOSPC);
  calls.fail(SystemCall::openat, 2, ENOSPC);
  EXPECT_THROW(save.secure(bytes, {}), Error);
  EXPECT_TRUE(save.lacksSafetyCopy());
  EXPECT_THAT(leftBehind(), testing::IsEmpty());
  save.write(bytes);
  EXPECT_EQ(test::TemporaryFolder::read(file), kNew);
}

TEST_F(SaveRecordsTest, areNotGivenUpForADefectiveDisk) {
  FileSave save(request());
  save.prepare(bytes.size(), {});
  calls.fail(SystemCall::fsync, calls.count(SystemCall::fsync) + 3, EIO);
  EXPECT_THROW(save.secure(bytes, {}), Error);
  EXPECT_FALSE(save.lacksSafetyCopy());
}

TEST_F(SaveRecordsTest, areWrittenForNewFilesToo) {
  const auto fresh = folder.location("fresh.bin");
  calls.before(SystemCall::ftruncate, 1, [&] { EXPECT_EQ(store.list().size(), 1u); });
  FileSave save({.destination = fresh, .safetyCopies = safetyCopies});
  save.prepare(bytes.size(), {});
  save.secure(bytes, {});
  save.write(bytes);
  EXPECT_EQ(test::TemporaryFolder::read(fresh), kNew);
  EXPECT_TRUE(store.list().empty());
}

}  // namespace
}  // namespace quillmor
