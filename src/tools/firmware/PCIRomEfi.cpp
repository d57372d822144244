#include "tools/firmware/PCIRomEfi.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace quillmor {

namespace {

constexpr std::int64_t kUnit = 512;
constexpr std::uint16_t kApplicationSubsystem = 0x000A;
constexpr std::uint16_t kBootServiceDriverSubsystem = 0x000B;
constexpr std::uint16_t kRuntimeDriverSubsystem = 0x000C;

constexpr std::array<std::uint16_t, 11> kMachineTypes = {
    0x014C, 0x01C2, 0x0200, 0x0EBC, 0x5032, 0x5064, 0x5128, 0x6232, 0x6264, 0x8664, 0xAA64};

constexpr std::int64_t kDosHeaderSize = 64;
constexpr std::int64_t kPeOffsetField = 60;
constexpr std::int64_t kPeHeaderSize = 24;
/// Up to the end of the field with the subsystem, which lies at the same place in PE32 and PE32+.
constexpr std::int64_t kLeastOptionalHeaderSize = 70;
constexpr std::uint16_t kPe32Magic = 0x010B;
constexpr std::uint16_t kPe32PlusMagic = 0x020B;

struct EfiHeader {
  bool hasSignature;
  std::uint16_t initializationUnits;
  std::uint16_t subsystem;
  std::uint16_t machine;
  std::uint16_t compression;
  std::uint16_t imageOffset;

  std::int64_t initializationSize() const { return initializationUnits * kUnit; }
};

EfiHeader efiHeader(const FieldReader& rom) {
  using namespace std::string_view_literals;
  return {rom.has("\xF1\x0E\0\0"sv, 4),
          rom.word(0x02),
          rom.word(0x08),
          rom.word(0x0A),
          rom.word(0x0C),
          rom.word(0x16)};
}

void addSubsystemWarning(std::uint16_t subsystem, ReportLines& report) {
  if (subsystem == kBootServiceDriverSubsystem || subsystem == kRuntimeDriverSubsystem) return;
  if (subsystem == kApplicationSubsystem) {
    report.line(
        "Warning: EFI applications in PCI Option ROMs are ignored by the PCI Bus Driver; a "
        "loadable PCI device driver uses subsystem 0x000B or 0x000C.");
  } else {
    report.line("Warning: EFI subsystem ", hexText(subsystem),
                " is not a PCI device-driver subsystem (expected 0x000B or 0x000C).");
  }
}

void addSizeWarning(const FieldReader& rom, const EfiHeader& header, std::int64_t imageSize,
                    ReportLines& report) {
  const std::int64_t size = header.initializationSize();
  if (size == 0 || size > rom.size()) {
    report.line(
        "Warning: the EFI initialization size is invalid or exceeds the available file data.");
  } else if (size != imageSize) {
    report.line("Warning: EFI initialization size does not match the PCIR image length.");
  }
}

bool hasReservedBytes(const FieldReader& rom) {
  for (std::int64_t offset = 0x0E; offset <= 0x15; ++offset) {
    if (rom.byte(offset) != 0) return true;
  }
  return false;
}

void addHeaderLines(const FieldReader& rom, const EfiHeader& header, std::int64_t imageSize,
                    ReportLines& report) {
  report.line("EFI initialization size: ", std::to_string(header.initializationSize()), " bytes");
  report.line("EFI subsystem: ", hexText(header.subsystem));
  report.line("EFI machine type: ", hexText(header.machine));
  report.line("EFI image offset: ", hexText(header.imageOffset));
  if (!header.hasSignature) {
    report.line(
        "Warning: EFI code type is declared but the EFI expansion ROM header signature 0x00000EF1 "
        "is missing.");
  }
  addSubsystemWarning(header.subsystem, report);
  if (std::ranges::find(kMachineTypes, header.machine) == kMachineTypes.end()) {
    report.line("Warning: EFI machine type ", hexText(header.machine),
                " is not defined by UEFI 2.11.");
  }
  addSizeWarning(rom, header, imageSize, report);
  if (header.compression >= 2) {
    report.line("Warning: EFI compression type is reserved/invalid.");
  }
  if (hasReservedBytes(rom)) {
    report.line("Warning: EFI expansion ROM reserved bytes at 0x0E...0x15 must be zero.");
  }
}

/// Appends lines about the PE/COFF header at `at`; its optional header has been checked.
void addPeLines(const FieldReader& rom, const EfiHeader& header, std::int64_t at,
                ReportLines& report) {
  const std::uint16_t machine = rom.word(at + 4);
  const std::uint16_t magic = rom.word(at + 24);
  const std::uint16_t subsystem = rom.word(at + 92);
  report.line("Embedded PE/COFF machine type: ", hexText(machine));
  report.line("Embedded PE/COFF subsystem: ", hexText(subsystem));
  if (magic != kPe32Magic && magic != kPe32PlusMagic) {
    report.line("Warning: embedded PE/COFF optional-header magic ", hexText(magic),
                " is not PE32 or PE32+.");
  }
  if (machine != header.machine) {
    report.line("Warning: EFI expansion-ROM Machine Type ", hexText(header.machine),
                " does not match embedded PE/COFF Machine ", hexText(machine), ".");
  }
  if (subsystem != header.subsystem) {
    report.line("Warning: EFI expansion-ROM Subsystem ", hexText(header.subsystem),
                " does not match embedded PE/COFF Subsystem ", hexText(subsystem), ".");
  }
}

/// The same with the checks of where that header is.
void addImageLines(const FieldReader& rom, const EfiHeader& header, std::int64_t imageSize,
                   ReportLines& report) {
  using namespace std::string_view_literals;
  const std::int64_t available = imageSize - header.imageOffset;
  if (available < kDosHeaderSize || !rom.has("MZ", header.imageOffset)) {
    report.line(
        "Warning: uncompressed EFI image data does not begin with a bounded PE/COFF MZ image at "
        "the declared EFI image offset.");
    return;
  }
  const std::int64_t peOffset = rom.doubleWord(header.imageOffset + kPeOffsetField);
  const std::int64_t at = header.imageOffset + peOffset;
  if (imageSize - at < kPeHeaderSize) {
    report.line(
        "Warning: the embedded PE/COFF header offset is outside the declared EFI ROM image.");
    return;
  }
  if (!rom.has("PE\0\0"sv, at)) {
    // Two NUL characters of the signature are part of the text.
    report.line(
        "Warning: the embedded EFI image is missing the PE\0\0 signature at its declared "
        "PE header offset."sv);
    return;
  }
  const std::int64_t optionalSize = rom.word(at + 20);
  if (optionalSize < kLeastOptionalHeaderSize || optionalSize > imageSize - (at + kPeHeaderSize)) {
    report.line(
        "Warning: the embedded PE/COFF optional header is truncated or too small to contain the "
        "UEFI Subsystem field.");
    return;
  }
  addPeLines(rom, header, at, report);
}

}  // namespace

void addEfiLines(const FieldReader& rom, std::int64_t imageSize, ReportLines& report) {
  const EfiHeader header = efiHeader(rom);
  addHeaderLines(rom, header, imageSize, report);
  if (header.imageOffset >= imageSize) {
    report.line(
        "Warning: EFI image offset is outside the first declared ROM image or the first 64 KiB.");
    return;
  }
  const bool isCompressed = header.compression != 0;
  if (!isCompressed) addImageLines(rom, header, imageSize, report);
}

}  // namespace quillmor
