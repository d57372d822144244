// Loading a file into a window: what is shown meanwhile, what is refused and how, and that one file
// is never open in two windows.

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "document/QuillmorResourceLimits.h"
#include "fileaccess/URLReservations.h"
#include "support/FaultySystemCalls.h"
#include "support/WindowFixture.h"

namespace quillmor::test {
namespace {

constexpr const char* kBeingWritten =
    "data.bin is currently being written by another save or export. Wait for that operation to "
    "finish before opening or reading it.";

class WindowLoading : public WindowFixture {
 protected:
  OpenCurrentResult open(const EditorUnderTest& editor, const FileLocation& location) {
    std::optional<OpenCurrentResult> ended;
    editor->commands().replacement().openURLInCurrentWindow(
        location, [&](OpenCurrentResult result) { ended = result; });
    platform.executor.runAll();
    EXPECT_TRUE(ended.has_value());
    return ended.value_or(OpenCurrentResult::failed);
  }

  /// Opens `location` into an untitled editor, expects `message`, and that nothing has changed.
  void expectRefused(const FileLocation& location, const std::string& message) {
    auto editor = makeEditor("before");
    platform.alerts.expect("Open Failed", message);
    EXPECT_EQ(open(editor, location), OpenCurrentResult::failed);
    EXPECT_EQ(editor.text(), "before");
    EXPECT_EQ(editor.document->location(), std::nullopt);
    EXPECT_FALSE(editor->isBusy());
    EXPECT_TRUE(editor.window->toolbarEnabled);
    EXPECT_TRUE(editor.editor().isEditingEnabled());
  }
};

TEST_F(WindowLoading, showsTheFileItOpensAndRefusesInputMeanwhile) {
  const auto file = folder.write("data.bin", "hello");
  auto editor = makeEditor();
  editor->commands().replacement().openURLInCurrentWindow(file, [](auto) {});
  EXPECT_TRUE(editor->isBusy());
  EXPECT_EQ(editor.window->statusText, "Opening data.bin");
  EXPECT_FALSE(editor.window->toolbarEnabled);
  EXPECT_FALSE(editor.editor().isEditingEnabled());
  platform.executor.runAll();
  EXPECT_FALSE(editor->isBusy());
  EXPECT_EQ(editor.text(), "hello");
  EXPECT_EQ(editor.window->title, "data.bin");
  EXPECT_EQ(editor.window->represented, file);
  EXPECT_FALSE(editor.window->isEdited);
  EXPECT_EQ(editor.window->statusText,
            "Size: 5 bytes  |  Offset: 0x00000000  |  Mode: Overwrite  |  Selection: 0");
}

TEST_F(WindowLoading, namesAreShownVisiblyAndUsedAsTheyAre) {
  const std::string name = "a\nb\xE2\x80\xAE\xFF\\.bin";
  const std::string shown = "a\\x0Ab\\u{202E}\\xFF\\.bin";
  const auto file = folder.write(name, "hello");
  auto editor = makeEditor();
  editor->commands().replacement().openURLInCurrentWindow(file, [](auto) {});
  EXPECT_EQ(editor.window->statusText, "Opening " + shown);
  platform.executor.runAll();
  EXPECT_EQ(editor.window->title, shown);
  EXPECT_EQ(editor.window->represented, file);

  platform.alerts.expect("Reload from Disk", "Reloaded: " + shown);
  editor->perform("forwardReloadFromDisk:");
  platform.executor.runAll();

  type(editor, "j");
  platform.alerts.expect(
      "Revert Changes?",
      "Discard unsaved changes to " + shown + " and reload the version currently on disk?",
      "Cancel");
  editor->perform("forwardRevertDocument:");
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  EXPECT_THAT(editor.window->statusHistory, testing::Contains("Saving " + shown));
  EXPECT_NE(folder.read(name), "hello");

  platform.filePanels.saveAnswers = {std::nullopt};
  editor->perform("forwardSaveDocumentAs:");
  EXPECT_THAT(platform.filePanels.suggestedNames, testing::ElementsAre(name));
}

TEST_F(WindowLoading, refusesADirectory) {
  std::filesystem::create_directory(folder.location("inner").path());
  expectRefused(folder.location("inner"), "Directories cannot be opened as binary files.");
}

TEST_F(WindowLoading, refusesEverythingThatIsNoRegularFile) {
  const auto fifo = folder.location("fifo");
  ASSERT_EQ(::mkfifo(fifo.path().c_str(), 0600), 0);
  expectRefused(fifo, "Only regular files can be opened as binary documents.");
  expectRefused(FileLocation::fromPath("/dev/zero"),
                "Only regular files can be opened as binary documents.");

  const auto socketPlace = folder.location("socket");
  const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  ASSERT_LT(socketPlace.path().size(), sizeof address.sun_path);
  std::memcpy(address.sun_path, socketPlace.path().c_str(), socketPlace.path().size() + 1);
  ASSERT_EQ(::bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  expectRefused(socketPlace, "Only regular files can be opened as binary documents.");
  ::close(descriptor);
}

TEST_F(WindowLoading, refusesAFileThatMayNotBeRead) {
  FaultySystemCalls calls;
  const ScopedSystemCalls scope(calls);
  calls.fail(SystemCall::access, FaultySystemCalls::kEvery, EACCES);
  expectRefused(folder.write("data.bin", "x"), "The selected file is not readable.");
}

TEST_F(WindowLoading, reportsAReadErrorOfTheDisk) {
  FaultySystemCalls calls;
  const ScopedSystemCalls scope(calls);
  calls.fail(SystemCall::pread, 1, EIO);
  expectRefused(folder.write("data.bin", "x"), Error::posix(EIO).message());
}

TEST_F(WindowLoading, refusesAFileThatChangesWhileItIsRead) {
  FaultySystemCalls calls;
  const ScopedSystemCalls scope(calls);
  calls.before(SystemCall::pread, 1, [this] { folder.append("data.bin", "more"); });
  expectRefused(folder.write("data.bin", "x"),
                "The file changed while it was being read. Try again.");
}

TEST_F(WindowLoading, refusesAFileOverTheDocumentLimit) {
  const auto limit = QuillmorResourceLimits::maximumDocumentByteCount();
  const auto file = folder.write("huge.bin", "");
  ASSERT_EQ(::truncate(file.path().c_str(), limit + 1), 0);
  expectRefused(file, "The selected file exceeds the safe in-memory limit of " +
                          std::to_string(limit) + " bytes.");
}

TEST_F(WindowLoading, refusesWhatDoesNotExist) {
  const std::string message = Error::posix(ENOENT).message();
  expectRefused(folder.location("missing.bin"), message);
  std::filesystem::create_symlink("nowhere", folder.location("broken").path());
  expectRefused(folder.location("broken"), message);
}

TEST_F(WindowLoading, refusesAFileThatAnotherOperationWrites) {
  const auto file = folder.write("data.bin", "x");
  const auto writing = SecureFileAccess::reserveOutputURL(file);
  expectRefused(file, kBeingWritten);
}

TEST_F(WindowLoading, readsNoByteOfAFileThatAnotherOperationBeginsToWrite) {
  const auto file = folder.write("data.bin", "x");
  auto editor = makeEditor("before");
  FaultySystemCalls calls;
  const ScopedSystemCalls scope(calls);
  editor->commands().replacement().openURLInCurrentWindow(file, [](auto) {});
  const auto writing = SecureFileAccess::reserveOutputURL(file);
  platform.alerts.expect("Open Failed", kBeingWritten);
  platform.executor.runAll();
  EXPECT_EQ(calls.count(SystemCall::open), 0);
  EXPECT_EQ(editor.text(), "before");
}

TEST_F(WindowLoading, refusesALocationThatIsNoLocalFile) {
  expectRefused(FileLocation::fromURL("https://example.org/data.bin"),
                "The selected item is not a local file URL.");
}

TEST_F(WindowLoading, tellsOfAnOperationTheSystemCancelled) {
  const auto file = folder.write("data.bin", "hello");
  FaultySystemCalls calls;
  const ScopedSystemCalls scope(calls);
  calls.fail(SystemCall::pread, 1, ECANCELED);
  expectRefused(file, Error::posix(ECANCELED).message());
}

TEST_F(WindowLoading, makesTheRealFileBehindALinkTheDocumentsLocation) {
  std::filesystem::create_directory(folder.location("real").path());
  const auto file = folder.write("real/data.bin", "hello");
  std::filesystem::create_symlink(file.path(), folder.location("link.bin").path());
  std::filesystem::create_symlink("real", folder.location("folder-link").path());
  auto editor = makeEditor();
  editor->commands().replacement().openURLInCurrentWindow(folder.location("link.bin"), [](auto) {});
  EXPECT_EQ(editor.window->statusText, "Opening link.bin");
  platform.executor.runAll();
  EXPECT_EQ(editor.document->location(), file);
  auto other = makeEditor();
  EXPECT_EQ(open(other, folder.location("folder-link/data.bin")),
            OpenCurrentResult::broughtToFront);
}

TEST_F(WindowLoading, namesALinkThatItCannotOpenAsItWasGiven) {
  const auto file = folder.write("data.bin", "hello");
  std::filesystem::create_symlink(file.path(), folder.location("link.bin").path());
  auto editor = makeEditor("before");
  editor->commands().replacement().openURLInCurrentWindow(folder.location("link.bin"), [](auto) {});
  const auto writing = SecureFileAccess::reserveOutputURL(file);
  platform.alerts.expect("Open Failed",
                         "link.bin is currently being written by another save or export. Wait for "
                         "that operation to finish before opening or reading it.");
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "before");
}

TEST_F(WindowLoading, opensAndSavesTheFileTheSystemReachesByDotsBehindALink) {
  std::filesystem::create_directories(folder.location("far/sub").path());
  std::filesystem::create_directory_symlink("far/sub", folder.location("link").path());
  const auto lexical = folder.write("data.bin", "near");
  const auto reached = folder.write("far/data.bin", "far");
  auto editor = openEditor(folder.location("link/../data.bin"));
  EXPECT_EQ(editor.text(), "far");
  EXPECT_EQ(editor.document->location(), reached);
  type(editor, "t");
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  EXPECT_EQ(TemporaryFolder::read(reached), "tar");
  EXPECT_EQ(TemporaryFolder::read(lexical), "near");
}

TEST_F(WindowLoading, neverOpensThePartOfAPathBeforeANul) {
  const auto file = folder.write("data.bin", "hello");
  expectRefused(FileLocation::fromURL("file://" + file.path() + "%00.txt"),
                Error::posix(EINVAL).message());
}

TEST_F(WindowLoading, opensANameThatIsNotUtf8) {
  const auto file = folder.write("b\xFFn.\xFE", "hello");
  auto editor = openEditor(file);
  EXPECT_EQ(editor.text(), "hello");
  EXPECT_EQ(editor.document->location(), file);
}

TEST_F(WindowLoading, opensAnEmptyFile) {
  auto editor = makeEditor("before");
  EXPECT_EQ(open(editor, folder.write("empty.bin", "")), OpenCurrentResult::opened);
  EXPECT_EQ(editor.text(), "");
}

TEST_F(WindowLoading, intoAWindowThatHasClosedFails) {
  const auto file = folder.write("data.bin", "hello");
  auto editor = makeEditor("before");
  std::optional<Error> error;
  editor->commands().replacement().beginLoadFileInCurrentWindow(
      file, /*preservingEditorState=*/false,
      [&](const Result<OpenCurrentResult>& result) { error = result.error(); });
  platform.executor.runOneWork();
  editor.window->closeWindow();
  platform.executor.runAll();
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->message(), "The editor window was closed before the file finished opening.");
  EXPECT_EQ(editor.text(), "before");
  EXPECT_FALSE(editor->isBusy());
}

TEST_F(WindowLoading, intoAWindowThatHasGoneAltogetherFailsTheSame) {
  const auto file = folder.write("data.bin", "hello");
  std::optional<Error> error;
  {
    auto editor = makeEditor();
    editor->commands().replacement().beginLoadFileInCurrentWindow(
        file, /*preservingEditorState=*/false,
        [&](const Result<OpenCurrentResult>& result) { error = result.error(); });
    editor.window->closeWindow();
  }
  platform.executor.runAll();
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->message(), "The editor window was closed before the file finished opening.");
}

