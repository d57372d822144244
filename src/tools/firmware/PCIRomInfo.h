#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace quillmor {

/// Whether the bytes begin as an option ROM does, so that the report says more than that they do
/// not. Any thread.
bool hasOptionRomSignature(std::span<const std::uint8_t> bytes);

/// The report on the first image of a PCI option ROM, line by line as far as its structures can be
/// trusted. Source of the layouts: PCI Firmware Specification 3.0, UEFI 2.11 and Microsoft's PE
/// Format. Pure function, any thread; never fails, whatever the bytes are.
std::string pciRomInfo(std::span<const std::uint8_t> bytes);

}  // namespace quillmor
