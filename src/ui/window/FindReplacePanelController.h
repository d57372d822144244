#pragma once

#include <QDialog>
#include <functional>
#include <memory>
#include <optional>

#include "search/SearchRequest.h"
#include "window/commands/EditorWindowSurface.h"

class QBoxLayout;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QPushButton;
class QRadioButton;
class QTabBar;

namespace quillmor {

class HexWindowController;
class HistoryComboBox;
class SearchHistory;
struct SearchHistories;

/// The services that the panels of all editors use, and that outlive them.
struct FindReplacePanelServices {
  SearchHistories& histories;
};

/// The find panel, or the replace panel. It stays above its editor's window without blocking it,
/// collects a request and hands it to the editor's controller, which does all the searching.
/// Closing only hides it.
class FindReplacePanelController : public QDialog {
 public:
  /// `ownerWindow` owns the panel; `owner` is its controller. `didBecomeKey` is called when the
  /// panel becomes the active window.
  FindReplacePanelController(PanelKind kind, std::weak_ptr<HexWindowController> owner,
                             const FindReplacePanelServices& services,
                             std::function<void()> didBecomeKey, QWidget* ownerWindow);

  PanelKind kind() const { return kind_; }

  /// Brings the panel to the front with the search text selected, so that typing replaces it. A
  /// hidden panel appears over its owner, a visible one stays where the user put it.
  void showWindow();

  /// Centres the panel over its owner's window, inside the visible frame of the owner's screen.
  void positionRelativeToOwner();

  SearchMode selectedMode() const;

  /// Returns the request in the controls. Absent when there is nothing to search for: no text, or
  /// only white space in the modes that read numbers.
  std::optional<SearchRequest> buildRequest() const;
  /// The reason why `buildRequest` returns nothing.
  std::string refusalOfRequest() const;

  /// Fills the controls from a request; a find panel has none for the replacement.
  void apply(const SearchRequest& request);

  // The next two do nothing once the owner has closed. Without a request they beep, and the owner
  // shows the reason.

  /// Find, or replace. The OK button, and Return anywhere in the panel.
  void handlePrimaryAction();

  /// Find all, or replace all.
  void handleSecondaryAction();

  /// Closes the panel and stops its editor's task, as Escape in the editor does.
  void handleCancel();

  /// Turns one of the radio buttons for the direction on and the other two off; the Tab key stops
  /// at the one that is on.
  void handleDirectionSelection(QRadioButton& chosen);

  /// Another mode was chosen: shows or hides the controls that only text has.
  void tabViewDidSelect(int index);

  /// Escape.
  void reject() override { handleCancel(); }

 protected:
  void changeEvent(QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  using Operation = void (*)(HexWindowController& owner, const SearchRequest& request);

  void setupUI();
  void setSize(QSize size);
  QTabBar* makeTabView();
  QBoxLayout* makeForm();
  QBoxLayout* makeRow(QLabel* label, QWidget* field);
  QLabel* makeLabel(const QString& text, QWidget* buddy);
  QWidget* makeEncodingRow();
  QGroupBox* makeOptionsBox();
  QGroupBox* makeDirectionBox();
  QBoxLayout* makeButtonRow();
  void nameControls();
  SearchDirection selectedDirection() const;
  void handOver(Operation operation);
  void remember(const SearchRequest& request);

  const PanelKind kind_;
  const std::weak_ptr<HexWindowController> hexWindowController_;
  const FindReplacePanelServices services_;
  const std::function<void()> didBecomeKey_;

  QTabBar* tabView_ = nullptr;
  QLabel* searchLabel_ = nullptr;
  HistoryComboBox* searchField_ = nullptr;
  QLabel* replaceLabel_ = nullptr;           ///< null in a find panel
  HistoryComboBox* replaceField_ = nullptr;  ///< null in a find panel
  QWidget* encodingRow_ = nullptr;
  QLabel* encodingLabel_ = nullptr;
  QComboBox* encodingPopup_ = nullptr;
  QGroupBox* optionsBox_ = nullptr;
  QCheckBox* caseSensitiveCheckbox_ = nullptr;
  QCheckBox* promptCheckbox_ = nullptr;  ///< null in a find panel
  QGroupBox* directionBox_ = nullptr;
  QRadioButton* allRadio_ = nullptr;
  QRadioButton* forwardRadio_ = nullptr;
  QRadioButton* backwardRadio_ = nullptr;
  QPushButton* primaryButton_ = nullptr;
  QPushButton* secondaryButton_ = nullptr;
  QPushButton* cancelButton_ = nullptr;
};

}  // namespace quillmor
