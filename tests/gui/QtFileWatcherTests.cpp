// Watching real files: every way in which another program can change one is told.

#include "platform_qt/QtFileWatcher.h"

#include <gtest/gtest.h>

#include <QTest>
#include <filesystem>

#include "support/TemporaryFolder.h"

namespace quillmor::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

class QtFileWatcherTest : public testing::Test {
 protected:
  /// Watches the file until the test ends; returns when the watch has begun.
  void watch(const FileLocation& location) {
    watch_ = watcher.watch(location, [this] { ++calls; });
    expectCall("the beginning");
  }

  /// Waits for one call or more, and for the crowd of events to be over.
  void expectCall(const char* what) {
    EXPECT_TRUE(QTest::qWaitFor([this] { return calls > 0; }, 5000)) << what;
    int before = 0;
    do {
      before = calls;
      QTest::qWait(150);
    } while (before != calls);
    calls = 0;
  }

  TemporaryFolder folder;
  int calls = 0;
  QtFileWatcher watcher{24h};
  std::unique_ptr<FileWatch> watch_;
};

TEST_F(QtFileWatcherTest, tellsOfEverythingThatHappensToAFile) {
  const FileLocation file = folder.write("data.bin", "hello");
  watch(file);
  folder.append("data.bin", "!");
  expectCall("appended to");
  folder.write("data.bin", "HELLO");
  expectCall("rewritten");
  fs::rename(folder.write("new", "other").path(), file.path());
  expectCall("replaced");
  folder.append("data.bin", "!");
  expectCall("the new file appended to");
  fs::remove(file.path());
  expectCall("deleted");
  folder.write("data.bin", "again");
  expectCall("made anew");
  folder.append("data.bin", "!");
  expectCall("the newest file appended to");
}

TEST_F(QtFileWatcherTest, followsTheNameAndNotALinkThatKeepsTheOldFile) {
  const FileLocation file = folder.write("data.bin", "hello");
  fs::create_hard_link(file.path(), folder.location("backup").path());
  watch(file);
  fs::rename(folder.write("new", "other").path(), file.path());
  expectCall("replaced");
  folder.append("data.bin", "!");
  expectCall("the new file appended to");
}

TEST_F(QtFileWatcherTest, endsWithTheWatch) {
  const FileLocation file = folder.write("data.bin", "hello");
  watch(file);
  watch_.reset();
  folder.append("data.bin", "!");
  QTest::qWait(300);
  EXPECT_EQ(calls, 0);
}

TEST_F(QtFileWatcherTest, mayEndInsideTheCall) {
  const FileLocation file = folder.write("data.bin", "hello");
  watch_ = watcher.watch(file, [this] {
    ++calls;
    watch_.reset();
  });
  expectCall("the beginning");
  EXPECT_EQ(watch_, nullptr);
}

TEST_F(QtFileWatcherTest, watchesOneFileForSeveral) {
  const FileLocation file = folder.write("data.bin", "hello");
  watch(file);
  int others = 0;
  const auto second = watcher.watch(file, [&] { ++others; });
  EXPECT_TRUE(QTest::qWaitFor([&] { return others > 0; }, 5000));
  watch_.reset();
  others = 0;
  folder.append("data.bin", "!");
  EXPECT_TRUE(QTest::qWaitFor([&] { return others > 0; }, 5000));
}

TEST_F(QtFileWatcherTest, looksNowAndThenAtAFileWhoseNameTheToolkitCannotHold) {
  QtFileWatcher polling(20ms);
  const FileLocation file = folder.write("bad\xFFname", "hello");
  const auto polled = polling.watch(file, [this] { ++calls; });
  EXPECT_TRUE(QTest::qWaitFor([this] { return calls > 4; }, 5000));
}

TEST_F(QtFileWatcherTest, looksNowAndThenWhereThereIsNoFolder) {
  QtFileWatcher polling(20ms);
  const FileLocation file = folder.location("missing/data.bin");
  const auto polled = polling.watch(file, [this] { ++calls; });
  EXPECT_TRUE(QTest::qWaitFor([this] { return calls > 4; }, 5000));
  fs::create_directory(folder.path() / "missing");
  folder.write("missing/data.bin", "hello");
  // From here on the system tells.
  QTest::qWait(200);
  calls = 0;
  QTest::qWait(200);
  EXPECT_EQ(calls, 0);
  folder.append("missing/data.bin", "!");
  EXPECT_TRUE(QTest::qWaitFor([this] { return calls > 0; }, 5000));
}

}  // namespace
}  // namespace quillmor::test
