#pragma once

#include <QPlainTextEdit>
#include <cstdint>
#include <optional>

#include "window/FoldedLines.h"
#include "window/TextMatches.h"

namespace quillmor {

/// The text of a report: read-only, monospaced, with all places of a searched text marked. Very
/// long lines are shown broken, but copied whole. U+0000 is replaced by its symbol. Places count
/// UTF-16 units of the report.
class ReportText : public QPlainTextEdit {
 public:
  explicit ReportText(QWidget* parent);

  void setReport(const QString& report);

  /// Marks every place of `needle`, ignoring case; none if it is empty.
  void markMatches(const QString& needle);
  std::int64_t matchCount() const { return matches_.count(); }

  // Select a match, show it and return its index; absent without matches.

  /// The selected match or the next one after it; after the last, the first again.
  std::optional<std::int64_t> selectNearestMatch();
  std::optional<std::int64_t> selectNextMatch();
  std::optional<std::int64_t> selectPreviousMatch();

 protected:
  QMimeData* createMimeDataFromSelection() const override;
  void paintEvent(QPaintEvent* event) override;

 private:
  std::int64_t selectionStart() const;
  std::int64_t selectionEnd() const;
  std::optional<std::int64_t> select(std::optional<std::int64_t> index);
  void paintMatches(QPainter& painter);
  void paintMatchesIn(QPainter& painter, const QTextBlock& block, const QRectF& place);

  QString report_;
  QString caseFolded_;  ///< the report without letter case, unit by unit; made when first needed
  FoldedLines lines_;
  TextMatches matches_;
};

}  // namespace quillmor
