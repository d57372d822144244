// The one list of all commands.

#include <algorithm>
#include <array>
#include <initializer_list>

#include "cli/Command.h"
#include "cli/Commands.h"
#include "cli/TypedSearch.h"

namespace quillmor::cli {

namespace {

constexpr std::array<std::string_view, 7> kGroups = {
    "Reports", "Exports", "Comparing", "Searching", "Firmware", "Changing bytes", "Recovery"};
constexpr std::string_view kReports = kGroups[0];
constexpr std::string_view kExports = kGroups[1];
constexpr std::string_view kComparing = kGroups[2];
constexpr std::string_view kSearching = kGroups[3];
constexpr std::string_view kFirmware = kGroups[4];
constexpr std::string_view kChanging = kGroups[5];
constexpr std::string_view kRecovery = kGroups[6];

constexpr auto kModes = namesOf(kSearchModes);
constexpr auto kEncodings = namesOf(kSearchEncodings);

constexpr ValueDescription kFile{"FILE", "The file to read", ValueKind::file};
constexpr ValueDescription kOther{"OTHER", "The file to compare it with", ValueKind::file};
constexpr ValueDescription kPreset{"PRESET", "The JSON preset", ValueKind::file};
constexpr ValueDescription kText{"TEXT", "What to search for"};

using Options = std::vector<OptionDescription>;

Options joined(std::initializer_list<Options> groups) {
  Options all;
  for (const Options& group : groups) all.insert(all.end(), group.begin(), group.end());
  return all;
}

const Options kRange = {{"--start", {"START", "Offset of the first byte (default 0)"}},
                        {"--length", {"LENGTH", "Number of bytes (default: up to the end)"}}};

const Options kTextOutput = {
    {"-o", {"OUT", "Write to this file instead of standard output", ValueKind::file}}};

const Options kBytesOutput = {
    {"-o", {"OUT", "Write the changed bytes to this file", ValueKind::file}},
    {"--in-place", {"", "Save the changed bytes into FILE itself"}},
    {"--verify", {"", "With --in-place: read FILE back and compare"}}};

const Options kMode = {
    {"--mode", {"MODE", "How texts are read", ValueKind::choice, kModes}},
    {"--encoding", {"ENCODING", "How text becomes bytes", ValueKind::choice, kEncodings}},
    {"--case-sensitive", {"", "Tell upper- from lowercase ASCII letters"}}};

const Options kFrom = {{"--from", {"OFFSET", "Where the search starts (default 0)"}}};

const Options kBackward = {
    {"--backward", {"", "Search towards the start, by default from the end"}}};

std::vector<Command> reports() {
  return {
      {.name = "checksums",
       .group = kReports,
       .summary = "Print CRC-32, Adler-32, sums, MD5, SHA-1, SHA-256, entropy",
       .arguments = {kFile},
       .options = kRange,
       .example = {"Checksums of a video BIOS", "quillmor-cli checksums vbios.rom"},
       .run = checksums},
      {.name = "checksum-range",
       .group = kReports,
       .summary = "Print the same checksums of one range",
       .arguments = {kFile, {"START", "Offset of the first byte"}, {"LENGTH", "Number of bytes"}},
       .example = {"Checksums of the first 64 KiB",
                   "quillmor-cli checksum-range vbios.rom 0 0x10000"},
       .run = checksumRange},
      {.name = "statistics",
       .group = kReports,
       .summary = "Print the entropy and the kinds of bytes",
       .arguments = {kFile},
       .options = kRange,
       .example = {"Is there anything in the last 64 KiB of a flash dump?",
                   "quillmor-cli statistics flash.bin --start 0xFF0000"},
       .run = statistics},
      {.name = "frequency",
       .group = kReports,
       .summary = "Print how often each byte value occurs",
       .arguments = {kFile},
       .example = {"The byte frequencies of a file", "quillmor-cli frequency firmware.bin"},
       .run = frequency},
      {.name = "entropy-map",
       .group = kReports,
       .summary = "Print the entropy of every 4096 bytes",
       .arguments = {kFile},
       .example = {"Find compressed parts of a firmware image",
                   "quillmor-cli entropy-map firmware.bin"},
       .run = entropyMap},
      {.name = "inspect",
       .group = kReports,
       .summary = "Print the bytes at an offset as numbers",
       .no = "OFFSET is at the end of the file",
       .arguments = {kFile, {"OFFSET", "Offset of the first byte"}},
       .example = {"The numbers at the pointer to the PCI data structure",
                   "quillmor-cli inspect vbios.rom 0x18"},
       .run = inspect},
      {.name = "detect",
       .group = kReports,
       .summary = "Say what kinds of file the first bytes suggest",
       .no = "no known kind was found",
       .arguments = {kFile},
       .example = {"What is this file?", "quillmor-cli detect unknown.bin"},
       .run = detect},
      {.name = "bookmarks",
       .group = kReports,
       .summary = "Print the offsets in a bookmark file",
       .arguments = {{"BOOKMARKFILE", "Bookmarks exported by the editor", ValueKind::file}},
       .example = {"The offsets, one a line", "quillmor-cli bookmarks Bookmarks.json"},
       .run = bookmarks},
  };
}

std::vector<Command> exports() {
  return {
      {.name = "strings",
       .group = kExports,
       .summary = "List the runs of printable ASCII characters",
       .arguments = {kFile},
       .options = joined({{{"--minimum", {"N", "Shortest run to list (default 4)"}}}, kTextOutput}),
       .example = {"All strings of eight characters and more",
                   "quillmor-cli strings firmware.bin --minimum 8"},
       .run = strings},
      {.name = "hex-dump",
       .group = kExports,
       .summary = "Print offsets, hex digits and ASCII, 16 bytes a line",
       .arguments = {kFile},
       .options = joined({kRange, kTextOutput}),
       .example = {"The first 64 bytes", "quillmor-cli hex-dump vbios.rom --length 64"},
       .run = hexDump},
      {.name = "intel-hex",
       .group = kExports,
       .summary = "Print the file in Intel HEX format",
       .arguments = {kFile},
       .options = kTextOutput,
       .example = {"Make an image for a programmer",
                   "quillmor-cli intel-hex vbios.rom -o vbios.hex"},
       .run = intelHex},
      {.name = "patch-export",
       .group = kExports,
       .summary = "Print a range as a text patch",
       .arguments = {kFile},
       .options = joined({kRange, kTextOutput}),
       .example = {"Keep eight bytes to put them elsewhere",
                   "quillmor-cli patch-export good.rom --start 64 --length 8 -o fix.txt"},
       .run = patchExport},
      {.name = "copy-as",
       .group = kExports,
       .summary = "Print bytes as source code or as text",
       .arguments = {{"STYLE", "How to write the bytes", ValueKind::choice, copyStyles()}, kFile},
       .options = kRange,
       .example = {"Eight bytes as a C array",
                   "quillmor-cli copy-as c-array vbios.rom --start 0x40 --length 8"},
       .run = copyAs},
  };
}

std::vector<Command> comparisons() {
  constexpr std::string_view kDiffer = "the files differ";
  return {
      {.name = "compare",
       .group = kComparing,
       .summary = "Say whether, and where first, two files differ",
       .no = kDiffer,
       .arguments = {kFile, kOther},
       .example = {"Was the flash written as it should be?",
                   "quillmor-cli compare vbios.rom readback.rom"},
       .run = compare},
      {.name = "compare-list",
       .group = kComparing,
       .summary = "List the first 300 differences of two files",
       .no = kDiffer,
       .arguments = {kFile, kOther},
       .example = {"Where do two dumps differ?", "quillmor-cli compare-list monday.bin today.bin"},
       .run = compareList},
      {.name = "difference-report",
       .group = kComparing,
       .summary = "List all differences of two files",
       .no = kDiffer,
       .arguments = {kFile, kOther},
       .options = kTextOutput,
       .example = {"Keep all differences in a file",
                   "quillmor-cli difference-report old.rom new.rom -o differences.txt"},
       .run = differenceReport},
  };
}

std::vector<Command> searches() {
  constexpr std::string_view kNowhere = "there is no match";
  return {
      {.name = "find",
       .group = kSearching,
       .summary = "Print offset and length of the next match",
       .no = kNowhere,
       .arguments = {kFile, kText},
       .options = joined({kMode, kFrom, kBackward}),
       .example = {"The last PCI data structure",
                   "quillmor-cli find vbios.rom PCIR --case-sensitive --backward"},
       .run = find},
      {.name = "find-all",
       .group = kSearching,
       .summary = "Print offset and length of every match, and their number",
       .no = kNowhere,
       .arguments = {kFile, kText},
       .options = kMode,
       .example = {"All places that hold the number 1750 in any width and byte order",
                   "quillmor-cli find-all vbios.rom 1750 --mode integer"},
       .run = findAll},
      {.name = "find-wildcard",
       .group = kSearching,
       .summary = "Print the next match of hex bytes, ?? being any byte",
       .no = kNowhere,
       .arguments = {kFile, {"PATTERN", "Hexadecimal bytes, ?? for any byte"}},
       .options = kFrom,
       .example = {"An option ROM header of any size",
                   "quillmor-cli find-wildcard flash.bin '55 AA ?? E9'"},
       .run = findWildcard},
  };
}

std::vector<Command> firmwareTools() {
  return {
      {.name = "pci-rom",
       .group = kFirmware,
       .summary = "Report on the first image of a PCI option ROM",
       .no = "it has no option ROM signature",
       .arguments = {kFile},
       .example = {"Which card is this ROM for?", "quillmor-cli pci-rom vbios.rom"},
       .run = pciRom},
      {.name = "acpi-validate",
       .group = kFirmware,
       .summary = "Say whether the checksum of an ACPI table is valid",
       .no = "the checksum is invalid",
       .arguments = {kFile},
       .example = {"Check a table before it is used", "quillmor-cli acpi-validate DSDT.aml"},
       .run = acpiValidate},
      {.name = "acpi-fix",
       .group = kFirmware,
       .summary = "Make the checksum of an ACPI table valid",
       .arguments = {kFile},
       .options = kBytesOutput,
       .example = {"Fix a table that was edited", "quillmor-cli acpi-fix DSDT.aml --in-place"},
       .run = acpiFix},
      {.name = "polaris-validate",
       .group = kFirmware,
       .summary = "Say whether the checksum of a Polaris video BIOS is valid",
       .no = "the checksum is invalid",
       .arguments = {kFile},
       .example = {"Check a video BIOS before flashing", "quillmor-cli polaris-validate vbios.rom"},
       .run = polarisValidate},
      {.name = "polaris-fix",
       .group = kFirmware,
       .summary = "Make the checksum of a Polaris video BIOS valid",
       .arguments = {kFile},
       .options = kBytesOutput,
       .example = {"Fix a video BIOS that was edited",
                   "quillmor-cli polaris-fix vbios.rom -o fixed.rom"},
       .run = polarisFix},
      {.name = "rx580",
       .group = kFirmware,
       .summary = "Apply the RX 580 preset for macOS to a Polaris video BIOS",
       .no = "no byte had to change",
       .arguments = {kFile},
       .options =
           joined({{{"--fix-checksum", {"", "Make the checksum valid afterwards"}}}, kBytesOutput}),
       .example = {"Patch a video BIOS and fix its checksum",
                   "quillmor-cli rx580 vbios.rom --fix-checksum -o patched.rom"},
       .run = rx580},
  };
}

std::vector<Command> changes() {
  return {
      {.name = "replace",
       .group = kChanging,
       .summary = "Replace every match",
       .no = "there is no match",
       .arguments = {kFile, kText, {"REPLACEMENT", "What to put there, read as TEXT is"}},
       .options = joined({kMode, kBytesOutput}),
       .example = {"Raise all clocks of 1750 to 1850",
                   "quillmor-cli replace vbios.rom 1750 1850 --mode integer -o new.rom"},
       .run = replace},
      {.name = "transform",
       .group = kChanging,
       .summary = "Rewrite the bytes of a range",
       .arguments = {{"NAME", "What to do with them", ValueKind::choice, transformNames()}, kFile},
       .options = joined({{{"--pattern", {"PATTERN", "Hexadecimal bytes for xor, and, or, fill"}}},
                          kRange,
                          kBytesOutput}),
       .example = {"Swap the bytes of a 16-bit flash dump",
                   "quillmor-cli transform swap16 flash.bin -o swapped.bin"},
       .run = transform},
      {.name = "patch-apply",
       .group = kChanging,
       .summary = "Apply a text patch",
       .arguments = {kFile, {"PATCH", "The patch file", ValueKind::file}},
       .options = kBytesOutput,
       .example = {"Apply a patch to a copy",
                   "quillmor-cli patch-apply bad.rom fix.txt -o new.rom"},
       .run = patchApply},
      {.name = "preset-dry-run",
       .group = kChanging,
       .summary = "Report what a JSON preset would replace",
       .no = "it would replace nothing",
       .arguments = {kFile, kPreset},
       .example = {"Try a preset", "quillmor-cli preset-dry-run vbios.rom preset.json"},
       .run = presetDryRun},
      {.name = "preset-apply",
       .group = kChanging,
       .summary = "Apply a JSON preset",
       .no = "nothing was replaced",
       .arguments = {kFile, kPreset},
       .options = kBytesOutput,
       .example = {"Apply a preset to a copy",
                   "quillmor-cli preset-apply vbios.rom preset.json -o new.rom"},
       .run = presetApply},
  };
}

std::vector<Command> recoveries() {
  constexpr std::string_view kRecord = "ID";
  return {
      {.name = "recover",
       .group = kRecovery,
       .summary = "List, write or discard what the editor could not save",
       .no = "there is none or bytes differ",
       .arguments = {{.name = kRecord,
                      .description = "The record to write to OUT, as --list names it",
                      .isOptional = true}},
       .options = {{"--list", {"", "Print ID, kind, time, size and file of every record"}},
                   {"--show", {kRecord, "Print what differs from the file"}},
                   {"-o", {"OUT", "Write the recovered bytes to this file", ValueKind::file}},
                   {"--discard", {kRecord, "Remove the record"}}},
       .example = {"Keep what a crash of the editor left",
                   "quillmor-cli recover \"$ID\" -o rescued.bin"},
       .run = recover},
  };
}

}  // namespace

bool Command::changesBytes() const {
  return std::ranges::any_of(
      options, [](const OptionDescription& option) { return option.name == "--in-place"; });
}

bool Command::takesSeveralFiles() const {
  const auto isFile = [](const ValueDescription& value) { return value.kind == ValueKind::file; };
  return std::ranges::count_if(arguments, isFile) > 1;
}

const std::vector<Command>& commands() {
  static const std::vector<Command> all = [] {
    std::vector<Command> list;
    for (const auto makeGroup :
         {reports, exports, comparisons, searches, firmwareTools, changes, recoveries}) {
      std::ranges::copy(makeGroup(), std::back_inserter(list));
    }
    return list;
  }();
  return all;
}

std::span<const std::string_view> commandGroups() {
  return kGroups;
}

const Command* findCommand(std::string_view name) {
  const auto found = std::ranges::find(commands(), name, &Command::name);
  return found == commands().end() ? nullptr : &*found;
}

}  // namespace quillmor::cli
