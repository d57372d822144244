#pragma once

#include <string_view>
#include <tuple>

#include "window/commands/BookmarkCommands.h"
#include "window/commands/DocumentCommands.h"
#include "window/commands/DocumentReplacement.h"
#include "window/commands/DocumentSaving.h"
#include "window/commands/EditCommands.h"
#include "window/commands/ExportCommands.h"
#include "window/commands/FirmwareCommands.h"
#include "window/commands/FormatCommands.h"
#include "window/commands/HistoryCommands.h"
#include "window/commands/InsertCommands.h"
#include "window/commands/NavigationCommands.h"
#include "window/commands/ReplaceCommands.h"
#include "window/commands/ReportCommands.h"
#include "window/commands/SafetyCommands.h"
#include "window/commands/SearchCommands.h"
#include "window/commands/TransformCommands.h"
#include "window/commands/ValueCommands.h"

namespace quillmor {

/// All commands of one editor window, by family and by the names of menu actions. Main thread only.
class EditorCommands {
 public:
  /// The context outlives this object.
  explicit EditorCommands(CommandContext& context);
  EditorCommands(const EditorCommands&) = delete;
  EditorCommands& operator=(const EditorCommands&) = delete;

  /// The facts of the command with this action, or null when editors have none.
  static const Command* find(std::string_view action);

  /// Carries the command out; refuses one that needs an idle window while an operation runs.
  void perform(std::string_view action);

  DocumentSaving& saving() { return saving_; }
  DocumentReplacement& replacement() { return replacement_; }
  NavigationCommands& navigation() { return std::get<NavigationCommands>(families_); }
  ExportCommands& exporting() { return std::get<ExportCommands>(families_); }
  SearchCommands& searching() { return std::get<SearchCommands>(families_); }
  HistoryCommands& history() { return std::get<HistoryCommands>(families_); }
  ReplaceCommands& replacing() { return replacing_; }

 private:
  /// The families with rows, in the order in which they are asked.
  using Families =
      std::tuple<DocumentCommands, EditCommands, NavigationCommands, SearchCommands,
                 BookmarkCommands, ExportCommands, ReportCommands, FormatCommands, FirmwareCommands,
                 InsertCommands, TransformCommands, ValueCommands, SafetyCommands, HistoryCommands>;

  template <class Family>
  bool performIn(Family& family, std::string_view action);

  CommandContext& context_;
  DocumentSaving saving_;
  DocumentReplacement replacement_;
  Families families_;
  ReplaceCommands replacing_;
};

}  // namespace quillmor
