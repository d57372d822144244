#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "tools/firmware/PolarisRom.h"
#include "window/commands/CommandFamily.h"

namespace quillmor {

/// Validating and fixing firmware checksums, and the presets for graphics cards.
class FirmwareCommands : private CommandFamily {
 public:
  explicit FirmwareCommands(CommandContext& context) : CommandFamily(context) {}
  static std::span<const CommandRow<FirmwareCommands>> rows();

 private:
  void validateACPIChecksum();
  void fixACPIChecksum();
  void applyRx580MacOSPreset();
  void applyRx580MacOSPresetAndFixChecksum();
  void validatePolarisChecksum();
  void fixPolarisChecksum();

  bool writeChecksumByte(std::int64_t offset, std::uint8_t value, const std::string& actionName,
                         const std::string& failureTitle);
  std::optional<PCIRomValidation> validatePCIRomForPolarisPreset(const std::string& title);
  std::optional<PolarisChecksumResult> applyPolarisChecksumFix();
  std::optional<Rx580PatchRun> applyRx580MacOSPatchRules();
  void applyRx580MacOSPresetInternal(bool fixChecksumAfterPatch);
};

}  // namespace quillmor
