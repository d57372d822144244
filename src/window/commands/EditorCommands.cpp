#include "window/commands/EditorCommands.h"

#include <string>

namespace quillmor {

namespace {

template <class Family>
const Command* findIn(std::string_view action) {
  const auto* row = findRow(Family::rows(), action);
  return row ? &row->command : nullptr;
}

template <class... Families>
const Command* findInAny(std::string_view action) {
  const Command* found = nullptr;
  ((found = findIn<Families>(action)) || ...);
  return found;
}

}  // namespace

EditorCommands::EditorCommands(CommandContext& context)
    : context_(context),
      saving_(context),
      navigation_(context),
      replacement_(context, saving_, [this] { navigation_.saveSessionOffset(); }),
      document_(context, saving_, replacement_),
      editing_(context),
      searching_(context),
      replacing_(context, searching_),
      bookmarks_(context),
      exporting_(context),
      reports_(context),
      formats_(context),
      firmware_(context),
      inserting_(context),
      transforms_(context),
      values_(context) {}

const Command* EditorCommands::find(std::string_view action) {
  return findInAny<DocumentCommands, EditCommands, NavigationCommands, SearchCommands,
                   BookmarkCommands, ExportCommands, ReportCommands, FormatCommands,
                   FirmwareCommands, InsertCommands, TransformCommands, ValueCommands>(action);
}

void EditorCommands::perform(std::string_view action) {
  context_.clearNotice();
  const auto performInAny = [&](auto&... families) { (performIn(families, action) || ...); };
  performInAny(document_, editing_, navigation_, searching_, bookmarks_, exporting_, reports_,
               formats_, firmware_, inserting_, transforms_, values_);
}

/// True if the family has the command.
template <class Family>
bool EditorCommands::performIn(Family& family, std::string_view action) {
  const auto* row = findRow(Family::rows(), action);
  if (row == nullptr) return false;
  const std::string busyTitle(row->command.busyTitle);
  if (busyTitle.empty() || !context_.refuseWhileBusy(busyTitle)) (family.*row->perform)();
  return true;
}

}  // namespace quillmor
