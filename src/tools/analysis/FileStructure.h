#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "base/TaskProgress.h"

namespace quillmor {

/// The kinds of file that the first bytes of a file match.
struct FileStructure {
  bool isKnown = false;  ///< whether there is any
  std::string report;    ///< a line for each
};

/// Returns every kind of file whose magic number the bytes begin with. The bytes of an ACPI table
/// are added up as in `acpiInfo`, with `progress`. Any thread.
FileStructure detectFileStructure(std::span<const std::uint8_t> bytes,
                                  TaskProgress* progress = nullptr);

}  // namespace quillmor
