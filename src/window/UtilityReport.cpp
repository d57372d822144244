#include "window/UtilityReport.h"

#include <cstdint>

#include "window/WindowLimits.h"

namespace quillmor {

namespace {

constexpr std::string_view kTruncationNote =
    "\n\n[Report truncated in viewer to avoid excessive UI memory use. "
    "Export a report file for complete output when available.]\n";

bool startsScalar(char c) {
  return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
}

/// The byte length of the first `count` scalars of `text`.
std::size_t lengthOfScalars(std::string_view text, std::int64_t count) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (startsScalar(text[i]) && count-- == 0) return i;
  }
  return text.size();
}

}  // namespace

std::string truncatedUtilityReport(std::string_view report) {
  const std::size_t length = lengthOfScalars(report, maxUtilityReportCharacters);
  std::string shown(report.substr(0, length));
  if (length < report.size()) shown.append(kTruncationNote);
  return shown;
}

}  // namespace quillmor
