#include "window/commands/SafetyCommands.h"

#include "document/ReadBack.h"
#include "window/commands/SaveReport.h"

namespace quillmor {

namespace {

constexpr const char* kLastSave = "Last Save";
constexpr const char* kLeaveNoTrace = "Leave No Trace";

}  // namespace

std::span<const CommandRow<SafetyCommands>> SafetyCommands::rows() {
  using Family = SafetyCommands;
  static constexpr CommandRow<Family> kRows[] = {
      {{.action = "forwardShowLastSave:",
        .title = kLastSave,
        .need = CommandNeed::file,
        .busyTitle = kLastSave},
       &Family::showLastSave},
      {{.action = "forwardLeaveNoTrace:", .title = kLeaveNoTrace, .busyTitle = kLeaveNoTrace},
       &Family::leaveNoTrace},
  };
  return kRows;
}

/// The file is read anew, so that the report shows what the disk has.
void SafetyCommands::showLastSave() {
  const auto& receipt = session_.document().lastSave();
  const auto& location = session_.document().location();
  if (!receipt || !location)
    return messages_.alert(kLastSave, "This document has not been saved since it was opened.");
  const auto& unfinishedSave = session_.document().unfinishedSave();
  const std::int64_t recordByteCount =
      context_.unsavedChanges().bytesOnDisk() + (unfinishedSave ? unfinishedSave->byteCount() : 0);
  auto work = [receipt = *receipt, location = *location, recordByteCount](TaskProgress& progress) {
    return saveReport(location, receipt, resultOf([&] { return readBack(location, &progress); }),
                      recordByteCount);
  };
  context_.runBackgroundTask("Reading the file back…", std::move(work),
                             [this](const Result<std::string>& report) {
                               if (!messages_.failed(report, "Last Save Failed"))
                                 context_.showUtilityReport(kLastSave, report.value());
                             });
}

/// Chosen again, it keeps everything again.
void SafetyCommands::leaveNoTrace() {
  if (!context_.mayKeepTraces())
    return messages_.showNotice("Quillmor was started with --private: nothing is kept.");
  if (context_.traces() == Traces::none) {
    context_.setTraces(Traces::kept);
    return messages_.showNotice("History and unsaved changes are kept again.");
  }
  const auto isSure = context_.ask(kLeaveNoTrace, [&]() -> std::optional<Done> {
    const auto response = context_.platform().alerts.runModal(
        {.messageText = "Leave No Trace of \"" + session_.document().displayName() + "\"?",
         .informativeText =
             "Its history and the records of its unsaved changes are removed, and none are kept "
             "until this window closes. After a crash its unsaved changes cannot be recovered.",
         .style = AlertStyle::warning,
         .buttons = {"Cancel", kLeaveNoTrace},
         .cancelButton = 0});
    return response.button == 1 ? std::optional(Done()) : std::nullopt;
  });
  if (!isSure) return;
  context_.setTraces(Traces::none);
  messages_.showNotice("No history and no unsaved changes are kept until this window closes.");
}

}  // namespace quillmor
