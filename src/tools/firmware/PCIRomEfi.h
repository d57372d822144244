#pragma once

#include <cstdint>

#include "tools/firmware/FieldReader.h"
#include "tools/firmware/FirmwareText.h"

namespace quillmor {

/// Appends lines about the EFI header at the start of `rom` and about its PE/COFF image, if any.
/// `imageSize` is the size that PCIR declares: a positive multiple of 512, at most the size of
/// `rom`. The layouts are those of UEFI 2.11, 14.4.2, and of Microsoft's PE Format. Pure function,
/// any thread.
void addEfiLines(const FieldReader& rom, std::int64_t imageSize, ReportLines& report);

}  // namespace quillmor
