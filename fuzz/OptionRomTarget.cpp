// Tries pciRomInfo on any bytes. The last byte of the input chooses zeros behind the others; see
// FuzzImage.h. Invariants:
//  - what is too short or has no signature gets that one line, without a line feed;
//  - every other report begins with its title and the size of the file, and ends in a line feed;
//  - its lines are those of the table below, in that order and none twice, and behind a line that
//    says why the report stops comes no other;
//  - its characters are printable, but for the two NUL characters of one line;
//  - it says the same when the bytes behind the declared image change.

#include <algorithm>
#include <array>
#include <charconv>
#include <string>
#include <string_view>

#include "base/Check.h"
#include "fuzz/FuzzImage.h"
#include "fuzz/FuzzTargets.h"
#include "tools/firmware/PCIRomInfo.h"

namespace quillmor::fuzz {

namespace {

struct Line {
  std::string_view start;
  bool isLast = false;
};

constexpr auto kLines = std::to_array<Line>({
    {"PCI Option ROM"},
    {"File size: "},
    {"PCIR offset: 0x"},
    {"PCIR structure was not found at the declared offset. ", true},
    {"The PCIR structure length is invalid or exceeds the available file data.", true},
    {"PCI Data Structure revision 3 requires a PCIR length of at least 0x001C bytes.", true},
    {"Warning: PCIR is not aligned"},
    {"Warning: PCIR does not fit entirely"},
    {"PCIR revision: 0x"},
    {"Warning: PCIR revision 0x"},
    {"PCIR length: "},
    {"Image size from PCIR: "},
    {"Warning: PCIR declares an image larger"},
    {"The image size declared by PCIR is invalid", true},
    {"The PCIR structure extends beyond the first declared ROM image.", true},
    {"Vendor ID: 0x"},
    {"Device ID: 0x"},
    {"Code type: 0x"},
    {"Indicator: 0x"},
    {"Warning: PCIR Indicator bits 0...6 "},
    {"PCI 3.0 Device List offset: 0x"},
    {"Maximum runtime image length: "},
    {"Configuration utility offset: 0x"},
    {"DMTF CLP entry-point offset: 0x"},
    {"Warning: pre-PCI-3.0 PCIR reserved field at +0x08"},
    {"Warning: pre-PCI-3.0 PCIR reserved field at +0x16"},
    {"Warning: PCIR code type 0x", true},
    {"EFI initialization size: "},
    {"EFI subsystem: 0x"},
    {"EFI machine type: 0x"},
    {"EFI image offset: 0x"},
    {"Warning: EFI code type is declared"},
    {"Warning: EFI applications"},
    {"Warning: EFI subsystem 0x"},
    {"Warning: EFI machine type 0x"},
    {"Warning: the EFI initialization size is invalid"},
    {"Warning: EFI initialization size does not match"},
    {"Warning: EFI compression type"},
    {"Warning: EFI expansion ROM reserved bytes"},
    {"Warning: EFI image offset is outside", true},
    {"Warning: uncompressed EFI image data does not begin", true},
    {"Warning: the embedded PE/COFF header offset is outside", true},
    {"Warning: the embedded EFI image is missing the PE", true},
    {"Warning: the embedded PE/COFF optional header is truncated", true},
    {"Embedded PE/COFF machine type: 0x"},
    {"Embedded PE/COFF subsystem: 0x"},
    {"Warning: embedded PE/COFF optional-header magic 0x"},
    {"Warning: EFI expansion-ROM Machine Type 0x"},
    {"Warning: EFI expansion-ROM Subsystem 0x"},
});

void checkCharacters(std::string_view line) {
  const auto isPrintable = [](char c) { return c >= 0x20 && c <= 0x7E; };
  const auto others = std::ranges::count_if(line, [&](char c) { return !isPrintable(c); });
  const std::string_view nuls("PE\0\0 signature", 14);
  checkPrecondition(others == 0 || (others == 2 && line.find(nuls) != std::string_view::npos),
                    "A line is printable");
}

void checkLines(std::string_view report) {
  auto next = kLines.begin();
  bool isStopped = false;
  while (!report.empty()) {
    const std::size_t end = report.find('\n');
    checkPrecondition(end != std::string_view::npos, "Every line ends in a line feed");
    const std::string_view line = report.substr(0, end);
    report.remove_prefix(end + 1);
    checkPrecondition(!isStopped, "Nothing follows the line that stops the report");
    checkCharacters(line);
    next = std::find_if(next, kLines.end(),
                        [&](const Line& known) { return line.starts_with(known.start); });
    checkPrecondition(next != kLines.end(), "Lines are known and in order");
    isStopped = next->isLast;
    ++next;
  }
}

/// The image's size when the report trusts it; 0 otherwise.
std::int64_t imageSizeIn(std::string_view report) {
  constexpr std::string_view kSize = "Image size from PCIR: ";
  if (report.find("\nVendor ID: ") == std::string_view::npos) return 0;
  const std::string_view digits = report.substr(report.find(kSize) + kSize.size());
  std::int64_t size = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), size);
  return size;
}

}  // namespace

void fuzzOptionRom(std::span<const std::uint8_t> input) {
  const Bytes image = imageOf(input);
  const std::string report = pciRomInfo(image);
  if (image.size() < 28 || image[0] != 0x55 || image[1] != 0xAA) {
    checkPrecondition(report == "Not a PCI Option ROM: missing 55 AA signature.",
                      "What is no ROM is called so");
    return;
  }
  const std::string head =
      "PCI Option ROM\nFile size: " + std::to_string(image.size()) + " bytes\nPCIR offset: 0x";
  checkPrecondition(report.starts_with(head), "A report begins with the size of the file");
  checkLines(report);
  const std::int64_t imageSize = imageSizeIn(report);
  if (imageSize == 0) return;
  checkPrecondition(imageSize <= std::ssize(image), "A trusted image lies within the file");
  if (imageSize == std::ssize(image)) return;
  checkPrecondition(pciRomInfo(invertedFrom(image, imageSize)) == report,
                    "What is behind the first image is not looked at");
}

}  // namespace quillmor::fuzz