TEST_F(WindowLoading, tellsOfAWindowThatClosedMeanwhile) {
  const auto file = folder.write("data.bin", "hello");
  auto editor = makeEditor();
  editor->commands().replacement().openURLInCurrentWindow(file, [](auto) {});
  editor.window->closeWindow();
  platform.alerts.expect("Open Failed",
                         "The editor window was closed before the file finished opening.");
  platform.executor.runAll();
}

TEST_F(WindowLoading, ofAFileInAnotherWindowBringsThatToTheFront) {
  const auto file = folder.write("data.bin", "hello");
  std::filesystem::create_hard_link(file.path(), folder.location("hard.bin").path());
  std::filesystem::create_symlink(file.path(), folder.location("soft.bin").path());
  auto shown = openEditor(file);
  auto other = makeEditor("other");
  int timesInFront = 0;
  for (const char* name : {"data.bin", "hard.bin", "soft.bin", "./data.bin"}) {
    EXPECT_EQ(open(other, folder.location(name)), OpenCurrentResult::broughtToFront) << name;
    EXPECT_EQ(shown.window->broughtToFront, ++timesInFront) << name;
    EXPECT_EQ(other.text(), "other") << name;
  }
  EXPECT_EQ(other.document->location(), std::nullopt);
}

TEST_F(WindowLoading, noticesThatAnotherWindowWasFaster) {
  const auto file = folder.write("data.bin", "hello");
  auto first = makeEditor("first");
  auto second = makeEditor("second");
  std::vector<OpenCurrentResult> results;
  const auto remember = [&](OpenCurrentResult result) { results.push_back(result); };
  first->commands().replacement().openURLInCurrentWindow(file, remember);
  second->commands().replacement().openURLInCurrentWindow(file, remember);
  platform.executor.runAll();
  EXPECT_EQ(results, (std::vector{OpenCurrentResult::opened, OpenCurrentResult::broughtToFront}));
  EXPECT_EQ(first.text(), "hello");
  EXPECT_EQ(second.text(), "second");
  EXPECT_EQ(first.window->broughtToFront, 1);
  EXPECT_FALSE(second->isBusy());
}

