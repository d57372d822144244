#pragma once

#include <QLabel>
#include <QMainWindow>
#include <QPointer>
#include <functional>
#include <memory>
#include <vector>

#include "ui/window/FindReplacePanelController.h"
#include "window/HexWindowController.h"
#include "window/commands/EditorWindowSurface.h"

class QProgressBar;
class QPushButton;
class QShortcut;

namespace quillmor {

class EditorToolbar;
class ElidedLabel;
class HexEditorView;
class HexFileDropView;
class HistoryWindow;
class OutsideChangeRow;
class UtilityWindow;

/// The window of one editor: toolbar, hex view, status and inspector lines, notices. Shows what its
/// controller decides and hands on the user's input.
class EditorWindow : public QMainWindow, public EditorWindowSurface {
 public:
  /// The application's callbacks.
  struct Handlers {
    std::function<void(EditorWindow&)> didBecomeKey;
    std::function<void(EditorWindow&)> menusNeedValidation;
    std::function<void(EditorWindow&, std::string_view action)> perform;
    std::function<void(UtilityWindow&)> didOpenUtilityWindow;
    std::function<void(FindReplacePanelController&)> didMakePanel;
  };

  /// The content size of a new window, as far as the screen has room for it.
  static constexpr QSize kInitialSize{1120, 760};

  EditorWindow(std::shared_ptr<HexWindowController> controller,
               const FindReplacePanelServices& panelServices, Handlers handlers);
  ~EditorWindow() override;

  HexWindowController& controller() { return *controller_; }
  HexEditorView& editorView() { return *editorView_; }

  void setIdentity(const std::string& displayName, const std::optional<FileLocation>& represented,
                   bool isEdited) override;
  void setStatusText(const std::string& text) override;
  void setInspectorText(const std::string& text) override;
  void setNotice(const std::string& text) override;
  void setToolbarEnabled(bool enabled) override;
  void showProgress(double fraction, bool canStop) override;
  void hideProgress() override;
  void showOutsideChange(const std::string& text, OutsideChangeChoices choices) override;
  void hideOutsideChange() override;
  void revalidateMenus() override;
  void bringToFront() override;
  void closeWindow() override;
  void unregisterDrags() override;
  void openReportWindow(const std::string& title, const std::string& report) override;
  void openFrequencyWindow(const std::string& title, const std::string& report,
                           const ByteCounts& counts) override;
  void openEntropyWindow(const std::string& title, const std::string& report,
                         const EntropyMap& map) override;
  void openHistoryWindow() override;
  void closeUtilityWindows() override;
  void showFindReplacePanel(PanelKind kind, const SearchRequest& initialRequest) override;
  void closeFindReplacePanels() override;

 protected:
  void closeEvent(QCloseEvent* event) override;
  void changeEvent(QEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void moveEvent(QMoveEvent* event) override;

 private:
  void setupUI();
  OutsideChangeRow* makeOutsideChangeRow();
  QWidget* makeStatusRow();
  QLayout* makeInspectorRow();
  void acceptDrops();
  void limitMinimumSize();
  QRect roomOnScreen() const;
  void makeRoomForFrame();
  void keepOnScreen();
  bool mayCloseNow();
  FindReplacePanelController* makePanel(PanelKind kind, const SearchRequest& initialRequest);
  std::function<void(const std::string& title, const std::string& report)> saveHandler() const;
  void showUtilityWindow(UtilityWindow* window);
  void showOffsetUnlessBusy(std::int64_t offset);

  const std::shared_ptr<HexWindowController> controller_;
  const FindReplacePanelServices panelServices_;
  const Handlers handlers_;
  HexFileDropView* content_ = nullptr;
  EditorToolbar* toolbar_ = nullptr;
  HexEditorView* editorView_ = nullptr;
  OutsideChangeRow* outsideChange_ = nullptr;
  ElidedLabel* status_ = nullptr;
  ElidedLabel* inspector_ = nullptr;
  ElidedLabel* notice_ = nullptr;
  QProgressBar* progress_ = nullptr;
  QPushButton* stop_ = nullptr;
  QShortcut* stopShortcut_ = nullptr;
  std::vector<QPointer<UtilityWindow>> retainedUtilityWindows_;
  QPointer<HistoryWindow> historyWindow_;
  FindReplacePanelController* findPanelController_ = nullptr;
  FindReplacePanelController* replacePanelController_ = nullptr;
  bool closesWithoutAsking_ = false;
  bool hasPresentedInitialWindow_ = false;
  bool hasSeenFrame_ = false;
};

}  // namespace quillmor
