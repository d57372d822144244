#pragma once

#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "blackbox/Accessible.h"
#include "blackbox/ChildProcess.h"
#include "blackbox/Desktop.h"
#include "support/TemporaryFolder.h"

namespace quillmor::test {

/// A dialog as the user reads it.
struct ShownAlert {
  std::vector<std::string> texts;
  std::vector<std::string> buttons;
  std::string focusedButton;
};

/// A byte of the shown rows.
struct HexCell {
  int row = 0;
  int column = 0;
};

/// Tests of the real program: started on a desktop of its own, driven by keys and clicks, and
/// judged by what it shows and by what it leaves on the disk.
class BlackBoxTest : public testing::Test {
 protected:
  BlackBoxTest();
  ~BlackBoxTest() override;

  /// Starts the editor and waits until it shows at least `windowCount` windows, one of them with
  /// the keys. An editor that was started before goes on; what follows is about the new one.
  void start(const std::vector<std::string>& arguments, std::size_t windowCount = 1);
  /// Starts the editor as the last argument of another command, like "prlimit".
  void startThrough(std::vector<std::string> command, const std::vector<std::string>& arguments,
                    std::size_t windowCount = 1);
  /// Runs the editor where no display is, to its end.
  std::unique_ptr<ChildProcess> runWithoutDisplay(const std::vector<std::string>& arguments);

  /// Presses keys, types text and clicks like a user in front of the active window.
  void press(const std::vector<std::string>& keys);
  void type(const std::string& text);
  /// Clicks on a byte of the shown rows.
  void clickHexCell(int row, int column);
  void clickAsciiCell(int row, int column);
  /// Clicks on a byte in the hex column, and has the pointer on another byte before the program
  /// hears of it.
  void clickHexCellAndMoveOn(HexCell cell, HexCell next);
  /// Drags from one byte in the hex column to another as fast.
  void dragHexCells(HexCell from, HexCell to);

  /// Clicks on a button of the active window.
  void clickButton(const std::string& title);

  /// Waits for the status line of the active editor window.
  void expectStatus(const std::string& status);
  /// Waits for the notice in the status area of the active editor window; "" for none.
  void expectNotice(const std::string& notice);
  /// Waits for the line about a change on disk in the active editor window; "" for none.
  void expectOutsideChange(const std::string& text);
  /// Looks for such a line for longer than one takes to come.
  void expectNoOutsideChangeForAWhile();
  /// Waits for the title of the active window; "*" is the mark of unsaved changes.
  void expectTitle(const std::string& title);
  /// Waits for the titles of all windows, in any order.
  void expectWindows(std::vector<std::string> titles);
  /// Waits for a dialog that holds the text `message`, and returns it.
  ShownAlert expectAlert(const std::string& message);
  void expectNoAlert();
  /// Waits until the file has this content.
  void expectContent(const FileLocation& file, const std::string& content);
  /// Waits until the file has this content and its window knows that it is saved: the bytes are in
  /// the file some time before the disk has them.
  void expectSaved(const FileLocation& file, const std::string& content);
  /// Waits for the program's end.
  void expectQuit();
  /// Ends the program at once, as a crash would, or with another signal.
  void killProgram(int signal = SIGKILL);
  /// Presses `keys` and waits for the program's end.
  void expectQuitBy(const std::vector<std::string>& keys);

  /// The rows that the active editor window shows.
  std::string shownRows() const;
  bool isRunning() { return program_->isRunning(); }
  pid_t processId() const { return program_->id(); }
  const Desktop& desktop() const { return *desktop_; }

  TemporaryFolder folder;

 private:
  std::optional<Accessible> application() const;
  std::vector<Accessible> windows() const;
  std::optional<Accessible> activeWindow() const;
  std::optional<Accessible> dialog() const;
  std::optional<Accessible> hexView() const;
  std::string status() const;
  std::string alertLine(const std::string& purpose) const;
  void waitForFocus();
  ScreenPoint characterPlace(int row, int columnInLine) const;
  ScreenPoint placeOf(HexCell cell) const;
  std::string outline() const;

  std::unique_ptr<Desktop> desktop_;
  std::unique_ptr<QDBusConnection> bus_;
  std::unique_ptr<ChildProcess> program_;
  std::vector<std::unique_ptr<ChildProcess>> earlierPrograms_;
};

/// The status line of an editor window.
struct Status {
  std::int64_t size = 0;
  std::int64_t offset = 0;
  std::string mode = "Overwrite";
  std::int64_t selection = 0;
  operator std::string() const;  // NOLINT(google-explicit-constructor)
};

}  // namespace quillmor::test
