// The document without its window: reading, reservations, snapshots, names and locations.

#include <gmock/gmock.h>

#include <filesystem>

#include "document/DocumentController.h"
#include "document/QuillmorResourceLimits.h"
#include "fileaccess/URLReservations.h"
#include "support/ErrorMatchers.h"
#include "support/TemporaryFolder.h"
#include "support/TestPlatform.h"

namespace quillmor::test {
namespace {

class RecordingWindow : public DocumentWindow {
 public:
  int reloads = 0;
  int identityChanges = 0;
  int activations = 0;
  void documentStorageDidReload() override { ++reloads; }
  void documentIdentityDidChange() override { ++identityChanges; }
  void activate() override { ++activations; }
};

class HexDocumentTest : public testing::Test {
 protected:
  static std::string text(const HexDocument& document) {
    const auto bytes = document.storage()->bytes.span();
    return {bytes.begin(), bytes.end()};
  }

  static ByteBuffer bytes(std::string_view content) {
    return ByteBuffer(std::vector<std::uint8_t>(content.begin(), content.end()));
  }

  TemporaryFolder folder;
  ManualExecutor executor;
  DocumentController documents;
  std::shared_ptr<HexDocument> document = documents.makeUntitledDocument(executor);
  std::shared_ptr<RecordingWindow> window = std::make_shared<RecordingWindow>();
};

TEST_F(HexDocumentTest, isOfTheOneDocumentType) {
  EXPECT_EQ(HexDocument::documentType, "com.tenvale.binary-data");
}

TEST_F(HexDocumentTest, keepsTheFileReservedUntilItsWindowExists) {
  const auto file = folder.write("data.bin", "hello");
  document->read(file);
  EXPECT_EQ(text(*document), "hello");
  EXPECT_EQ(document->location(), file);
  EXPECT_TRUE(document->modificationDate().has_value());
  EXPECT_THAT([&] { SecureFileAccess::reserveOutputURL(file); },
              failsWith(1207,
                        "Another operation is already reading or writing data.bin. Choose a "
                        "different destination or wait for that operation to finish."));
  document->makeWindowControllers([this](HexDocument&) { return window; });
  EXPECT_NO_THROW(SecureFileAccess::reserveOutputURL(file));
}

TEST_F(HexDocumentTest, thatCannotBeReadLetsTheFileGo) {
  const auto place = folder.location("inner");
  std::filesystem::create_directory(place.path());
  EXPECT_THAT([&] { document->read(place); },
              failsWith(1201, "Directories cannot be opened as binary files."));
  EXPECT_EQ(document->location(), std::nullopt);
  EXPECT_NO_THROW(SecureFileAccess::reserveOutputURL(place));
}

TEST_F(HexDocumentTest, isNotReadFromAFileBeingWritten) {
  const auto file = folder.write("data.bin", "hello");
  const auto writing = SecureFileAccess::reserveOutputURL(file);
  EXPECT_THAT([&] { document->read(file); },
              failsWith(1208,
                        "data.bin is currently being written by another save or export. Wait "
                        "for that operation to finish before opening or reading it."));
  EXPECT_EQ(text(*document), "");
}

TEST_F(HexDocumentTest, takesDataUpToTheLimit) {
  const std::int64_t limit = QuillmorResourceLimits::maximumDocumentByteCount();
  EXPECT_NO_THROW(document->readData(ByteBuffer::uninitialized(limit)));
  EXPECT_EQ(document->storage()->count(), limit);
  document->readData(bytes("kept"));
  EXPECT_THAT(
      [&] { document->readData(ByteBuffer::uninitialized(limit + 1)); },
      failsWith(1205, "The selected file exceeds Quillmor's safe in-memory document limit of " +
                          std::to_string(limit) + " bytes."));
  EXPECT_EQ(text(*document), "kept");
  EXPECT_EQ(document->modificationDate(), std::nullopt);
}

TEST_F(HexDocumentTest, tellsItsWindowsOfBytesReadAnew) {
  document->addWindowController(window);
  document->readData(bytes("new"));
  EXPECT_EQ(window->reloads, 1);
}

TEST_F(HexDocumentTest, installsBytesFromAnotherThreadOnTheMainThread) {
  document->addWindowController(window);
  std::thread reader([this] { document->installBytesAfterRead(bytes("background"), 12.5); });
  while (!executor.runPosted()) std::this_thread::yield();
  reader.join();
  EXPECT_EQ(text(*document), "background");
  EXPECT_EQ(document->modificationDate(), 12.5);
  EXPECT_EQ(window->reloads, 1);
}

TEST_F(HexDocumentTest, becomesTheDocumentOfAnotherFileWithoutUnsavedChanges) {
  document->addWindowController(window);
  document->updateChangeCount(ChangeCount::Change::done);
  auto storage = std::make_shared<HexStorage>();
  const auto place = folder.location("other.bin");
  document->replaceContentsForSingleWindowOpen(storage, place, std::nullopt);
  EXPECT_EQ(document->storage(), storage);
  EXPECT_EQ(document->location(), place);
  EXPECT_EQ(document->displayName(), "other.bin");
  EXPECT_EQ(document->modificationDate(), std::nullopt);
  EXPECT_FALSE(document->isDocumentEdited());
  EXPECT_GT(window->identityChanges, 0);
}

TEST_F(HexDocumentTest, snapshotsAreUsedOnce) {
  document->readData(bytes("first"));
  EXPECT_TRUE(document->canAsynchronouslyWrite());
  document->storage()->bytes.set(0, 'F');
  std::vector<std::string> outcomes;
  const auto write = [&] {
    try {
      const ByteBuffer bytes = document->bytesToWrite();
      outcomes.emplace_back(bytes.span().begin(), bytes.span().end());
    } catch (const Error& error) {
      outcomes.push_back(std::to_string(error.code()) + " " + error.message());
    }
  };
  executor.runDetached(write);
  executor.runDetached(write);
  executor.runAll();
  EXPECT_THAT(outcomes,
              testing::ElementsAre("first",
                                   "1210 The asynchronous document save did not have a valid "
                                   "content snapshot."));
}

TEST_F(HexDocumentTest, bringsAllItsWindowsToTheFront) {
  auto second = std::make_shared<RecordingWindow>();
  document->addWindowController(window);
  document->addWindowController(second);
  document->activateOpenWindows();
  EXPECT_EQ(window->activations, 1);
  EXPECT_EQ(second->activations, 1);
}

TEST_F(HexDocumentTest, isListedByItsLocationUnlessExcludedOrUntitled) {
  const auto first = folder.write("first", "1");
  const auto second = folder.write("second", "2");
  document->read(first);
  auto other = documents.makeUntitledDocument(executor);
  other->read(second);
  documents.makeUntitledDocument(executor);
  EXPECT_EQ(documents.openDocumentURLs(nullptr), (std::vector{first, second}));
  EXPECT_EQ(documents.openDocumentURLs(document.get()), std::vector{second});
  documents.close(other.get());
  EXPECT_EQ(documents.openDocumentURLs(document.get()), std::vector<FileLocation>{});
}

TEST_F(HexDocumentTest, isNumberedWhileUntitled) {
  auto second = documents.makeUntitledDocument(executor);
  EXPECT_EQ(document->displayName(), "Untitled");
  EXPECT_EQ(second->displayName(), "Untitled 2");
  documents.close(document.get());
  EXPECT_EQ(documents.makeUntitledDocument(executor)->displayName(), "Untitled");
}

}  // namespace
}  // namespace quillmor::test
