// The judge itself: savers that are known to be good or bad.

#include <gmock/gmock.h>

#include "faults/PowerCut.h"

namespace quillmor::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

constexpr std::uint64_t kFolder = 1;
constexpr std::uint64_t kFile = 2;
constexpr std::uint64_t kOther = 3;

/// A folder with one file.
Disk diskWith(const std::string& content) {
  return {.image = {.files = {{"/d/file", content}}, .folders = {"/d"}},
          .inodes = {{"/d", kFolder}, {"/d/file", kFile}}};
}

Effect create(std::uint64_t inode, const std::string& path) {
  return {.kind = EffectKind::create, .inode = inode, .path = path};
}
Effect write(std::uint64_t inode, const std::string& data) {
  return {.kind = EffectKind::write, .inode = inode, .data = data};
}
Effect setSize(std::uint64_t inode, std::int64_t size) {
  return {.kind = EffectKind::setSize, .inode = inode, .offset = size};
}
Effect flush(std::uint64_t inode) {
  return {.kind = EffectKind::synchronize, .inode = inode};
}
Effect move(std::uint64_t inode, const std::string& from, const std::string& to) {
  return {.kind = EffectKind::rename, .inode = inode, .path = from, .otherPath = to};
}

/// What the file may hold after a power cut; "-" when it may be missing.
std::set<std::string> contentsAfter(const Disk& before, const std::vector<Effect>& effects) {
  std::set<std::string> contents;
  const std::int64_t count =
      PowerCut(before, effects).forEachState(100, [&](const DiskImage& image, const std::string&) {
        const auto file = image.files.find("/d/file");
        contents.insert(file == image.files.end() ? "-" : file->second);
      });
  EXPECT_GT(count, 0);
  return contents;
}

TEST(PowerCutModel, aFileThatIsOverwrittenInPlaceMayHoldAnything) {
  const std::string zeros(3, '\0');
  EXPECT_THAT(
      contentsAfter(diskWith("old"), {setSize(kFile, 0), write(kFile, "new"), flush(kFile)}),
      ElementsAre("", zeros, "new", "old"));
}

TEST(PowerCutModel, aFlushedFileThatIsRenamedIsOldOrNew) {
  EXPECT_THAT(
      contentsAfter(diskWith("old"), {create(kOther, "/d/tmp"), write(kOther, "new"), flush(kOther),
                                      move(kOther, "/d/tmp", "/d/file"), flush(kFolder)}),
      ElementsAre("new", "old"));
}

TEST(PowerCutModel, aRenameWithoutAFlushMayLoseTheBytes) {
  EXPECT_THAT(contentsAfter(diskWith("old"), {create(kOther, "/d/tmp"), write(kOther, "new"),
                                              move(kOther, "/d/tmp", "/d/file"), flush(kFolder)}),
              Contains(""));
}

TEST(PowerCutModel, whatWasFlushedStays) {
  const std::vector<Effect> flushed = {write(kFile, "new"), flush(kFile)};
  std::set<std::string> last;
  PowerCut(diskWith("old"), flushed)
      .forEachState(100, [&](const DiskImage& image, const std::string& moment) {
        if (moment.find("flush") != std::string::npos) last.insert(image.files.at("/d/file"));
      });
  EXPECT_THAT(last, Not(Contains("old")));
}

TEST(PowerCutModel, aLargeWriteIsTornAtPages) {
  const std::string old(10'000, 'o');
  const std::string changed(10'000, 'n');
  const auto contents = contentsAfter(diskWith(old), {write(kFile, changed)});
  // Each of three pages is old or new.
  EXPECT_EQ(contents.size(), 8U);
  EXPECT_THAT(contents, Contains(std::string(4096, 'o') + std::string(4096, 'n') +
                                 std::string(10'000 - 8192, 'o')));
}

TEST(PowerCutModel, aNewNameMayBeMissingUntilTheFolderIsFlushed) {
  const Disk empty{.image = {.files = {}, .folders = {"/d"}}, .inodes = {{"/d", kFolder}}};
  EXPECT_THAT(contentsAfter(empty, {create(kFile, "/d/file"), write(kFile, "new"), flush(kFile)}),
              Contains("-"));
}

TEST(PowerCutModel, aNumberThatIsUsedAgainIsAnotherFile) {
  EXPECT_THAT(contentsAfter(diskWith("old"),
                            {{.kind = EffectKind::unlink, .inode = kFile, .path = "/d/file"},
                             create(kFile, "/d/other"),
                             write(kFile, "new")}),
              ElementsAre("-", "old"));
}

TEST(PowerCutModel, allEffectsTogetherAreTheDiskAsItIs) {
  const PowerCut cut(diskWith("old"), {create(kOther, "/d/tmp"), write(kOther, "new"),
                                       move(kOther, "/d/tmp", "/d/file"), setSize(kOther, 2)});
  const std::map<std::string, std::string> whole = {{"/d/file", "ne"}};
  EXPECT_EQ(cut.whole().files, whole);
}

}  // namespace
}  // namespace quillmor::test
