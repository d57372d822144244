#pragma once

#include "tools/analysis/ByteStatistics.h"
#include "ui/window/ReportWindow.h"

namespace quillmor {

class EntropyView;

/// The report of an entropy map with its curve above it.
class EntropyWindow : public ReportWindow {
  Q_OBJECT

 public:
  /// `showOffset` gets the offset of a chunk that the user chose in the curve.
  EntropyWindow(const std::string& title, const std::string& report, const EntropyMap& map,
                std::function<void(std::int64_t)> showOffset, SaveHandler save);

  EntropyView& curve() { return *curve_; }

 private:
  QWidget* makeLine(QWidget* parent);

  EntropyView* curve_;
};

}  // namespace quillmor
