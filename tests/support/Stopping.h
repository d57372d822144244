#pragma once

#include <gmock/gmock.h>
#include <pthread.h>

#include <ctime>
#include <thread>

#include "base/Error.h"
#include "base/TaskProgress.h"

namespace quillmor::test {

/// For `EXPECT_THAT([&] { ... }, isStopped())`.
inline auto isStopped() {
  return testing::Throws<Error>(testing::Property("isStopped", &Error::isStopped, true));
}

/// The nanoseconds that a thread has been computing, by its clock.
inline std::int64_t nanosecondsOf(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

/// Whether `work(TaskProgress&)` ends with `Error::stopped()` when another thread requests that
/// once it has computed for a millisecond. Where other programs keep that thread waiting the
/// request can come too late, so there are many attempts; work that does not look is stopped by
/// none.
template <class Work>
bool stopsInTheMiddle(Work work) {
  clockid_t clock{};
  pthread_getcpuclockid(pthread_self(), &clock);
  for (int attempt = 0; attempt < 50; ++attempt) {
    TaskProgress progress;
    const std::int64_t begin = nanosecondsOf(clock);
    std::thread stopper([&] {
      while (nanosecondsOf(clock) < begin + 1'000'000) std::this_thread::yield();
      progress.requestStop();
    });
    bool wasStopped = false;
    try {
      work(progress);
    } catch (const Error& error) {
      wasStopped = error.isStopped();
    }
    // Short work never reaches the millisecond unless this thread goes on computing.
    while (nanosecondsOf(clock) < begin + 1'000'000) {
    }
    stopper.join();
    if (wasStopped) return true;
  }
  return false;
}

}  // namespace quillmor::test
