#include "window/commands/UtilityReport.h"

#include "base/Unicode.h"
#include "window/commands/WindowLimits.h"

namespace quillmor {

namespace {

constexpr std::string_view kTruncationNote =
    "\n\n[Report truncated in viewer to avoid excessive UI memory use. "
    "Export a report file for complete output when available.]\n";

}  // namespace

std::string truncatedUtilityReport(std::string_view report) {
  std::string shown(Unicode::prefixOfScalars(report, maxUtilityReportCharacters));
  if (shown.size() < report.size()) shown.append(kTruncationNote);
  return shown;
}

}  // namespace quillmor
