#pragma once

#include <span>
#include <string_view>

#include "cli/Arguments.h"
#include "cli/Session.h"

// What the commands do; the arguments each one takes stand in CommandTable.cpp. All of them read
// everything they need before they write anything, and throw `Error` or `UsageError`.

namespace quillmor::cli {

// Reports.
Outcome checksums(const Arguments& arguments, Session& session);
Outcome checksumRange(const Arguments& arguments, Session& session);
Outcome statistics(const Arguments& arguments, Session& session);
Outcome frequency(const Arguments& arguments, Session& session);
Outcome entropyMap(const Arguments& arguments, Session& session);
Outcome inspect(const Arguments& arguments, Session& session);
Outcome detect(const Arguments& arguments, Session& session);
Outcome bookmarks(const Arguments& arguments, Session& session);

// Exports.
Outcome strings(const Arguments& arguments, Session& session);
Outcome hexDump(const Arguments& arguments, Session& session);
Outcome intelHex(const Arguments& arguments, Session& session);
Outcome patchExport(const Arguments& arguments, Session& session);
/// The words for STYLE.
std::span<const std::string_view> copyStyles();
Outcome copyAs(const Arguments& arguments, Session& session);

// Comparing.
Outcome compare(const Arguments& arguments, Session& session);
Outcome compareList(const Arguments& arguments, Session& session);
Outcome differenceReport(const Arguments& arguments, Session& session);

// Searching.
Outcome find(const Arguments& arguments, Session& session);
Outcome findAll(const Arguments& arguments, Session& session);
Outcome findWildcard(const Arguments& arguments, Session& session);

// Firmware.
Outcome pciRom(const Arguments& arguments, Session& session);
Outcome acpiValidate(const Arguments& arguments, Session& session);
Outcome acpiFix(const Arguments& arguments, Session& session);
Outcome polarisValidate(const Arguments& arguments, Session& session);
Outcome polarisFix(const Arguments& arguments, Session& session);
Outcome rx580(const Arguments& arguments, Session& session);

// Changing bytes.
Outcome replace(const Arguments& arguments, Session& session);
/// The words for NAME.
std::span<const std::string_view> transformNames();
Outcome transform(const Arguments& arguments, Session& session);
Outcome patchApply(const Arguments& arguments, Session& session);
Outcome presetDryRun(const Arguments& arguments, Session& session);
Outcome presetApply(const Arguments& arguments, Session& session);

// Recovery.
Outcome recover(const Arguments& arguments, Session& session);

}  // namespace quillmor::cli
