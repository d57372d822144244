#include "window/commands/SafetyCommands.h"

#include "document/ReadBack.h"
#include "window/commands/SaveReport.h"

namespace quillmor {

namespace {

constexpr const char* kLastSave = "Last Save";

}  // namespace

std::span<const CommandRow<SafetyCommands>> SafetyCommands::rows() {
  using Family = SafetyCommands;
  static constexpr CommandRow<Family> kRows[] = {
      {{.action = "forwardShowLastSave:",
        .title = kLastSave,
        .need = CommandNeed::file,
        .busyTitle = kLastSave},
       &Family::showLastSave},
  };
  return kRows;
}

/// The file is read anew, so that the report shows what the disk has.
void SafetyCommands::showLastSave() {
  const auto& receipt = session_.document().lastSave();
  const auto& location = session_.document().location();
  if (!receipt || !location)
    return messages_.alert(kLastSave, "This document has not been saved since it was opened.");
  auto work = [receipt = *receipt, location = *location](TaskProgress& progress) {
    return saveReport(location, receipt, resultOf([&] { return readBack(location, &progress); }));
  };
  context_.runBackgroundTask("Reading the file back…", std::move(work),
                             [this](const Result<std::string>& report) {
                               if (!messages_.failed(report, "Last Save Failed"))
                                 context_.showUtilityReport(kLastSave, report.value());
                             });
}

}  // namespace quillmor
