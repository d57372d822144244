#pragma once

#include <span>

#include "window/commands/CommandFamily.h"
#include "window/commands/DocumentReplacement.h"
#include "window/commands/DocumentSaving.h"

namespace quillmor {

/// Saving, reverting and reloading.
class DocumentCommands : private CommandFamily {
 public:
  /// All outlive this object.
  DocumentCommands(CommandContext& context, DocumentSaving& saving,
                   DocumentReplacement& replacement)
      : CommandFamily(context), saving_(saving), replacement_(replacement) {}
  static std::span<const CommandRow<DocumentCommands>> rows();

 private:
  void saveDocument();
  void saveDocumentAs();
  void revertDocument();
  void reloadFromDisk();

  DocumentSaving& saving_;
  DocumentReplacement& replacement_;
};

}  // namespace quillmor
