#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "base/TaskProgress.h"

namespace quillmor {

// ACPI tables at the start of a file, in the layout of the Advanced Configuration and Power
// Interface Specification 6.5 (5.2.6 and 5.2.10). Any thread. Functions with a `progress` set its
// total to the length of the table. They throw `Error::stopped()` on a stop request.

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

/// Absent unless the bytes begin with a complete System Description Table.
std::optional<ACPIInfo> acpiInfo(std::span<const std::uint8_t> bytes,
                                 TaskProgress* progress = nullptr);

/// Absent unless the bytes begin with a complete structure.
std::optional<FACSInfo> facsInfo(std::span<const std::uint8_t> bytes);

/// The result of validating.
struct ACPIValidation {
  bool isValid = false;  ///< true for a FACS, which has no checksum
  std::string text;      ///< the sentence for the user
};

/// Validates a table or a FACS. Throws code 2801 for anything else.
ACPIValidation validateACPIChecksum(std::span<const std::uint8_t> bytes,
                                    TaskProgress* progress = nullptr);

/// The checksum byte before and after it is made valid.
struct ACPIChecksumFix {
  std::uint8_t oldValue = 0;
  std::uint8_t newValue = 0;
};

/// Returns the byte that makes the table's checksum valid. Throws code 2801 as above, and 2802 for
/// a FACS.
ACPIChecksumFix acpiChecksumFix(std::span<const std::uint8_t> bytes,
                                TaskProgress* progress = nullptr);

/// Returns the text about a fix; equal values mean that the checksum was valid.
std::string acpiChecksumFixText(const ACPIChecksumFix& fix);

}  // namespace quillmor
