#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "base/TaskProgress.h"

namespace quillmor {

/// What kinds of file the first bytes of one say it is.
struct FileStructure {
  bool isKnown = false;  ///< whether there is any
  std::string report;    ///< a line for each
};

/// The kinds of file whose magic numbers the bytes begin with; every one of them is tried, and an
/// ACPI table is added up, as `acpiInfo` does with `progress`. Any thread.
FileStructure detectFileStructure(std::span<const std::uint8_t> bytes,
                                  TaskProgress* progress = nullptr);

}  // namespace quillmor
