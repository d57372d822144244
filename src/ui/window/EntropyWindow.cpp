#include "ui/window/EntropyWindow.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>
#include <utility>

#include "ui/window/ElidedLabel.h"
#include "ui/window/EntropyView.h"
#include "ui/window/QtText.h"

namespace quillmor {

namespace {

constexpr QSize kSize(880, 700);
constexpr QMargins kRowMargins(14, 4, 14, 8);

}  // namespace

EntropyWindow::EntropyWindow(const std::string& title, const std::string& report,
                             const EntropyMap& map, std::function<void(std::int64_t)> showOffset,
                             SaveHandler save)
    : ReportWindow(title, report, std::move(save)) {
  auto* pane = new QWidget(this);
  curve_ = new EntropyView(map, pane);
  connect(curve_, &ChartView::activated, this, [showOffset = std::move(showOffset)](qint64 chunk) {
    showOffset(EntropyCurve::offsetOf(chunk));
  });
  auto* layout = new QVBoxLayout(pane);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(curve_, 1);
  layout->addWidget(makeLine(pane));
  addChart(pane, kSize);
}

QWidget* EntropyWindow::makeLine(QWidget* parent) {
  auto* line = new QWidget(parent);
  auto* readout = new ElidedLabel(tr("Offset and entropy"), line);
  readout->setFullText(curve_->readout());
  connect(curve_, &ChartView::readoutChanged, readout, &ElidedLabel::setFullText);
  auto* layout = new QHBoxLayout(line);
  layout->setContentsMargins(kRowMargins);
  layout->addWidget(readout, 1);
  const QString coverage = toQString(curve_->curve().coverageNote());
  if (!coverage.isEmpty()) layout->addWidget(new QLabel(coverage, line));
  return line;
}

}  // namespace quillmor
