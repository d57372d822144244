#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace quillmor {

/// The report on the first image of a PCI option ROM, line by line as far as its structures can be
/// trusted. Source of the layouts: PCI Firmware Specification 3.0, UEFI 2.11 and Microsoft's PE
/// Format. Pure function, any thread; never fails, whatever the bytes are.
std::string pciRomInfo(std::span<const std::uint8_t> bytes);

}  // namespace quillmor
