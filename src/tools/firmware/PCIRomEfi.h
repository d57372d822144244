#pragma once

#include <cstdint>

#include "tools/firmware/FieldReader.h"
#include "tools/firmware/FirmwareText.h"

namespace quillmor {

/// Adds what the EFI header at the start of `rom`, and the PE/COFF image that it may hold, say.
/// `imageSize`, a multiple of 512 from 512 on that `rom` holds, is what PCIR declares. Source of
/// the layouts: UEFI 2.11, 14.4.2, and Microsoft's PE Format. Pure function, any thread.
void addEfiLines(const FieldReader& rom, std::int64_t imageSize, ReportLines& report);

}  // namespace quillmor
