#include "tools/analysis/FileStructure.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "tools/firmware/AcpiTables.h"
#include "tools/firmware/FieldReader.h"

namespace quillmor {

namespace {

using namespace std::string_view_literals;

struct Kind {
  std::string_view line;
  std::span<const std::string_view> magics;  ///< any of them
};

constexpr std::array kOptionRom = {"\x55\xAA"sv};
constexpr std::array kElf = {"\x7F\x45\x4C\x46"sv};
constexpr std::array kMz = {"MZ"sv};
constexpr std::array kMachO = {"\xCE\xFA\xED\xFE"sv, "\xFE\xED\xFA\xCE"sv, "\xCF\xFA\xED\xFE"sv,
                               "\xFE\xED\xFA\xCF"sv, "\xCA\xFE\xBA\xBE"sv, "\xBE\xBA\xFE\xCA"sv,
                               "\xCA\xFE\xBA\xBF"sv, "\xBF\xBA\xFE\xCA"sv};
constexpr std::array kPng = {"\x89PNG\r\n\x1A\n"sv};
constexpr std::array kJpeg = {"\xFF\xD8\xFF"sv};
constexpr std::array kBmp = {"BM"sv};
constexpr std::array kZip = {"PK\x03\x04"sv};
constexpr std::array kBinaryPlist = {"bplist00"sv};

constexpr std::array<Kind, 9> kKinds = {{
    {"- PCI Option ROM / VBIOS", kOptionRom},
    {"- ELF executable", kElf},
    {"- PE/MZ executable", kMz},
    {"- Mach-O / Universal Mach-O", kMachO},
    {"- PNG image", kPng},
    {"- JPEG image", kJpeg},
    {"- BMP image", kBmp},
    {"- ZIP archive", kZip},
    {"- Binary plist", kBinaryPlist},
}};

/// The line on an ACPI structure; empty when there is none.
std::string acpiLine(std::span<const std::uint8_t> bytes, TaskProgress* progress) {
  if (FieldReader(bytes).has("FACS")) {
    const auto facs = facsInfo(bytes);
    if (!facs) {
      return "- ACPI FACS signature with a malformed or truncated structure (no SDT checksum "
             "field)";
    }
    return "- ACPI FACS, length " + std::to_string(facs->length) + " bytes (no SDT checksum field)";
  }
  const auto table = acpiInfo(bytes, progress);
  if (!table) return {};
  return "- ACPI table: " + table->signature + ", length " + std::to_string(table->length) +
         ", checksum " + (table->isValid ? "valid" : "invalid");
}

/// A line for each structure, each after a line feed.
std::string structureLines(std::span<const std::uint8_t> bytes, TaskProgress* progress) {
  const FieldReader file(bytes);
  std::string lines;
  const auto addLine = [&lines](std::string_view line) { lines.append("\n").append(line); };
  for (const Kind& kind : kKinds) {
    const auto isAtStart = [&file](std::string_view magic) { return file.has(magic); };
    if (std::ranges::any_of(kind.magics, isAtStart)) addLine(kind.line);
  }
  const std::string acpi = acpiLine(bytes, progress);
  if (!acpi.empty()) addLine(acpi);
  return lines;
}

}  // namespace

FileStructure detectFileStructure(std::span<const std::uint8_t> bytes, TaskProgress* progress) {
  const std::string lines = structureLines(bytes, progress);
  const bool isKnown = !lines.empty();
  return {.isKnown = isKnown,
          .report = "Detected structures:" + (isKnown ? lines : "\n- Unknown / raw binary")};
}

}  // namespace quillmor
