// Memory that runs out at any moment of a save or of a load: nothing is lost, and nothing waits for
// ever.

#include <fcntl.h>

#include <algorithm>
#include <filesystem>

#include "platform/RunInBackground.h"
#include "support/ApplicationFixture.h"
#include "support/FailingAllocation.h"
#include "support/FileAccessTest.h"

#if QUILLMOR_NEW_CAN_FAIL

namespace quillmor::test {
namespace {

/// An application whose operations are carried out with each of their allocations failing in turn.
class AllocationSweep : public ApplicationFixture {
 protected:
  AllocationSweep() { platform.alerts.acceptAnything(); }

  /// What an event loop does: an error ends one event and no more.
  void runEvents() {
    while (!resultOf([&] { return platform.executor.runAll(), Done(); }).isOk()) continue;
  }

  /// Does `operation`, its allocation `number` failing. False when it has no such allocation.
  bool failsAt(int number, const std::function<void()>& operation) {
    const FailingAllocation failing(number);
    resultOf([&] { return operation(), Done(); });
    runEvents();
    return failing.hasFailed();
  }

  /// Prepares, does `operation` and checks, until none of its allocations fails.
  void sweep(const std::function<void()>& prepare, const std::function<void()>& operation,
             const std::function<void(bool hasFailed)>& check) {
    int number = 0;
    bool hasFailed = true;
    while (hasFailed) {
      SCOPED_TRACE("allocation " + std::to_string(++number));
      prepare();
      hasFailed = failsAt(number, operation);
      expectAtRest();
      check(hasFailed);
      closeAll();
      if (HasFailure()) return;
    }
    EXPECT_GT(number, 20) << "the operation takes more memory than that";
  }

  void expectAtRest() const {
    for (const auto& shown : application.windows) {
      if (!shown.controller->hasWindow()) continue;
      EXPECT_FALSE(shown.controller->isBusy());
      EXPECT_TRUE(shown.controller->editor().isEditingEnabled());
      EXPECT_TRUE(shown.window->toolbarEnabled);
      EXPECT_FALSE(shown.controller->document().isPendingInitialLoad);
      EXPECT_EQ(shown.controller->editor().storage(), shown.controller->document().storage());
    }
    for (const Alert& alert : platform.alerts.shown())
      EXPECT_NE(alert.messageText, "The file has been changed by another program.");
  }

  void closeAll() {
    for (const auto& shown : application.windows) shown.controller->windowWillClose();
    application.windows.clear();
    EXPECT_TRUE(delegate.documents().documents().empty());
  }

  /// A window that shows "data.bin", which holds "hello", with its first byte changed to "J".
  void openEdited() {
    folder.write("data.bin", "hello");
    EXPECT_TRUE(openFiles({file}));
    editor = editorAt(0);
    editor.editor().setEditingArea(EditingArea::ascii);
    editor.editor().handleTextInput("J");
  }

  void expectSaves() {
    delegate.perform("forwardSaveDocument:");
    platform.executor.runAll();
    EXPECT_FALSE(editor.document->isDocumentEdited());
    EXPECT_EQ(TemporaryFolder::read(*editor.document->location()), "Jello");
  }

  void expectOpens(const std::string& name, const std::string& content) {
    EXPECT_TRUE(openFiles({folder.write(name, content)}));
    const auto current = delegate.currentHexWindowController();
    ASSERT_NE(current, nullptr);
    EXPECT_EQ(current->document().displayName(), name);
  }

