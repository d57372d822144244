#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace quillmor {

// ACPI tables at the start of a file, laid out as the Advanced Configuration and Power Interface
// Specification 6.5 says (5.2.6 and 5.2.10). Pure functions, any thread.

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
std::optional<ACPIInfo> acpiInfo(std::span<const std::uint8_t> bytes);

/// Absent when the bytes do not begin with such a structure that they hold whole.
std::optional<FACSInfo> facsInfo(std::span<const std::uint8_t> bytes);

/// What validating says: whether the checksum is valid, or that a FACS has none. Throws code 2801
/// for anything else.
std::string acpiChecksumText(std::span<const std::uint8_t> bytes);

/// The checksum byte before and after it is made valid.
struct ACPIChecksumFix {
  std::uint8_t oldValue = 0;
  std::uint8_t newValue = 0;
};

/// The byte that would make the table's checksum valid. Throws code 2801, and 2802 for a FACS.
ACPIChecksumFix acpiChecksumFix(std::span<const std::uint8_t> bytes);

/// What fixing says; equal values mean that the checksum was valid.
std::string acpiChecksumFixText(const ACPIChecksumFix& fix);

}  // namespace quillmor
