// Real limits: on the size of a file, a disk that is full, a quota.

#include <unistd.h>

#include <filesystem>

#include "faults/Judgement.h"
#include "faults/SmallDisk.h"

namespace quillmor::test {
namespace {

constexpr std::int64_t kTenPages = 10 * kOnePage;
/// More than a record needs beside the bytes themselves.
constexpr std::int64_t kPlenty = 64 * kOnePage;
constexpr std::int64_t kDiskSize = 8 * kOneMiB;
constexpr const char* kNobody = "65534";

std::string described(std::int64_t room, const EndedRun& ended) {
  return std::to_string(room) + " bytes of room; status " + std::to_string(ended.status) + ", " +
         ended.errors;
}

class NoRoomTest : public testing::TestWithParam<SaveChoice> {
 protected:
  /// Saves and exports with all amounts of room up to what is enough for both. The records lie on
  /// the same disk or on another one.
  static void fill(const SmallDisk& disk, bool areRecordsThere, Score& score) {
    const TemporaryFolder other;
    const std::string state = areRecordsThere ? disk.path() : other.path().native();
    const SaveUnderFaults trial(GetParam(), {disk.path() + "/files", state + "/state"});
    const std::int64_t step = triesEverything() ? kOnePage : 3 * kOnePage;
    for (std::int64_t room = 0; room <= 30 * kOnePage; room += step) {
      disk.makeRoom();
      trial.reset();
      disk.leaveRoom(room);
      const EndedRun saved = trial.saveInPlace(Fault::none());
      judgeSave(trial, Fault::none(), saved, "save, " + described(room, saved), score);
      disk.makeRoom();
      trial.resetWithExport(true);
      disk.leaveRoom(room);
      const EndedRun ended = trial.exportBeside(Fault::none());
      judgeExport(trial, true, Fault::none(), ended, "export, " + described(room, ended), score);
    }
    disk.makeRoom();
    trial.reset();
    EXPECT_EQ(trial.saveInPlace(Fault::none()).status, 0) << "no save with much room";
  }
};

TEST_P(NoRoomTest, aLimitOnFileSizesIsKept) {
  Score score("limit on file sizes");
  const SaveUnderFaults trial(SaveChoice{GetParam().change, kOneMiB});
  const auto size = static_cast<std::int64_t>(trial.save().newBytes.size());
  for (const std::int64_t limit :
       {size - kOnePage, size - 1, size, size + 1, size + kOnePage, 2 * size + kPlenty}) {
    trial.reset();
    const EndedRun ended =
        trial.saveInPlace(Fault::none(), {"prlimit", "--fsize=" + std::to_string(limit)});
    const std::string where = described(limit, ended);
    judgeSave(trial, Fault::none(), ended, where, score);
    if (limit < size && trial.outcome() != Outcome::oldBytes) score.countWrong("saved: " + where);
    if (limit > 2 * size && ended.status != 0) score.countWrong("not saved: " + where);
  }
}

TEST_P(NoRoomTest, aFullTmpfsLosesNothing) {
  Score score("full tmpfs");
  const SmallDisk disk(SmallDisk::Kind::tmpfs, kDiskSize);
  if (!disk.problem().empty()) GTEST_SKIP() << disk.problem();
  fill(disk, true, score);
  fill(disk, false, score);
}

TEST_P(NoRoomTest, aFullExt4LosesNothing) {
  Score score("full ext4");
  const SmallDisk disk(SmallDisk::Kind::ext4, kDiskSize);
  if (!disk.problem().empty()) GTEST_SKIP() << disk.problem();
  fill(disk, true, score);
  fill(disk, false, score);
}

TEST_P(NoRoomTest, aQuotaLosesNothing) {
  Score score("quota");
  if (::geteuid() != 0) GTEST_SKIP() << "only root may give another user a quota";
  for (std::int64_t quota = 10 * kOnePage; quota <= 40 * kOnePage; quota += kOnePage) {
    const SmallDisk disk(SmallDisk::Kind::quota, quota);
    if (!disk.problem().empty()) GTEST_SKIP() << disk.problem();
    const std::string top = disk.path() + "/home";
    const SaveUnderFaults trial(GetParam(), {top + "/files", top + "/state"});
    trial.reset();
    ChildProcess give({"chown", "-R", kNobody, top}, {{"PATH", std::getenv("PATH")}});
    // The user must get to the disk and to the list of calls.
    for (const auto& folder :
         {std::filesystem::path(disk.path()).parent_path(), trial.scratch().path()})
      std::filesystem::permissions(folder, std::filesystem::perms::all);
    ASSERT_EQ(give.waitForExit(), 0) << give.errors();
    const EndedRun ended = trial.saveInPlace(
        Fault::none(), {"setpriv", "--reuid", kNobody, "--clear-groups", "--no-new-privs"});
    ASSERT_FALSE(ended.calls.empty()) << "the program did not run: " << ended.errors;
    judgeSave(trial, Fault::none(), ended, described(quota, ended), score);
  }
}

INSTANTIATE_TEST_SUITE_P(, NoRoomTest,
                         testing::Values(SaveChoice{Change::equal, kTenPages},
                                         SaveChoice{Change::longer, kTenPages},
                                         SaveChoice{Change::shorter, kTenPages}),
                         [](const auto& test) { return test.param.name(); });

}  // namespace
}  // namespace quillmor::test
