#pragma once

#include <string>
#include <string_view>

namespace quillmor {

/// The report as a window shows it: cut after `maxUtilityReportCharacters` Unicode scalars, with a
/// note after the cut. `report` is UTF-8.
std::string truncatedUtilityReport(std::string_view report);

}  // namespace quillmor
