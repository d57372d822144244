#pragma once

#include "tools/analysis/ByteStatistics.h"
#include "ui/window/ReportWindow.h"

class QRadioButton;

namespace quillmor {

class HistogramView;

/// The report about the frequency of byte values with their histogram above it.
class FrequencyWindowController : public ReportWindow {
  Q_OBJECT

 public:
  FrequencyWindowController(const std::string& title, const std::string& report,
                            const ByteCounts& counts, SaveHandler save);

  HistogramView& histogram() { return *histogram_; }

 private:
  QWidget* makeScaleRow(QWidget* parent);

  HistogramView* histogram_;
};

}  // namespace quillmor
