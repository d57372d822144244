#include "ui/window/FrequencyWindowController.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QRadioButton>
#include <QVBoxLayout>
#include <utility>

#include "ui/window/ElidedLabel.h"
#include "ui/window/HistogramView.h"

namespace quillmor {

namespace {

constexpr int kHeight = 700;
constexpr QMargins kRowMargins(14, 4, 14, 8);
const QColor kIndicatorGround(92, 92, 96);

QRadioButton* scaleButton(const QString& title, QWidget* parent) {
  auto* button = new QRadioButton(title, parent);
  QPalette palette = button->palette();
  palette.setColor(QPalette::Base, kIndicatorGround);
  palette.setColor(QPalette::Text, Qt::white);
  button->setPalette(palette);
  return button;
}

}  // namespace

FrequencyWindowController::FrequencyWindowController(const std::string& title,
                                                     const std::string& report,
                                                     const ByteCounts& counts, SaveHandler save)
    : ReportWindow(title, report, std::move(save)) {
  auto* pane = new QWidget(this);
  histogram_ = new HistogramView(counts, pane);
  auto* layout = new QVBoxLayout(pane);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(histogram_, 1);
  layout->addWidget(makeScaleRow(pane));
  addChart(pane, {histogram_->fittingWidth(), kHeight});
}

QWidget* FrequencyWindowController::makeScaleRow(QWidget* parent) {
  auto* row = new QWidget(parent);
  auto* readout = new ElidedLabel(tr("Byte value"), row);
  readout->setFullText(histogram_->readout());
  connect(histogram_, &ChartView::readoutChanged, readout, &ElidedLabel::setFullText);
  auto* linear = scaleButton(tr("Linear"), row);
  auto* logarithmic = scaleButton(tr("Logarithmic"), row);
  linear->setChecked(true);
  connect(logarithmic, &QRadioButton::toggled, this, [this](bool isOn) {
    histogram_->setScale(isOn ? HistogramScale::logarithmic : HistogramScale::linear);
  });

  auto* layout = new QHBoxLayout(row);
  layout->setContentsMargins(kRowMargins);
  layout->setSpacing(16);
  layout->addWidget(readout, 1);
  layout->addWidget(linear);
  layout->addWidget(logarithmic);
  return row;
}

}  // namespace quillmor
