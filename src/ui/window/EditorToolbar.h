#pragma once

#include <QPushButton>
#include <QWidget>
#include <functional>
#include <string_view>
#include <vector>

class QAction;

namespace quillmor {

struct ToolbarItem;

/// The band of small buttons above the hex view. Buttons that do not fit go into the menu of one
/// more button at the end.
class EditorToolbar : public QWidget {
 public:
  using Perform = std::function<void(std::string_view action)>;

  EditorToolbar(const Perform& perform, QWidget* parent);

  /// The width that shows every button whole.
  int fittingWidth() const;

  QSize minimumSizeHint() const override;

  /// Enables or disables all buttons.
  void setButtonsEnabled(bool enabled);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  struct ToolbarButton {
    QPushButton* button;
    QAction* menuItem;  ///< takes the button's place when it does not fit
  };

  ToolbarButton makeButton(const ToolbarItem& item, const Perform& perform);
  QPushButton* makeOverflowButton();
  int widthOfButtons(std::size_t count) const;
  void showWhatFits();

  std::vector<ToolbarButton> toolbarButtons_;
  QPushButton* overflow_ = nullptr;
};

}  // namespace quillmor
