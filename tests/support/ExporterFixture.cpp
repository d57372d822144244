#include "support/ExporterFixture.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string_view>

#include "support/ErrorMatchers.h"

namespace quillmor::test {

namespace {

/// A number of KiB from this process's status, in bytes.
std::int64_t statusBytes(std::string_view key) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(key)) return std::stoll(line.substr(key.size() + 1)) * 1024;
  }
  ADD_FAILURE() << key;
  return 0;
}

}  // namespace

std::int64_t peakMemoryGrowth(const std::function<void()>& work) {
  // 5 makes the peak what is in use now.
  EXPECT_TRUE(std::ofstream("/proc/self/clear_refs") << 5 << std::flush);
  const std::int64_t before = statusBytes("VmRSS");
  work();
  return statusBytes("VmHWM") - before;
}

void ExporterTest::resetFolder() const {
  for (const std::string& name : folder.names()) std::filesystem::remove(folder.path() / name);
  folder.write("existing.txt", "old content");
}

void ExporterTest::expectWrites(const Export& run, const std::string& expected) {
  for (const FileLocation& destination : {existing, fresh}) {
    TaskProgress progress;
    run({destination, {}}, progress);
    EXPECT_TRUE(TemporaryFolder::read(destination) == expected);
    EXPECT_EQ(progress.fraction(), 1);
  }
  EXPECT_THAT(folder.names(), testing::ElementsAre("existing.txt", "fresh.txt"));
}

void ExporterTest::stopBefore(SystemCall kind, int nth, bool comesTooLate, const Export& run,
                              const std::string& expected) {
  resetFolder();
  TaskProgress progress;
  FaultySystemCalls stopping;
  stopping.before(kind, nth, [&progress] { progress.requestStop(); });
  const ScopedSystemCalls scope(stopping);
  const auto exporting = [&] { run({existing, {}}, progress); };
  if (comesTooLate) {
    EXPECT_NO_THROW(exporting());
    EXPECT_FALSE(progress.stopRequested());
    EXPECT_TRUE(folder.read("existing.txt") == expected);
    EXPECT_THAT(folder.names(), testing::ElementsAre("existing.txt"));
  } else {
    EXPECT_THAT(exporting, testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
    expectNothingHappened();
  }
}

void ExporterTest::expectStopsAtEveryStage(const Export& run, const std::string& expected) {
  FaultySystemCalls clean;
  {
    const ScopedSystemCalls scope(clean);
    TaskProgress progress;
    run({existing, {}}, progress);
  }
  const auto& log = clean.log();
  const auto firstFlush = std::ranges::find(log, SystemCall::fsync);
  const auto lastHeeded = std::find(firstFlush, log.end(), SystemCall::close);
  ASSERT_NE(lastHeeded, log.end());
  ASSERT_GT(clean.count(SystemCall::write), 1) << "too few bytes to be stopped between writes";
  std::map<SystemCall, int> counts;
  std::set<SystemCall> triedTooLate;
  for (auto call = log.begin(); call != log.end(); ++call) {
    SCOPED_TRACE("call " + std::to_string(call - log.begin()));
    const int nth = ++counts[*call];
    const bool comesTooLate = call > lastHeeded;
    // A complete export waits for the disk: each kind of call once is enough.
    if (comesTooLate && !triedTooLate.insert(*call).second) continue;
    stopBefore(*call, nth, comesTooLate, run, expected);
  }
}

void ExporterTest::expectLeavesTheDestinationWhenItFails(const Export& run) {
  TaskProgress progress;
  const auto exporting = [&] { run({existing, {fresh}}, progress); };
  calls.fail(SystemCall::write, 1, ENOSPC);
  EXPECT_THAT(exporting, failsWithPosix(ENOSPC, "Could not write the output data."));
  expectNothingHappened();
  calls.limitCount(SystemCall::write, 2, 100);
  calls.fail(SystemCall::write, 3, EIO);
  EXPECT_THAT(exporting, failsWithPosix(EIO, "Could not write the output data."));
  expectNothingHappened();
  calls.fail(SystemCall::fsync, 1, EDQUOT);
  EXPECT_THAT(exporting, failsWithPosix(EDQUOT));
  expectNothingHappened();
  EXPECT_THAT(
      [&] {
        run({existing, {fresh, existing}}, progress);
      },
      failsWith(1206,
                "Choose a different output destination. Writing to existing.txt would "
                "overwrite an open document or another input file."));
  expectNothingHappened();
}

}  // namespace quillmor::test