  const FileLocation file = folder.location("data.bin");
  EditorUnderTest editor;
};

TEST_F(AllocationSweep, ofASave) {
  sweep([&] { openEdited(); }, [&] { delegate.perform("forwardSaveDocument:"); },
        [&](bool) {
          const std::string written = TemporaryFolder::read(file);
          EXPECT_TRUE(written == "hello" || written == "Jello") << written;
          EXPECT_EQ(editor.document->isDocumentEdited(), written == "hello");
          EXPECT_EQ(editor.window->isEdited, editor.document->isDocumentEdited());
          EXPECT_EQ(editor.text(), "Jello");
          EXPECT_TRUE(isUnreserved(file));
          expectSaves();
        });
}

TEST_F(AllocationSweep, ofASaveToAnotherPlace) {
  const auto chosen = folder.location("chosen.bin");
  for (const bool exists : {false, true}) {
    const auto prepare = [&] {
      openEdited();
      std::filesystem::remove(chosen.path());
      if (exists) folder.write("chosen.bin", "chosen");
      platform.filePanels.saveAnswers = {chosen};
    };
    const auto check = [&](bool) {
      EXPECT_EQ(TemporaryFolder::read(file), "hello");
      const bool isSaved = editor.document->location() == chosen;
      EXPECT_EQ(editor.document->isDocumentEdited(), !isSaved);
      EXPECT_EQ(editor.window->isEdited, !isSaved);
      if (exists || isSaved) {
        EXPECT_EQ(TemporaryFolder::read(chosen), isSaved ? "Jello" : "chosen");
      } else {
        EXPECT_FALSE(folder.exists("chosen.bin"));
      }
      EXPECT_EQ(editor.text(), "Jello");
      EXPECT_TRUE(isUnreserved(file));
      EXPECT_TRUE(isUnreserved(chosen));
      expectSaves();
    };
    sweep(
        prepare, [&] { delegate.perform("forwardSaveDocumentAs:"); }, check);
  }
}

TEST_F(AllocationSweep, ofOpeningAStateOfTheHistory) {
  const auto check = [&](bool hasFailed) {
    EXPECT_EQ(editor.text(), "Jello");
    EXPECT_TRUE(editor.document->isDocumentEdited());
    EXPECT_TRUE(editor->context().history().canOpen(0));
    if (hasFailed) return;
    ASSERT_EQ(openWindowCount(), 2U);
    EXPECT_EQ(editorAt(1).text(), "hello");
    EXPECT_TRUE(editorAt(1).document->isDocumentEdited());
  };
  sweep([&] { openEdited(); }, [&] { editor->commands().history().openState(0); }, check);
}

TEST_F(AllocationSweep, ofOpeningIntoTheWindow) {
  const auto prepare = [&] {
    folder.write("data.bin", "hello");
    delegate.newDocument();
    editor = editorAt(0);
  };
  const auto check = [&](bool hasFailed) {
    const bool isOpen = editor.document->location() == file;
    EXPECT_EQ(editor.text(), isOpen ? "hello" : "");
    EXPECT_EQ(editor.window->title, isOpen ? "data.bin" : "Untitled");
    EXPECT_FALSE(editor.document->isDocumentEdited());
    EXPECT_TRUE(isOpen || hasFailed);
    EXPECT_TRUE(isUnreserved(file));
    expectOpens("next.bin", "next");
    EXPECT_EQ(openWindowCount(), 1U);
  };
  sweep(
      prepare, [&] { delegate.openFiles({file}, [](bool) {}); }, check);
}

TEST_F(AllocationSweep, ofOpeningIntoANewWindow) {
  const auto prepare = [&] {
    folder.write("data.bin", "hello");
    folder.write("second.bin", "second");
    delegate.newDocument();
    editor = editorAt(0);
  };
  const auto check = [&](bool hasFailed) {
    for (const auto& document : delegate.documents().documents()) {
      ASSERT_EQ(document->windowControllers().size(), 1U);
      const std::string name = document->displayName();
      const auto bytes = document->storage()->bytes.span();
      const std::string content(bytes.begin(), bytes.end());
      EXPECT_EQ(content, name == "data.bin" ? "hello" : name == "second.bin" ? "second" : "");
    }
    EXPECT_TRUE(hasFailed || delegate.documents().documents().size() == 2);
    // Whatever has not been opened can be: nothing waits for it.
    EXPECT_TRUE(openFiles({file, folder.location("second.bin")}));
    for (const char* name : {"data.bin", "second.bin"}) {
      const auto shows = [&](const auto& document) { return document->displayName() == name; };
      EXPECT_EQ(std::ranges::count_if(delegate.documents().documents(), shows), 1) << name;
    }
  };
  sweep(
      prepare,
      [&] {
        delegate.openFiles({file, folder.location("second.bin")}, [](bool) {});
      },
      check);
}

TEST_F(AllocationSweep, ofARevertAndOfAReload) {
  for (const std::string_view command : {"forwardRevertDocument:", "forwardReloadFromDisk:"}) {
    const auto prepare = [&] {
      openEdited();
      if (command == "forwardReloadFromDisk:") editor->perform("forwardUndo:");
      folder.write("data.bin", "HELLO, hello");
    };
    const auto check = [&](bool hasFailed) {
      const bool isLoaded = editor.text() == "HELLO, hello";
      EXPECT_TRUE(isLoaded || hasFailed);
      const bool wasEdited = command == "forwardRevertDocument:";
      EXPECT_EQ(editor.text(), isLoaded ? "HELLO, hello" : wasEdited ? "Jello" : "hello");
      EXPECT_EQ(editor.document->isDocumentEdited(), !isLoaded && wasEdited);
      EXPECT_EQ(editor.window->isEdited, editor.document->isDocumentEdited());
      EXPECT_EQ(editor.document->undoManager().canUndo(), !isLoaded && wasEdited);
      editor->perform("forwardRevertDocument:");
      platform.executor.runAll();
      EXPECT_EQ(editor.text(), "HELLO, hello");
    };
    sweep(
        prepare, [&] { editor->perform(command); }, check);
  }
}

TEST_F(AllocationSweep, ofQuittingWithASave) {
  const auto check = [&](bool) {
    application.terminations = 0;
    const bool wasSaved = !editor.document->isDocumentEdited();
    delegate.requestQuit();
    platform.executor.runAll();
    EXPECT_EQ(application.terminations, 1);
    EXPECT_EQ(TemporaryFolder::read(file), "Jello") << wasSaved;
  };
  sweep([&] { openEdited(); }, [&] { delegate.requestQuit(); }, check);
}

}  // namespace
}  // namespace quillmor::test

#endif
