#include "blackbox/BlackBoxTest.h"

#include <signal.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <stdexcept>

namespace quillmor::test {

namespace {

constexpr const char* kBusName = "accessibility";

bool isDialog(const Accessible& window) {
  const std::string role = window.role();
  return role == "dialog" || role == "alert message";
}

}  // namespace

Status::operator std::string() const {
  char offsetText[32];
  std::snprintf(offsetText, sizeof offsetText, "0x%08llX", static_cast<unsigned long long>(offset));
  return "Size: " + std::to_string(size) + " bytes  |  Offset: " + offsetText +
         "  |  Mode: " + mode + "  |  Selection: " + std::to_string(selection);
}

BlackBoxTest::BlackBoxTest()
    : desktop_(std::make_unique<Desktop>()),
      bus_(std::make_unique<QDBusConnection>(QDBusConnection::connectToBus(
          QString::fromStdString(desktop_->accessibilityAddress()), kBusName))) {
  if (!bus_->isConnected()) throw std::runtime_error("no connection to the accessibility bus");
}

BlackBoxTest::~BlackBoxTest() {
  if (HasFailure()) std::fputs(outline().c_str(), stderr);
  program_.reset();
  earlierPrograms_.clear();
  bus_.reset();
  QDBusConnection::disconnectFromBus(kBusName);
}

void BlackBoxTest::start(const std::vector<std::string>& arguments, std::size_t windowCount) {
  startThrough({}, arguments, windowCount);
}

void BlackBoxTest::startThrough(std::vector<std::string> command,
                                const std::vector<std::string>& arguments,
                                std::size_t windowCount) {
  command.emplace_back(QUILLMOR_PROGRAM);
  command.insert(command.end(), arguments.begin(), arguments.end());
  if (program_) earlierPrograms_.push_back(std::move(program_));
  program_ = std::make_unique<ChildProcess>(command, desktop_->environment());
  const bool isShown = waitUntil([&] {
    return !program_->isRunning() || (windows().size() >= windowCount && activeWindow());
  });
  ASSERT_TRUE(isShown && program_->isRunning()) << program_->errors() << outline();
}

std::unique_ptr<ChildProcess> BlackBoxTest::runWithoutDisplay(
    const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {QUILLMOR_PROGRAM};
  command.insert(command.end(), arguments.begin(), arguments.end());
  auto process = std::make_unique<ChildProcess>(command, desktop_->environmentWithoutDisplay());
  EXPECT_TRUE(process->waitForExit()) << "still running";
  return process;
}

std::optional<Accessible> BlackBoxTest::application() const {
  if (!program_) return std::nullopt;
  return findApplication(*bus_, static_cast<unsigned>(program_->id()));
}

std::vector<Accessible> BlackBoxTest::windows() const {
  const auto root = application();
  if (!root) return {};
  std::vector<Accessible> windows = root->children();
  std::erase_if(windows, [](const Accessible& window) { return !window.isVisible(); });
  return windows;
}

std::optional<Accessible> BlackBoxTest::activeWindow() const {
  for (const Accessible& window : windows()) {
    if (window.isActive()) return window;
  }
  return std::nullopt;
}

std::optional<Accessible> BlackBoxTest::dialog() const {
  const auto window = activeWindow();
  return window && isDialog(*window) ? window : std::nullopt;
}

std::optional<Accessible> BlackBoxTest::hexView() const {
  const auto window = activeWindow();
  if (!window) return std::nullopt;
  const auto texts = window->allWithRole("text");
  return texts.empty() ? std::nullopt : std::optional(texts.front());
}

std::string BlackBoxTest::status() const {
  const auto window = activeWindow();
  if (!window) return "";
  for (const Accessible& line : window->allWithRole("label")) {
    if (line.description() == "Status") return line.name();
  }
  return "";
}

std::string BlackBoxTest::alertLine(const std::string& purpose) const {
  const auto window = activeWindow();
  if (!window) return "";
  for (const Accessible& alert : window->allWithRole("alert message")) {
    if (alert.isVisible() && alert.description() == purpose) return alert.name();
  }
  return "";
}

std::string BlackBoxTest::shownRows() const {
  const auto view = hexView();
  return view ? view->text() : "";
}

std::string BlackBoxTest::outline() const {
  const auto root = application();
  return root ? root->outline() : "no program on the accessibility bus\n";
}

void BlackBoxTest::press(const std::vector<std::string>& keys) {
  waitForFocus();
  desktop_->press(keys);
}

void BlackBoxTest::type(const std::string& text) {
  waitForFocus();
  desktop_->type(text);
}

void BlackBoxTest::waitForFocus() {
  // Keys go nowhere while the window manager moves the focus from one window to the next.
  EXPECT_TRUE(waitUntil([this] {
    const auto window = activeWindow();
    return window && window->name() == desktop_->activeWindowTitle();
  })) << desktop_->activeWindowTitle()
      << "\n"
      << outline();
}

void BlackBoxTest::clickHexCell(int row, int column) {
  const ScreenPoint place = placeOf({row, column});
  desktop_->click(place.x, place.y);
}

void BlackBoxTest::clickAsciiCell(int row, int column) {
  const ScreenPoint place = characterPlace(row, 10 + 16 * 3 + 1 + column);
  desktop_->click(place.x, place.y);
}

void BlackBoxTest::clickHexCellAndMoveOn(HexCell cell, HexCell next) {
  desktop_->clickAndMoveOn(placeOf(cell), placeOf(next));
}

void BlackBoxTest::dragHexCells(HexCell from, HexCell to) {
  desktop_->drag(placeOf(from), placeOf(to));
}

ScreenPoint BlackBoxTest::placeOf(HexCell cell) const {
  return characterPlace(cell.row, 10 + cell.column * 3);
}

ScreenPoint BlackBoxTest::characterPlace(int row, int columnInLine) const {
  const auto view = hexView();
  EXPECT_TRUE(view) << outline();
  if (!view) return {};
  const std::string text = view->text();
  std::size_t lineStart = 0;
  for (int i = 0; i < row; ++i) lineStart = text.find('\n', lineStart) + 1;
  const ScreenRect cell = view->characterRect(static_cast<int>(lineStart) + columnInLine);
  EXPECT_GT(cell.width, 0) << text;
  return {cell.x + cell.width / 2, cell.y + cell.height / 2};
}

void BlackBoxTest::clickButton(const std::string& title) {
  const auto window = activeWindow();
  const auto button = window ? window->named(title) : std::nullopt;
  ASSERT_TRUE(button) << title << "\n" << outline();
  const ScreenRect rect = button->rect();
  desktop_->click(rect.x + rect.width / 2, rect.y + rect.height / 2);
}

void BlackBoxTest::expectStatus(const std::string& expected) {
  EXPECT_TRUE(waitUntil([&] { return status() == expected; }))
      << "expected: " << expected << "\nshown: " << status();
}

void BlackBoxTest::expectNotice(const std::string& expected) {
  EXPECT_TRUE(waitUntil([&] { return alertLine("Notice") == expected; }))
      << "expected: " << expected << "\n"
      << outline();
}

void BlackBoxTest::expectOutsideChange(const std::string& text) {
  EXPECT_TRUE(waitUntil([&] { return alertLine("Change on disk") == text; }))
      << "expected: " << text << "\n"
      << outline();
}

void BlackBoxTest::expectNoOutsideChangeForAWhile() {
  using namespace std::chrono_literals;
  const auto end = std::chrono::steady_clock::now() + 1500ms;
  while (std::chrono::steady_clock::now() < end) ASSERT_EQ(alertLine("Change on disk"), "");
}

void BlackBoxTest::expectTitle(const std::string& title) {
  EXPECT_TRUE(waitUntil([&] { return desktop_->activeWindowTitle() == title; }))
      << "expected: " << title << "\nshown: " << desktop_->activeWindowTitle();
}

void BlackBoxTest::expectWindows(std::vector<std::string> titles) {
  std::sort(titles.begin(), titles.end());
  std::vector<std::string> shown;
  const bool areShown = waitUntil([&] {
    shown.clear();
    for (const Accessible& window : windows()) shown.push_back(window.name());
    std::sort(shown.begin(), shown.end());
    return shown == titles;
  });
  EXPECT_TRUE(areShown) << testing::PrintToString(shown);
}

ShownAlert BlackBoxTest::expectAlert(const std::string& message) {
  ShownAlert alert;
  const bool isShown = waitUntil([&] {
    const auto shown = dialog();
    if (!shown) return false;
    alert = {};
    for (const Accessible& label : shown->allWithRole("label")) alert.texts.push_back(label.name());
    for (const Accessible& button : shown->allWithRole("push button")) {
      alert.buttons.push_back(button.name());
      if (button.isFocused()) alert.focusedButton = button.name();
    }
    return std::find(alert.texts.begin(), alert.texts.end(), message) != alert.texts.end();
  });
  EXPECT_TRUE(isShown) << "expected: " << message << "\n" << outline();
  return alert;
}

void BlackBoxTest::expectNoAlert() {
  EXPECT_TRUE(waitUntil([this] { return activeWindow() && !dialog(); })) << outline();
}

void BlackBoxTest::expectContent(const FileLocation& file, const std::string& content) {
  EXPECT_TRUE(waitUntil([&] { return TemporaryFolder::read(file) == content; }))
      << TemporaryFolder::read(file);
}

void BlackBoxTest::expectSaved(const FileLocation& file, const std::string& content) {
  expectContent(file, content);
  EXPECT_TRUE(waitUntil([&] {
    return std::ranges::any_of(windows(), [&](const Accessible& window) {
      return window.name() == file.lastPathComponent();
    });
  })) << outline();
}

void BlackBoxTest::expectQuitBy(const std::vector<std::string>& keys) {
  press(keys);
  expectQuit();
}

void BlackBoxTest::killProgram(int signal) {
  ::kill(program_->id(), signal);
  EXPECT_EQ(program_->waitForExit(), 128 + signal);
}

void BlackBoxTest::expectQuit() {
  EXPECT_EQ(program_->waitForExit(), 0) << program_->errors() << outline();
}

}  // namespace quillmor::test
