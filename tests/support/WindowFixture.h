#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "document/DocumentController.h"
#include "document/DocumentSaver.h"
#include "support/TemporaryFolder.h"
#include "support/TestPlatform.h"
#include "window/HexWindowController.h"
#include "window/commands/EditorWindowSurface.h"

namespace quillmor::test {

/// A window that remembers what it was told.
class FakeEditorWindow : public EditorWindowSurface {
 public:
  std::string title;
  std::optional<FileLocation> represented;
  bool isEdited = false;
  std::string statusText;
  std::vector<std::string> statusHistory;
  std::string inspectorText;
  std::string notice;
  std::string outsideChange;
  OutsideChangeChoices outsideChoices;
  int outsideChangesShown = 0;
  bool toolbarEnabled = true;
  bool progressVisible = false;
  bool canStop = false;
  double fraction = 0;
  int broughtToFront = 0;
  int revalidations = 0;
  bool closed = false;
  bool dragsUnregistered = false;
  bool utilityWindowsClosed = false;
  int historyWindowsOpened = 0;
  std::vector<std::pair<std::string, std::string>> reports;
  std::vector<ByteCounts> histograms;
  std::vector<EntropyMap> entropyMaps;
  std::vector<std::pair<PanelKind, SearchRequest>> panelsShown;
  bool panelsClosed = false;
  HexWindowController* controller = nullptr;
  /// How often `setIdentity` runs out of memory from now on.
  int identityFailures = 0;

  void setIdentity(const std::string& displayName, const std::optional<FileLocation>& location,
                   bool edited) override;
  void setStatusText(const std::string& text) override;
  void setInspectorText(const std::string& text) override { inspectorText = text; }
  void setNotice(const std::string& text) override { notice = text; }
  void setToolbarEnabled(bool enabled) override { toolbarEnabled = enabled; }
  void showProgress(double part, bool stoppable) override;
  void hideProgress() override { progressVisible = false; }
  void showOutsideChange(const std::string& text, OutsideChangeChoices choices) override {
    outsideChange = text;
    outsideChoices = choices;
    ++outsideChangesShown;
  }
  void hideOutsideChange() override { outsideChange.clear(); }
  void revalidateMenus() override { ++revalidations; }
  void bringToFront() override { ++broughtToFront; }
  void closeWindow() override;
  void unregisterDrags() override { dragsUnregistered = true; }
  void openReportWindow(const std::string& reportTitle, const std::string& report) override {
    reports.emplace_back(reportTitle, report);
  }
  void openFrequencyWindow(const std::string& reportTitle, const std::string& report,
                           const ByteCounts& counts) override {
    reports.emplace_back(reportTitle, report);
    histograms.push_back(counts);
  }
  void openEntropyWindow(const std::string& reportTitle, const std::string& report,
                         const EntropyMap& map) override {
    reports.emplace_back(reportTitle, report);
    entropyMaps.push_back(map);
  }
  void openHistoryWindow() override { ++historyWindowsOpened; }
  void closeUtilityWindows() override { utilityWindowsClosed = true; }
  void showFindReplacePanel(PanelKind kind, const SearchRequest& initialRequest) override {
    panelsShown.emplace_back(kind, initialRequest);
  }
  void closeFindReplacePanels() override { panelsClosed = true; }
};

/// One editor with its fake window.
struct EditorUnderTest {
  std::shared_ptr<HexDocument> document;
  std::shared_ptr<HexWindowController> controller;
  std::shared_ptr<FakeEditorWindow> window;

  HexWindowController* operator->() const { return controller.get(); }
  std::string text() const;
  HexEditorState& editor() const { return controller->editor(); }
};

/// The base of tests of an editor window: a platform under control and documents in it.
class WindowFixture : public testing::Test {
 protected:
  /// Without `safetyCopies` documents are saved without any.
  explicit WindowFixture(std::shared_ptr<SafetyCopies> safetyCopies = nullptr)
      : saver(platform.executor, documents, std::move(safetyCopies)) {}
  ~WindowFixture() override;

  /// A new untitled editor holding `content`, without unsaved changes.
  EditorUnderTest makeEditor(std::string_view content = "");

  /// An editor that has loaded `location`.
  EditorUnderTest openEditor(const FileLocation& location);

  /// The same with an unsaved change: its first byte is "J".
  EditorUnderTest openEdited(const FileLocation& location);

  /// Types `text` into the ASCII column at the caret.
  static void type(const EditorUnderTest& editor, std::string_view text);

  /// Types hex digits into the hex column at the caret.
  static void typeHex(const EditorUnderTest& editor, std::string_view digits);

  TemporaryFolder folder;
  TestPlatform platform;
  DocumentController documents;
  DocumentSaver saver;
  /// Where the editors made from now on keep unsaved changes.
  const RecordStore* records = nullptr;
  /// What the editors made from now on leave behind.
  Traces traces = Traces::kept;

 private:
  std::vector<std::shared_ptr<FakeEditorWindow>> windows_;  ///< outlive the controllers
};

}  // namespace quillmor::test
