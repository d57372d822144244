#pragma once

#include <QPushButton>
#include <QWidget>
#include <functional>
#include <string_view>
#include <vector>

namespace quillmor {

/// The band of small buttons above the hex view.
class EditorToolbar : public QWidget {
 public:
  using Perform = std::function<void(std::string_view action)>;

  EditorToolbar(const Perform& perform, QWidget* parent);

  /// The width that shows every button whole.
  int fittingWidth() const;

  /// Enables the buttons whose commands an editor has, or disables all.
  void setButtonsEnabled(bool enabled);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  struct ToolbarButton {
    QPushButton* button;
    bool hasCommand;
  };
  std::vector<ToolbarButton> toolbarButtons_;
};

}  // namespace quillmor
