#include "platform_qt/QtBackgroundExecutor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <atomic>
#include <latch>
#include <memory>
#include <vector>

namespace quillmor {
namespace {

using namespace std::chrono_literals;

/// Runs the main event loop until something calls `quit`; fails when nothing does.
class MainLoop {
 public:
  void run() {
    QTimer::singleShot(10s, &loop_, [this] {
      ADD_FAILURE() << "nothing ended the event loop";
      loop_.quit();
    });
    loop_.exec();
  }
  void quit() { loop_.quit(); }

 private:
  QEventLoop loop_;
};

TEST(QtBackgroundExecutor, worksOffTheMainThreadAndAnswersOnIt) {
  MainLoop loop;
  QtBackgroundExecutor executor;
  QThread* workThread = nullptr;
  QThread* answerThread = nullptr;
  executor.runDetached([&] {
    workThread = QThread::currentThread();
    executor.postToMain([&] {
      answerThread = QThread::currentThread();
      loop.quit();
    });
  });
  loop.run();
  EXPECT_NE(workThread, nullptr);
  EXPECT_NE(workThread, QThread::currentThread());
  EXPECT_EQ(answerThread, QThread::currentThread());
}

TEST(QtBackgroundExecutor, postsLaterEvenFromTheMainThread) {
  MainLoop loop;
  QtBackgroundExecutor executor;
  bool hasRun = false;
  executor.postToMain([&] {
    hasRun = true;
    loop.quit();
  });
  EXPECT_FALSE(hasRun);
  loop.run();
  EXPECT_TRUE(hasRun);
}

TEST(QtBackgroundExecutor, keepsTheOrderOfPosts) {
  MainLoop loop;
  QtBackgroundExecutor executor;
  std::vector<int> seen;
  executor.runDetached([&] {
    for (int i = 0; i < 1000; ++i) executor.postToMain([&seen, i] { seen.push_back(i); });
    executor.postToMain([&] { loop.quit(); });
  });
  loop.run();
  ASSERT_EQ(seen.size(), 1000U);
  EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
}

TEST(QtBackgroundExecutor, runsSeveralTasksAtOnce) {
  MainLoop loop;
  QtBackgroundExecutor executor;
  // Every task waits for all the others, so tasks that ran one after another would never end.
  std::latch together(3);
  std::atomic<int> finished = 0;
  for (int i = 0; i < 3; ++i) {
    executor.runDetached([&] {
      together.arrive_and_wait();
      if (++finished == 3) executor.postToMain([&] { loop.quit(); });
    });
  }
  loop.run();
  EXPECT_EQ(finished, 3);
}

TEST(QtBackgroundExecutor, runsDelayedFunctionsOnTheMainThreadOnceTheDelayHasPassed) {
  for (const bool fromWorker : {false, true}) {
    MainLoop loop;
    QtBackgroundExecutor executor;
    QElapsedTimer clock;
    clock.start();
    QThread* thread = nullptr;
    qint64 elapsed = 0;
    const auto post = [&] {
      executor.postToMainAfter(30ms, [&] {
        thread = QThread::currentThread();
        elapsed = clock.elapsed();
        loop.quit();
      });
    };
    if (fromWorker) {
      executor.runDetached(post);
    } else {
      post();
    }
    loop.run();
    EXPECT_EQ(thread, QThread::currentThread());
    EXPECT_GE(elapsed, 30);
  }
}

TEST(QtBackgroundExecutor, runsDelayedFunctionsByTheirDelays) {
  MainLoop loop;
  QtBackgroundExecutor executor;
  std::vector<int> seen;
  executor.postToMainAfter(40ms, [&] {
    seen.push_back(40);
    loop.quit();
  });
  executor.postToMainAfter(1ms, [&] { seen.push_back(1); });
  executor.postToMainAfter(0ms, [&] { seen.push_back(0); });
  loop.run();
  EXPECT_THAT(seen, testing::ElementsAre(0, 1, 40));
}

TEST(QtBackgroundExecutor, waitsForItsWorkAndDropsWhatWasNotRunYet) {
  constexpr int kTasks = 500;
  std::atomic<int> finished = 0;
  int functionsRun = 0;
  auto executor = std::make_unique<QtBackgroundExecutor>();
  std::latch mayStart(1);
  for (int i = 0; i < kTasks; ++i) {
    executor->runDetached([&, posting = executor.get()] {
      mayStart.wait();
      posting->postToMain([&] { ++functionsRun; });
      ++finished;
    });
  }
  mayStart.count_down();
  executor.reset();
  EXPECT_EQ(finished, kTasks);
  QCoreApplication::processEvents();
  EXPECT_EQ(functionsRun, 0);
}

}  // namespace
}  // namespace quillmor
