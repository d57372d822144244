// Validating and fixing firmware checksums, and the presets for graphics cards.

#include "tools/firmware/AcpiTables.h"
#include "tools/firmware/PolarisRom.h"
#include "window/HexWindowController.h"

namespace quillmor {

namespace {

constexpr const char* kAcpi = "ACPI Checksum";
constexpr const char* kAcpiFailed = "ACPI Checksum Failed";
constexpr const char* kFixPolaris = "Fix Polaris Checksum";
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

void HexWindowController::validateACPIChecksum() {
  auto work = [](const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
    return quillmor::validateACPIChecksum(bytes.span(), &progress).text;
  };
  std::function completion = [this](Result<std::string> text) {
    if (!failed(text, kAcpiFailed)) alert(kAcpi, text.value());
  };
  runBackgroundSnapshotTask("Validating ACPI checksum…", {}, work, std::move(completion));
}

void HexWindowController::fixACPIChecksum() {
  constexpr const char* kActionName = "Fix ACPI Checksum";
  if (refuseWhileBusy(kActionName)) return;
  auto work = [](const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
    return acpiChecksumFix(bytes.span(), &progress);
  };
  std::function completion = [this](Result<ACPIChecksumFix> fix) {
    if (failed(fix, kAcpiFailed)) return;
    if (byteCount() <= kACPIChecksumOffset)
      return alert(kAcpi, "The document is too small to update the checksum byte.");
    const auto [oldValue, newValue] = fix.value();
    const bool isDone = oldValue == newValue || writeChecksumByte(kACPIChecksumOffset, newValue,
                                                                  {kActionName, kAcpiFailed});
    if (isDone) alert(kAcpi, acpiChecksumFixText(fix.value()));
  };
  runBackgroundSnapshotTask("Fixing ACPI checksum…", {}, work, std::move(completion));
}

/// Writes one byte as an undoable step and selects it; false, after an alert, when memory runs out.
bool HexWindowController::writeChecksumByte(std::int64_t offset, std::uint8_t value,
                                            const EditTitles& titles) {
  const HexSelection place{offset, 1};
  return replaceRange(place, {&value, 1}, titles, {.caretOffset = offset, .selection = place});
}

/// What a ROM says about itself; absent, after an alert, when the presets must not touch it.
std::optional<PCIRomValidation> HexWindowController::validatePCIRomForPolarisPreset(
    const std::string& title) {
  const auto validation =
      quillmor::validatePCIRomForPolarisPreset(hexDocument_->storage()->bytes.span());
  if (validation.isOk()) return validation.value();
  alert(title, validation.error().message());
  return std::nullopt;
}

void HexWindowController::validatePolarisChecksum() {
  constexpr const char* kTitle = "Validate Polaris Checksum";
  if (const auto validation = validatePCIRomForPolarisPreset(kTitle))
    alert(kTitle, polarisValidationText(hexDocument_->storage()->bytes.span(), *validation));
}

/// Whether the user agrees to a change of the document, and it may be changed now.
bool HexWindowController::isConfirmed(const std::string& title, const std::string& text,
                                      const std::string& button, const std::string& busyTitle) {
  const auto response = platform_.alerts.runModal({.messageText = title,
                                                   .informativeText = text,
                                                   .style = AlertStyle::warning,
                                                   .buttons = {button, "Cancel"}});
  // The question ran the event loop.
  return response.button == 0 && window_ && !refuseWhileBusy(busyTitle);
}

void HexWindowController::fixPolarisChecksum() {
  if (refuseWhileBusy(kFixPolaris)) return;
  if (!isConfirmed(kFixPolaris, kAboutFixPolaris, "Fix", kFixPolaris)) return;
  if (const auto result = applyPolarisChecksumFix())
    alert(kFixPolaris, polarisChecksumReport(*result));
}

/// Makes the first image add up to 0 and selects the checksum byte; absent, after an alert, when
/// that cannot be done.
std::optional<PolarisChecksumResult> HexWindowController::applyPolarisChecksumFix() {
  const auto validation = validatePCIRomForPolarisPreset(kFixPolaris);
  if (!validation) return std::nullopt;
  const auto result = polarisChecksumFix(hexDocument_->storage()->bytes.span(), *validation);
  if (!result.changed) {
    goTo(result.checksumOffset, {result.checksumOffset, 1});
    return result;
  }
  if (!writeChecksumByte(result.checksumOffset, result.newChecksum,
                         {kFixPolaris, "Fix Polaris Checksum Failed"}))
    return std::nullopt;
  return result;
}

void HexWindowController::applyRx580MacOSPreset() {
  applyRx580MacOSPresetInternal(/*fixChecksumAfterPatch=*/false);
}

void HexWindowController::applyRx580MacOSPresetAndFixChecksum() {
  applyRx580MacOSPresetInternal(/*fixChecksumAfterPatch=*/true);
}

void HexWindowController::applyRx580MacOSPresetInternal(bool fixChecksumAfterPatch) {
  constexpr const char* kBusyTitle = "Apply Preset";
  if (refuseWhileBusy(kBusyTitle)) return;
  const std::string title =
      std::string(kApplyRx580) + (fixChecksumAfterPatch ? " + Fix Checksum" : "");
  if (!isConfirmed(title, fixChecksumAfterPatch ? kAboutRx580AndFix : kAboutRx580, "Apply",
                   kBusyTitle))
    return;
  const auto run = applyRx580MacOSPatchRules();
  if (!run) return;
  // An alert about the ROM ran the event loop.
  if (!window_ || refuseWhileBusy(kBusyTitle)) return;
  std::string text;
  if (!fixChecksumAfterPatch) {
    text = rx580ResultText(*run);
    if (run->totalReplacements == 0) refuse("The preset found nothing to replace.");
  } else {
    text = rx580AndFixResultText(*run, applyPolarisChecksumFix());
  }
  if (window_) alert(title, text);
}

/// Applies the rules as one undoable step. Absent, after an alert, when memory runs out.
std::optional<Rx580PatchRun> HexWindowController::applyRx580MacOSPatchRules() {
  const auto validation = validatePCIRomForPolarisPreset(kApplyRx580);
  if (!validation) return Rx580PatchRun{.report = {"Preset validation failed."}};
  auto run =
      quillmor::applyRx580MacOSPatchRules(hexDocument_->storage()->bytes.span(), *validation);
  if (run.totalReplacements == 0) return run;
  const std::int64_t first = *run.firstReplacementOffset;
  const bool isWritten = replaceRange({0, std::ssize(run.region)}, run.region,
                                      {"Rx580 macOS Preset", std::string(kApplyRx580) + " Failed"},
                                      {.caretOffset = first, .selection = {first, 4}});
  if (!isWritten) return std::nullopt;
  return run;
}

}  // namespace quillmor
