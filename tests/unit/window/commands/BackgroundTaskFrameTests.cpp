// Long work of an editor window: the one busy state, progress, stopping, and the way results take
// back into the document.

#include <limits>

#include "support/WindowFixture.h"
#include "window/commands/WindowLimits.h"

namespace quillmor::test {
namespace {

using std::chrono::milliseconds;

class BackgroundTasks : public WindowFixture {
 protected:
  void SetUp() override { editor = makeEditor("hello"); }

  void expectBusyAlert() {
    platform.alerts.expect("Operation Busy", "Another operation is already running.");
  }

  /// Gives the document `count` bytes, zero but for the last.
  void makeLarge(std::int64_t count) {
    ByteBuffer bytes = ByteBuffer::uninitialized(count);
    std::ranges::fill(bytes.mutableSpan(), std::uint8_t{0});
    bytes.set(count - 1, 1);
    editor.document->readData(std::move(bytes));
  }

  /// Transforms the whole document by `work` through the frame and applies what comes out.
  void transform(SelectionEditing::MutationWork work) {
    const HexSelection all{0, editor.document->storage()->count()};
    SelectionEditing(editor->context())
        .runBackgroundSelectionMutationTask("Transforming…", all, std::move(work),
                                            [this, all](const Result<SelectionMutation>& result) {
                                              applied = SelectionEditing(editor->context())
                                                            .applyCompletedSelectionMutation(
                                                                result, all, "Invert", "Invert");
                                            });
  }

  static ByteBuffer inverted(std::span<const std::uint8_t> bytes, TaskProgress&) {
    ByteBuffer result(bytes);
    for (std::uint8_t& byte : result.mutableSpan()) byte = static_cast<std::uint8_t>(~byte);
    return result;
  }
  static ByteBuffer unchanged(std::span<const std::uint8_t> bytes, TaskProgress&) {
    return ByteBuffer(bytes);
  }

