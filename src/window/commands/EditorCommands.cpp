#include "window/commands/EditorCommands.h"

#include <string>
#include <type_traits>
#include <utility>

namespace quillmor {

EditorCommands::EditorCommands(CommandContext& context)
    : context_(context),
      saving_(context),
      replacement_(context, saving_, [this] { navigation().saveSessionOffset(); }),
      families_(DocumentCommands(context, saving_, replacement_), EditCommands(context),
                NavigationCommands(context), SearchCommands(context), BookmarkCommands(context),
                ExportCommands(context), ReportCommands(context), FormatCommands(context),
                FirmwareCommands(context), InsertCommands(context), TransformCommands(context),
                ValueCommands(context), SafetyCommands(context), HistoryCommands(context)),
      replacing_(context, searching()) {}

const Command* EditorCommands::find(std::string_view action) {
  const Command* found = nullptr;
  const auto findIn = [&]<class Family>(std::type_identity<Family>) {
    const auto* row = findRow(Family::rows(), action);
    if (row != nullptr) found = &row->command;
    return row != nullptr;
  };
  [&]<std::size_t... Index>(std::index_sequence<Index...>) {
    (findIn(std::type_identity<std::tuple_element_t<Index, Families>>()) || ...);
  }
  (std::make_index_sequence<std::tuple_size_v<Families>>());
  return found;
}

void EditorCommands::perform(std::string_view action) {
  std::apply([&](auto&... families) { (performIn(families, action) || ...); }, families_);
}

/// True if the family has the command.
template <class Family>
bool EditorCommands::performIn(Family& family, std::string_view action) {
  const auto* row = findRow(Family::rows(), action);
  if (row == nullptr) return false;
  context_.messages().clearNotice();
  const std::string busyTitle(row->command.busyTitle);
  if (busyTitle.empty() || !context_.refuseWhileBusy(busyTitle)) (family.*row->perform)();
  return true;
}

}  // namespace quillmor
