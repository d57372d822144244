#include "document/DocumentLoader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "document/QuillmorResourceLimits.h"
#include "fileaccess/URLReservations.h"
#include "support/ErrorMatchers.h"
#include "support/FileAccessTest.h"
#include "support/Stopping.h"

namespace quillmor {
namespace {

using test::failsWith;
using test::failsWithPosix;
using test::SystemCall;

class DocumentLoader : public test::FileAccessTest {
 protected:
  const FileLocation file = folder.write("data.bin", "hello");
};

TEST_F(DocumentLoader, readsTheBytesAndKnowsTheFile) {
  const LoadedDocument loaded = loadDocument(file);
  EXPECT_EQ(test::textOf(loaded.snapshot.bytes.span()), "hello");
  EXPECT_EQ(loaded.location, file);
  EXPECT_EQ(loaded.known.status, loaded.snapshot.status);
  EXPECT_EQ(loaded.known.digest, contentDigest(loaded.snapshot.bytes.span()));
  EXPECT_EQ(loaded.snapshot.modificationDate, loaded.snapshot.status.modificationDate());
  EXPECT_EQ(calls.count(SystemCall::open), 1);
}

TEST_F(DocumentLoader, findsTheRealFile) {
  std::filesystem::create_symlink(file.path(), folder.path() / "link.bin");
  const ReadDocument read = readDocument(folder.location("link.bin"));
  EXPECT_EQ(read.location, file);
  EXPECT_EQ(test::textOf(read.snapshot.bytes.span()), "hello");
}

TEST_F(DocumentLoader, holdsTheReservationUntilItIsReleased) {
  {
    const ReadDocument read = readDocument(file);
    EXPECT_FALSE(test::isUnreserved(file));
    read.reservation->release();
    EXPECT_TRUE(test::isUnreserved(file));
  }
  { const LoadedDocument loaded = loadDocument(file); }
  EXPECT_TRUE(test::isUnreserved(file));
}

TEST_F(DocumentLoader, releasesTheReservationOfAFileThatCannotBeRead) {
  calls.fail(SystemCall::pread, 1, EIO);
  EXPECT_THAT([&] { loadDocument(file); }, failsWithPosix(EIO));
  EXPECT_TRUE(test::isUnreserved(file));
}

TEST_F(DocumentLoader, namesTheFileAsItWasAskedFor) {
  std::filesystem::create_symlink(file.path(), folder.path() / "link.bin");
  const auto output = SecureFileAccess::reserveOutputURL(file);
  EXPECT_THAT([&] { loadDocument(folder.location("link.bin")); },
              failsWith(1208,
                        "link.bin is currently being written by another save or export. Wait for "
                        "that operation to finish before opening or reading it."));
}

TEST_F(DocumentLoader, refusesWhatIsNoDocument) {
  EXPECT_THAT([&] { loadDocument(folder.location("none")); }, failsWithPosix(ENOENT));
  EXPECT_THAT([&] { loadDocument(FileLocation::fromPath(folder.path().string())); },
              failsWith(1201, "Directories cannot be opened as binary files."));
  const std::int64_t limit = QuillmorResourceLimits::maximumDocumentByteCount();
  std::filesystem::resize_file(file.path(), static_cast<std::uintmax_t>(limit) + 1);
  EXPECT_THAT([&] { loadDocument(file); },
              failsWith(1205, "The selected file exceeds the safe in-memory limit of " +
                                  std::to_string(limit) + " bytes."));
}

TEST_F(DocumentLoader, tellsItsProgressAndStops) {
  TaskProgress progress;
  loadDocument(file, &progress);
  EXPECT_EQ(progress.fraction(), 1);
  progress.restart();
  progress.requestStop();
  EXPECT_THAT([&] { loadDocument(file, &progress); }, test::isStopped());
  EXPECT_TRUE(test::isUnreserved(file));
}

}  // namespace
}  // namespace quillmor
