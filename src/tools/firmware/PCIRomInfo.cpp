#include "tools/firmware/PCIRomInfo.h"

#include "base/ByteUnits.h"
#include "tools/firmware/FieldReader.h"
#include "tools/firmware/FirmwareText.h"
#include "tools/firmware/PCIRomEfi.h"

namespace quillmor {

namespace {

constexpr std::int64_t kLeastSize = 28;
constexpr std::int64_t kMaxRomSize = 16 * kMiB;
constexpr std::int64_t kUnit = 512;
constexpr std::int64_t kLeastPcirLength = 24;
constexpr std::int64_t kLeastPcirLengthOfRevision3 = 28;
constexpr std::int64_t kPcirEnd = 65536;
constexpr std::uint8_t kEfiCodeType = 3;

/// The report as far as it got, and what the fields read so far have said.
struct Inspection {
  FieldReader bytes;
  ReportLines report;
  std::int64_t pcir = 0;  ///< the offset of the PCI Data Structure
  std::int64_t pcirLength = 0;
  std::uint8_t revision = 0;
  std::int64_t imageSize = 0;

  std::uint8_t byte(std::int64_t field) const { return bytes.byte(pcir + field); }
  std::uint16_t word(std::int64_t field) const { return bytes.word(pcir + field); }
};

/// Finds the structure; false when it cannot be read.
bool findStructure(Inspection& rom) {
  ReportLines& report = rom.report;
  rom.pcir = rom.bytes.word(0x18);
  report.line("PCIR offset: ", hexText(static_cast<std::uint16_t>(rom.pcir)));
  if (rom.pcir > rom.bytes.size() - kLeastPcirLength || !rom.bytes.has("PCIR", rom.pcir)) {
    report.line(
        "PCIR structure was not found at the declared offset. A reliable image size cannot be "
        "derived from the generic legacy header.");
    return false;
  }
  rom.pcirLength = rom.word(0x0A);
  if (rom.pcirLength < kLeastPcirLength || rom.pcirLength > rom.bytes.size() - rom.pcir) {
    report.line("The PCIR structure length is invalid or exceeds the available file data.");
    return false;
  }
  rom.revision = rom.byte(0x0C);
  if (rom.revision == 3 && rom.pcirLength < kLeastPcirLengthOfRevision3) {
    report.line("PCI Data Structure revision 3 requires a PCIR length of at least 0x001C bytes.");
    return false;
  }
  return true;
}

void addStructureLines(Inspection& rom) {
  ReportLines& report = rom.report;
  if (rom.pcir % 4 != 0) {
    report.line("Warning: PCIR is not aligned to the required 4-byte boundary.");
  }
  if (rom.pcir > kPcirEnd - rom.pcirLength) {
    report.line("Warning: PCIR does not fit entirely within the first 64 KiB of the image.");
  }
  report.line("PCIR revision: ", hexText(rom.revision));
  if (rom.revision >= 4) {
    report.line("Warning: PCIR revision ", hexText(rom.revision),
                " is newer than the PCI Firmware 3.0 layout understood by this inspector; "
                "revision-dependent fields are left uninterpreted.");
  }
}

/// Finds the size of the image; false when it cannot be trusted.
bool findImageSize(Inspection& rom) {
  ReportLines& report = rom.report;
  rom.imageSize = rom.word(0x10) * kUnit;
  report.line("PCIR length: ", std::to_string(rom.pcirLength), " bytes");
  report.line("Image size from PCIR: ", std::to_string(rom.imageSize), " bytes");
  if (rom.imageSize > kMaxRomSize) {
    report.line(
        "Warning: PCIR declares an image larger than the UEFI PCI Option ROM maximum of 16 MiB.");
  }
  if (rom.imageSize == 0 || rom.imageSize > rom.bytes.size()) {
    report.line("The image size declared by PCIR is invalid or exceeds the available file data.");
    return false;
  }
  if (rom.pcir > rom.imageSize - rom.pcirLength) {
    report.line("The PCIR structure extends beyond the first declared ROM image.");
    return false;
  }
  return true;
}

void addFieldLines(Inspection& rom) {
  ReportLines& report = rom.report;
  const std::uint8_t indicator = rom.byte(0x15);
  report.line("Vendor ID: ", hexText(rom.word(0x04)));
  report.line("Device ID: ", hexText(rom.word(0x06)));
  report.line("Code type: ", hexText(rom.byte(0x14)));
  report.line("Indicator: ", hexText(indicator));
  if ((indicator & 0x7F) != 0) {
    report.line("Warning: PCIR Indicator bits 0...6 are reserved and must be zero.");
  }
}

/// The fields that have their meaning since revision 3; a later revision may change it.
void addRevisionLines(Inspection& rom) {
  ReportLines& report = rom.report;
  if (rom.revision > 3) return;
  if (rom.revision == 3) {
    report.line("PCI 3.0 Device List offset: ", hexText(rom.word(0x08)));
    report.line("Maximum runtime image length: ", std::to_string(rom.word(0x16) * kUnit), " bytes");
    report.line("Configuration utility offset: ", hexText(rom.word(0x18)));
    report.line("DMTF CLP entry-point offset: ", hexText(rom.word(0x1A)));
    return;
  }
  if (rom.word(0x08) != 0) {
    report.line("Warning: pre-PCI-3.0 PCIR reserved field at +0x08...+0x09 must be zero.");
  }
  if (rom.word(0x16) != 0) {
    report.line("Warning: pre-PCI-3.0 PCIR reserved field at +0x16...+0x17 must be zero.");
  }
}

void addCodeLines(Inspection& rom) {
  const std::uint8_t codeType = rom.byte(0x14);
  if (codeType > kEfiCodeType) {
    rom.report.line("Warning: PCIR code type ", hexText(codeType), " is reserved.");
  } else if (codeType == kEfiCodeType) {
    addEfiLines(rom.bytes, rom.imageSize, rom.report);
  }
}

}  // namespace

bool hasOptionRomSignature(std::span<const std::uint8_t> bytes) {
  return std::ssize(bytes) >= kLeastSize && FieldReader(bytes).has("\x55\xAA");
}

std::string pciRomInfo(std::span<const std::uint8_t> bytes) {
  if (!hasOptionRomSignature(bytes)) return "Not a PCI Option ROM: missing 55 AA signature.";
  Inspection rom{FieldReader(bytes), {}};
  rom.report.line("PCI Option ROM");
  rom.report.line("File size: ", std::to_string(rom.bytes.size()), " bytes");
  if (rom.bytes.size() > kMaxRomSize) {
    rom.report.line("Warning: file size exceeds the UEFI PCI Option ROM maximum of 16 MiB.");
  }
  if (!findStructure(rom)) return rom.report.text();
  addStructureLines(rom);
  if (!findImageSize(rom)) return rom.report.text();
  addFieldLines(rom);
  addRevisionLines(rom);
  addCodeLines(rom);
  return rom.report.text();
}

}  // namespace quillmor
