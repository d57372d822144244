#include "window/commands/FirmwareCommands.h"

#include "tools/firmware/AcpiTables.h"

namespace quillmor {

namespace {

constexpr const char* kAcpi = "ACPI Checksum";
constexpr const char* kAcpiFailed = "ACPI Checksum Failed";
constexpr const char* kFixAcpi = "Fix ACPI Checksum";
constexpr const char* kValidatePolaris = "Validate Polaris Checksum";
constexpr const char* kFixPolaris = "Fix Polaris Checksum";
constexpr const char* kApplyPreset = "Apply Preset";
constexpr const char* kApplyRx580 = "Apply Preset: Rx580 macOS";

constexpr const char* kAboutFixPolaris =
    "This updates the AMD/Polaris PCI option ROM checksum byte at offset 0x21 so the first ROM "
    "image checksum becomes valid.\n\nIt only changes the opened document buffer and does not "
    "flash anything. Save a backup before saving or flashing any edited ROM.";

constexpr const char* kAboutRx580 =
    "This preset applies the RX580 2048SP to RX580 macOS VBIOS byte changes to the current "
    "document only.\n\nIt does not flash the GPU BIOS. Use Presets > Fix Polaris Checksum after "
    "this step if you want the checksum fix inside Quillmor. Save a backup before saving or "
    "flashing any edited ROM.";

constexpr const char* kAboutRx580AndFix =
    "This preset applies the RX580 2048SP to RX580 macOS VBIOS byte changes and then fixes the "
    "AMD/Polaris checksum byte at offset 0x21.\n\nIt only changes the current document buffer and "
    "does not flash the GPU BIOS. Save a backup before saving or flashing any edited ROM.";

}  // namespace

std::span<const CommandRow<FirmwareCommands>> FirmwareCommands::rows() {
  using Family = FirmwareCommands;
  static constexpr CommandRow<Family> kRows[] = {
      {{.action = "forwardValidateACPIChecksum:",
        .title = "Validate ACPI Checksum",
        .need = CommandNeed::bytes},
       &Family::validateACPIChecksum},
      {{.action = "forwardFixACPIChecksum:",
        .title = kFixAcpi,
        .need = CommandNeed::bytes,
        .busyTitle = kFixAcpi},
       &Family::fixACPIChecksum},
      {{.action = "forwardApplyRx580MacOSPreset:",
        .title = "Rx580 macOS",
        .need = CommandNeed::bytes,
        .busyTitle = kApplyPreset},
       &Family::applyRx580MacOSPreset},
      {{.action = "forwardApplyRx580MacOSPresetAndFixChecksum:",
        .title = "Rx580 macOS + Fix Checksum",
        .need = CommandNeed::bytes,
        .busyTitle = kApplyPreset},
       &Family::applyRx580MacOSPresetAndFixChecksum},
      {{.action = "forwardValidatePolarisChecksum:",
        .title = kValidatePolaris,
        .need = CommandNeed::bytes},
       &Family::validatePolarisChecksum},
      {{.action = "forwardFixPolarisChecksum:",
        .title = kFixPolaris,
        .need = CommandNeed::bytes,
        .busyTitle = kFixPolaris},
       &Family::fixPolarisChecksum},
  };
  return kRows;
}

void FirmwareCommands::validateACPIChecksum() {
  auto work = [](const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
    return quillmor::validateACPIChecksum(bytes.span(), &progress).text;
  };
  auto completion = [this](Result<std::string> text) {
    if (!messages_.failed(text, kAcpiFailed)) messages_.alert(kAcpi, text.value());
  };
  context_.runBackgroundSnapshotTask("Validating ACPI checksum…", {}, work, std::move(completion));
}

void FirmwareCommands::fixACPIChecksum() {
  auto work = [](const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
    return acpiChecksumFix(bytes.span(), &progress);
  };
  auto completion = [this](Result<ACPIChecksumFix> fix) {
    if (messages_.failed(fix, kAcpiFailed)) return;
    if (session_.byteCount() <= kACPIChecksumOffset)
      return messages_.alert(kAcpi, "The document is too small to update the checksum byte.");
    const auto [oldValue, newValue] = fix.value();
    const bool isDone = oldValue == newValue ||
                        writeChecksumByte(kACPIChecksumOffset, newValue, kFixAcpi, kAcpiFailed);
    if (isDone) messages_.alert(kAcpi, acpiChecksumFixText(fix.value()));
  };
  context_.runBackgroundSnapshotTask("Fixing ACPI checksum…", {}, work, std::move(completion));
}

/// Writes one byte as an undoable step and selects it; false, after an alert, when memory runs out.
bool FirmwareCommands::writeChecksumByte(std::int64_t offset, std::uint8_t value,
                                         const std::string& actionName,
                                         const std::string& failureTitle) {
  const HexSelection place{offset, 1};
  return !messages_.attempt(failureTitle, [&] {
    session_.replaceRange({.range = place,
                           .actionName = actionName,
                           .after = {.caretOffset = offset, .selection = place}},
                          {&value, 1});
  });
}

/// The ROM's own description; absent, after an alert, when the presets must not touch it.
std::optional<PCIRomValidation> FirmwareCommands::validatePCIRomForPolarisPreset(
    const std::string& title) {
  const auto validation = quillmor::validatePCIRomForPolarisPreset(session_.bytes().span());
  if (validation.isOk()) return validation.value();
  messages_.alert(title, validation.error().message());
  return std::nullopt;
}

void FirmwareCommands::validatePolarisChecksum() {
  if (const auto validation = validatePCIRomForPolarisPreset(kValidatePolaris))
    messages_.alert(kValidatePolaris, polarisValidationText(session_.bytes().span(), *validation));
}

void FirmwareCommands::fixPolarisChecksum() {
  if (!context_.confirm(kFixPolaris, kAboutFixPolaris, "Fix", kFixPolaris)) return;
  if (const auto result = applyPolarisChecksumFix())
    messages_.alert(kFixPolaris, polarisChecksumReport(*result));
}

/// Makes the first image add up to 0 and selects the checksum byte; absent, after an alert, when
/// that cannot be done.
std::optional<PolarisChecksumResult> FirmwareCommands::applyPolarisChecksumFix() {
  const auto validation = validatePCIRomForPolarisPreset(kFixPolaris);
  if (!validation) return std::nullopt;
  const auto result = polarisChecksumFix(session_.bytes().span(), *validation);
  if (!result.changed) {
    session_.goTo({result.checksumOffset, {result.checksumOffset, 1}});
    return result;
  }
  if (!writeChecksumByte(result.checksumOffset, result.newChecksum, kFixPolaris,
                         "Fix Polaris Checksum Failed"))
    return std::nullopt;
  return result;
}

void FirmwareCommands::applyRx580MacOSPreset() {
  applyRx580MacOSPresetInternal(/*fixChecksumAfterPatch=*/false);
}

void FirmwareCommands::applyRx580MacOSPresetAndFixChecksum() {
  applyRx580MacOSPresetInternal(/*fixChecksumAfterPatch=*/true);
}

void FirmwareCommands::applyRx580MacOSPresetInternal(bool fixChecksumAfterPatch) {
  const std::string title =
      std::string(kApplyRx580) + (fixChecksumAfterPatch ? " + Fix Checksum" : "");
  if (!context_.confirm(title, fixChecksumAfterPatch ? kAboutRx580AndFix : kAboutRx580, "Apply",
                        kApplyPreset))
    return;
  const auto run = applyRx580MacOSPatchRules();
  // An alert about the ROM runs the event loop, as a question does.
  if (!run || !context_.hasWindow() || context_.refuseWhileBusy(kApplyPreset)) return;
  std::string text;
  if (!fixChecksumAfterPatch) {
    text = rx580ResultText(*run);
    if (run->totalReplacements == 0) messages_.refuse("The preset found nothing to replace.");
  } else {
    text = rx580AndFixResultText(*run, applyPolarisChecksumFix());
  }
  if (context_.hasWindow()) messages_.alert(title, text);
}

/// Applies the rules as one undoable step. Absent, after an alert, when memory runs out.
std::optional<Rx580PatchRun> FirmwareCommands::applyRx580MacOSPatchRules() {
  const auto validation = validatePCIRomForPolarisPreset(kApplyRx580);
  if (!validation) return Rx580PatchRun{.report = {"Preset validation failed."}};
  auto run = quillmor::applyRx580MacOSPatchRules(session_.bytes().span(), *validation);
  if (run.totalReplacements == 0) return run;
  const std::int64_t first = *run.firstReplacementOffset;
  const bool hasFailed = messages_.attempt(std::string(kApplyRx580) + " Failed", [&] {
    session_.replaceRange({.range = {0, std::ssize(run.region)},
                           .actionName = "Rx580 macOS Preset",
                           .after = {.caretOffset = first, .selection = {first, 4}}},
                          run.region);
  });
  if (hasFailed) return std::nullopt;
  return run;
}

}  // namespace quillmor
