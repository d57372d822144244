#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "base/TaskProgress.h"

namespace quillmor {

// ACPI tables at the start of a file, laid out as the Advanced Configuration and Power Interface
// Specification 6.5 says (5.2.6 and 5.2.10). Any thread. Where there is a `progress` its total
// becomes the length of the table, and work on the table ends with `Error::stopped()` as soon as it
// says so.

/// A System Description Table.
struct ACPIInfo {
  std::string signature;
  std::int64_t length = 0;
  std::uint8_t checksum = 0;  ///< the byte at `kACPIChecksumOffset`
  bool isValid = false;       ///< whether all bytes of the table add up to 0
  std::string report;
};

/// A Firmware ACPI Control Structure.
struct FACSInfo {
  std::uint32_t length = 0;
  std::uint32_t hardwareSignature = 0;
};

inline constexpr std::int64_t kACPIChecksumOffset = 9;

/// Absent when the bytes do not begin with a System Description Table that they hold whole.
std::optional<ACPIInfo> acpiInfo(std::span<const std::uint8_t> bytes,
                                 TaskProgress* progress = nullptr);

/// Absent when the bytes do not begin with such a structure that they hold whole.
std::optional<FACSInfo> facsInfo(std::span<const std::uint8_t> bytes);

/// What validating found.
struct ACPIValidation {
  bool isValid = false;  ///< of a FACS, too: it has no checksum that could be wrong
  std::string text;      ///< whether the checksum is valid, or that a FACS has none
};

/// Validates a table or a FACS. Throws code 2801 for anything else.
ACPIValidation validateACPIChecksum(std::span<const std::uint8_t> bytes,
                                    TaskProgress* progress = nullptr);

/// The checksum byte before and after it is made valid.
struct ACPIChecksumFix {
  std::uint8_t oldValue = 0;
  std::uint8_t newValue = 0;
};

/// The byte that would make the table's checksum valid. Throws code 2801, and 2802 for a FACS.
ACPIChecksumFix acpiChecksumFix(std::span<const std::uint8_t> bytes,
                                TaskProgress* progress = nullptr);

/// What fixing says; equal values mean that the checksum was valid.
std::string acpiChecksumFixText(const ACPIChecksumFix& fix);

}  // namespace quillmor
