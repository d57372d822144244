#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace quillmor {

/// True if the bytes begin like an option ROM. Otherwise the report says only that they do not. Any
/// thread.
bool hasOptionRomSignature(std::span<const std::uint8_t> bytes);

/// Returns the report on the first image of a PCI option ROM, as far as its structures can be
/// trusted. The layouts are those of the PCI Firmware Specification 3.0, UEFI 2.11 and Microsoft's
/// PE Format. Pure function, any thread; never fails, whatever the bytes are.
std::string pciRomInfo(std::span<const std::uint8_t> bytes);

}  // namespace quillmor