TEST_F(WindowLoading, looksPastADocumentThatStillWaitsForItsOwnFirstLoad) {
  const auto file = folder.write("data.bin", "hello");
  auto waiting = openEditor(file);
  waiting.document->isPendingInitialLoad = true;
  auto editor = makeEditor();
  EXPECT_EQ(open(editor, file), OpenCurrentResult::opened);
  EXPECT_EQ(editor.text(), "hello");
}

TEST_F(WindowLoading, whileBusyIsRefused) {
  const auto file = folder.write("data.bin", "hello");
  auto editor = makeEditor("before");
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  std::optional<Error> error;
  editor->commands().replacement().beginLoadFileInCurrentWindow(
      file, false, [&](const Result<OpenCurrentResult>& result) { error = result.error(); });
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->code(), 409);
  EXPECT_EQ(error->message(), "Another operation is already running.");
  platform.alerts.expect("Open Failed", "Another operation is already running.");
  EXPECT_EQ(open(editor, file), OpenCurrentResult::failed);
  EXPECT_TRUE(editor->isBusy());
  busy.end();
  EXPECT_EQ(editor.text(), "before");
}

TEST_F(WindowLoading, stoppedChangesNothingAndSaysNothing) {
  const auto file = folder.write("data.bin", "hello");
  auto editor = makeEditor("before");
  OpenCurrentResult ended = OpenCurrentResult::opened;
  editor->commands().replacement().openURLInCurrentWindow(
      file, [&](OpenCurrentResult result) { ended = result; });
  editor->stopCurrentOperation();
  platform.executor.runAll();
  EXPECT_EQ(ended, OpenCurrentResult::cancelled);
  EXPECT_EQ(editor.text(), "before");
  EXPECT_EQ(editor.document->location(), std::nullopt);
  EXPECT_FALSE(editor->isBusy());
}

TEST_F(WindowLoading, hasAProgressBarThatCanStopIt) {
  auto editor = makeEditor();
  editor->commands().replacement().openURLInCurrentWindow(folder.write("data.bin", "hello"),
                                                          [](auto) {});
  platform.executor.advance(std::chrono::milliseconds(300));
  EXPECT_TRUE(editor.window->progressVisible);
  EXPECT_TRUE(editor.window->canStop);
  platform.executor.runAll();
  EXPECT_FALSE(editor.window->progressVisible);
}

}  // namespace
}  // namespace quillmor::test