  EditorUnderTest editor;
  std::optional<bool> applied;
};

TEST_F(BackgroundTasks, showTheirStatusAndDisableTheWindow) {
  BusyScope busy = editor->context().frame().beginBusyStatus("Generating bytes…");
  ASSERT_TRUE(busy);
  EXPECT_TRUE(editor->isBusy());
  EXPECT_EQ(editor.window->statusText, "Generating bytes…");
  EXPECT_FALSE(editor.window->toolbarEnabled);
  EXPECT_FALSE(editor.editor().isEditingEnabled());
  const int revalidations = editor.window->revalidations;
  EXPECT_GT(revalidations, 0);
  busy.end();
  EXPECT_FALSE(editor->isBusy());
  EXPECT_TRUE(editor.window->toolbarEnabled);
  EXPECT_TRUE(editor.editor().isEditingEnabled());
  EXPECT_EQ(editor.window->statusText, editor->context().statusText());
  EXPECT_GT(editor.window->revalidations, revalidations);
}

TEST_F(BackgroundTasks, keepTheirStatusWhenTheCaretMovesMeanwhile) {
  BusyScope busy = editor->context().frame().beginBusyStatus("Generating bytes…");
  ASSERT_TRUE(busy);
  editor->perform("forwardGoToEnd:");
  EXPECT_EQ(editor.window->statusText, "Generating bytes…");
  busy.end();
  EXPECT_EQ(editor.window->statusText,
            "Size: 5 bytes  |  Offset: 0x00000005  |  Mode: Overwrite  |  Selection: 0");
}

TEST_F(BackgroundTasks, refuseTypingMeanwhile) {
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  type(editor, "x");
  EXPECT_EQ(editor.text(), "hello");
  EXPECT_EQ(platform.beeper.count, 1);
  busy.end();
}

TEST_F(BackgroundTasks, runOneAtATime) {
  std::optional<Result<int>> first;
  std::optional<Result<int>> second;
  editor->context().runBackgroundTask(
      "First…", [](TaskProgress&) { return 1; },
      std::function([&](Result<int> result) { first = result; }));
  expectBusyAlert();
  editor->context().runBackgroundTask(
      "Second…", [](TaskProgress&) { return 2; },
      std::function([&](Result<int> result) { second = result; }));
  EXPECT_EQ(platform.alerts.shown().back().buttons, std::vector<std::string>{"OK"});
  ASSERT_TRUE(second.has_value());
  EXPECT_EQ(second->error().code(), 409);
  EXPECT_EQ(second->error().domain(), ErrorDomain::quillmor);
  EXPECT_EQ(second->error().message(), "Another operation is already running.");
  EXPECT_TRUE(editor->isBusy());
  EXPECT_EQ(editor.window->statusText, "First…");
  platform.executor.runAll();
  ASSERT_TRUE(first.has_value());
  EXPECT_EQ(first->value(), 1);
  EXPECT_FALSE(editor->isBusy());
}

TEST_F(BackgroundTasks, endTheBusyStateBeforeTheirCompletion) {
  bool wasBusy = true;
  editor->context().runBackgroundTask(
      "Working…", [](TaskProgress&) { return 1; },
      std::function([&](Result<int>) { wasBusy = editor->isBusy(); }));
  platform.executor.runAll();
  EXPECT_FALSE(wasBusy);
}

TEST_F(BackgroundTasks, handOnTheirErrors) {
  std::optional<Error> error;
  const auto fails = [](TaskProgress&) -> int { throw Error::quillmor(77, "It failed."); };
  const auto runsOut = [](TaskProgress&) -> int { throw std::bad_alloc(); };
  const auto remember = std::function([&](Result<int> result) { error = result.error(); });
  editor->context().runBackgroundTask("Working…", fails, remember);
  platform.executor.runAll();
  EXPECT_EQ(error->code(), 77);
  editor->context().runBackgroundTask("Working…", runsOut, remember);
  platform.executor.runAll();
  EXPECT_EQ(error->code(), ENOMEM);
  EXPECT_FALSE(editor->isBusy());
}

TEST_F(BackgroundTasks, showProgressAfter300MillisecondsAndNotBefore) {
  editor->context().runBackgroundTask(
      "Working…", [](TaskProgress&) { return 1; }, std::function([](Result<int>) {}));
  platform.executor.advance(milliseconds(299));
  EXPECT_FALSE(editor.window->progressVisible);
  platform.executor.advance(milliseconds(1));
  EXPECT_TRUE(editor.window->progressVisible);
  EXPECT_TRUE(editor.window->canStop);
  EXPECT_LT(editor.window->fraction, 0) << "not known";
  EXPECT_EQ(editor.window->statusText, "Working…");
  platform.executor.runAll();
  EXPECT_FALSE(editor.window->progressVisible);
  platform.executor.advance(milliseconds(1000));
  EXPECT_FALSE(editor.window->progressVisible);
}

TEST_F(BackgroundTasks, showHowFarTheyHaveCome) {
  editor->context().runBackgroundTask(
      "Working…",
      [](TaskProgress& progress) {
        progress.setTotal(200);
        progress.advance(50);
        return 1;
      },
      std::function([](Result<int>) {}));
  platform.executor.runOneWork();
  platform.executor.advance(milliseconds(300));
  EXPECT_EQ(editor.window->fraction, 0.25);
  platform.executor.runAll();
}

TEST_F(BackgroundTasks, lastAsLongAsTheScopeThatIsHanded) {
  BusyScope outer;
  {
    BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
    BusyScope moved = std::move(busy);
    EXPECT_FALSE(busy);
    EXPECT_TRUE(moved);
    outer = std::move(moved);
  }
  EXPECT_TRUE(editor->isBusy());
  outer.end();
  EXPECT_FALSE(editor->isBusy());
  EXPECT_FALSE(outer);
  outer.end();
}

TEST_F(BackgroundTasks, leaveAScopeBehindThatOutlivesItsWindow) {
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  editor.window->closeWindow();
  editor.controller.reset();
  editor.document.reset();
  EXPECT_FALSE(busy);
}

TEST_F(BackgroundTasks, ofANewOperationStartWithoutTheProgressOfTheOld) {
  BusyScope busy = editor->context().frame().beginBusyStatus("First…");
  ASSERT_TRUE(busy);
  platform.executor.advance(milliseconds(200));
  busy.end();
  busy = editor->context().frame().beginBusyStatus("Second…");
  ASSERT_TRUE(busy);
  platform.executor.advance(milliseconds(299));
  EXPECT_FALSE(editor.window->progressVisible);
  platform.executor.advance(milliseconds(1));
  EXPECT_TRUE(editor.window->progressVisible);
  EXPECT_FALSE(editor.window->canStop);
  busy.end();
}

TEST_F(BackgroundTasks, stopAtTheNextCheckpoint) {
  int steps = 0;
  std::optional<Error> error;
  editor->context().runBackgroundTask(
      "Working…",
      [&](TaskProgress& progress) {
        for (; steps < 1000; ++steps) {
          if (steps == 3) editor->stopCurrentOperation();
          progress.checkpoint();
        }
        return steps;
      },
      std::function([&](Result<int> result) { error = result.error(); }));
  platform.executor.runAll();
  EXPECT_EQ(steps, 3);
  ASSERT_TRUE(error.has_value());
  EXPECT_TRUE(error->isStopped());
}

TEST_F(BackgroundTasks, stoppedChangeNothingAndShowNoAlert) {
  makeLarge(backgroundEditThresholdBytes);
  transform([](std::span<const std::uint8_t> bytes, TaskProgress& progress) {
    progress.checkpoint();
    return ByteBuffer(bytes);
  });
  editor->stopCurrentOperation();
  platform.executor.runAll();
  EXPECT_EQ(applied, false);
  EXPECT_FALSE(editor.document->isDocumentEdited());
}

TEST_F(BackgroundTasks, areForgottenWithTheirWindow) {
  bool completed = false;
  editor->context().runBackgroundTask(
      "Working…", [](TaskProgress&) { return 1; },
      std::function([&](Result<int>) { completed = true; }));
  platform.executor.advance(milliseconds(300));
  editor.window->closeWindow();
  editor.controller.reset();
  editor.document.reset();
  platform.executor.runAll();
  platform.executor.advance(milliseconds(1000));
  EXPECT_FALSE(completed);
}

TEST_F(BackgroundTasks, getSnapshotsThatLaterEditsDoNotReach) {
  std::string seen;
  HexSelection range;
  editor->context().runBackgroundSnapshotTask(
      "Reading…", {3, 100},
      [&](const ByteBuffer& bytes, HexSelection selection, TaskProgress&) {
        seen.assign(bytes.span().begin(), bytes.span().end());
        range = selection;
        return 1;
      },
      std::function([](Result<int>) {}));
  editor.document->storage()->bytes.set(0, 'J');
  platform.executor.runAll();
  EXPECT_EQ(seen, "hello");
  EXPECT_EQ(range, (HexSelection{3, 2}));
}

TEST_F(BackgroundTasks, transformAMebibyteLessOneAtOnce) {
  makeLarge(backgroundEditThresholdBytes - 1);
  const auto history = editor.window->statusHistory.size();
  transform(inverted);
  EXPECT_EQ(applied, true);
  EXPECT_FALSE(platform.executor.hasWork());
  for (std::size_t i = history; i < editor.window->statusHistory.size(); ++i) {
    EXPECT_NE(editor.window->statusHistory[i], "Transforming…");
  }
  EXPECT_EQ(editor.document->storage()->bytes[0], 0xFF);
}

TEST_F(BackgroundTasks, transformAMebibyteInTheBackground) {
  makeLarge(backgroundEditThresholdBytes);
  transform(inverted);
  EXPECT_EQ(applied, std::nullopt);
  EXPECT_TRUE(editor->isBusy());
  EXPECT_EQ(editor.window->statusText, "Transforming…");
  EXPECT_FALSE(editor.window->toolbarEnabled);
  platform.executor.runAll();
  EXPECT_EQ(applied, true);
  EXPECT_EQ(editor.document->storage()->bytes[0], 0xFF);
}

TEST_F(BackgroundTasks, refusedWhileBusyTellTheCompletion) {
  makeLarge(backgroundEditThresholdBytes);
  BusyScope busy = editor->context().frame().beginBusyStatus("First…");
  ASSERT_TRUE(busy);
  expectBusyAlert();
  std::optional<Error> error;
  SelectionEditing(editor->context())
      .runBackgroundSelectionMutationTask(
          "Transforming…", {0, backgroundEditThresholdBytes}, inverted,
          [&](const Result<SelectionMutation>& result) { error = result.error(); });
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->code(), 409);
  EXPECT_EQ(editor.window->statusText, "First…");
  busy.end();
}

TEST_F(BackgroundTasks, recordOneUndoStepAndSelectTheResult) {
  editor.editor().setCaretOffset(4);
  SelectionEditing(editor->context())
      .runBackgroundSelectionMutationTask(
          "Transforming…", {1, 2}, inverted, [this](const Result<SelectionMutation>& result) {
            applied = SelectionEditing(editor->context())
                          .applyCompletedSelectionMutation(result, {1, 2}, "Invert", "Invert");
          });
  EXPECT_EQ(applied, true);
  EXPECT_EQ(editor.text(), "h\x9A\x93lo");
  EXPECT_EQ(editor.editor().caretOffset(), 1);
  EXPECT_EQ(editor.editor().selection(), (HexSelection{1, 2}));
  EXPECT_EQ(editor.document->undoManager().undoActionName(), "Invert");
  EXPECT_TRUE(editor.window->isEdited);
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "hello");
  EXPECT_EQ(editor.editor().caretOffset(), 4);
  EXPECT_FALSE(editor.window->isEdited);
  editor->perform("forwardRedo:");
  EXPECT_EQ(editor.text(), "h\x9A\x93lo");
  EXPECT_TRUE(editor.window->isEdited);
}

TEST_F(BackgroundTasks, withEqualResultsLeaveTheDocumentUnmarked) {
  transform(unchanged);
  EXPECT_EQ(applied, false);
  EXPECT_FALSE(editor.document->undoManager().canUndo());
  EXPECT_FALSE(editor.window->isEdited);
}

TEST_F(BackgroundTasks, thatNoLongerFitAreRefused) {
  makeLarge(backgroundEditThresholdBytes);
  transform(inverted);
  editor.document->storage()->bytes.replace(0, 1, {});
  platform.alerts.expect("Invert", "The selected range changed before the operation completed.");
  platform.executor.runAll();
  EXPECT_EQ(applied, false);
  EXPECT_FALSE(editor.document->undoManager().canUndo());
  EXPECT_FALSE(editor.window->isEdited);
}

TEST_F(BackgroundTasks, showTheirErrorsUnderTheirName) {
  platform.alerts.expect("Invert Failed", "No luck.");
  transform([](std::span<const std::uint8_t>, TaskProgress&) -> ByteBuffer {
    throw Error::quillmor(1, "No luck.");
  });
  EXPECT_EQ(applied, false);
  EXPECT_FALSE(editor.window->isEdited);
}

}  // namespace
}  // namespace quillmor::test
