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
  context_.traces() == Traces::none ? keepAgain() : keepNothing();
}

void SafetyCommands::keepNothing() {
  const std::string title = "Leave No Trace of \"" + session_.document().displayName() + "\"?";
  std::string text =
      "Its history and the records of its unsaved changes are removed, and none are kept until "
      "this window closes or you choose this again. After a crash its unsaved changes cannot be "
      "recovered.";
  // The file has neither the old nor the new bytes; this copy has the new ones.
  if (session_.document().unfinishedSave())
    text += " The kept bytes of the save that failed stay until a save succeeds.";
  if (!isConfirmed(title, text, kLeaveNoTrace)) return;
  context_.setTraces(Traces::none);
  messages_.showNotice(
      "No history and no unsaved changes are kept until this window closes or Leave No Trace is "
      "chosen again.");
}

void SafetyCommands::keepAgain() {
  const bool isSure = isConfirmed("Keep History and Records Again?",
                                  "Unsaved changes of \"" + session_.document().displayName() +
                                      "\" are recorded again, so that they can be recovered, and "
                                      "its history begins anew.",
                                  "Keep Again");
  if (!isSure) return;
  context_.setTraces(Traces::kept);
  messages_.showNotice("History and unsaved changes are kept again.");
}

/// Asks a question that Cancel answers unless the user chooses `button`.
bool SafetyCommands::isConfirmed(const std::string& question, const std::string& text,
                                 const std::string& button) {
  const auto answer = context_.ask(kLeaveNoTrace, [&]() -> std::optional<Done> {
    const auto response = context_.platform().alerts.runModal({.messageText = question,
                                                               .informativeText = text,
                                                               .style = AlertStyle::warning,
                                                               .buttons = {"Cancel", button},
                                                               .cancelButton = 0});
    return response.button == 1 ? std::optional(Done()) : std::nullopt;
  });
  return answer.has_value();
}

}  // namespace quillmor
