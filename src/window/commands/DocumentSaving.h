#pragma once

#include <functional>
#include <memory>
#include <string>

#include "document/DocumentSaver.h"
#include "window/commands/CommandContext.h"

namespace quillmor {

/// Saving the document of one window. Main thread only; the context outlives this object.
class DocumentSaving {
 public:
  using Completion = std::function<void(DocumentSaveResult)>;

  explicit DocumentSaving(CommandContext& context) : context_(context) {}

  /// Saves to the document's file; asks for one where there is none.
  void saveCurrentDocument(Completion completion);

  /// Asks for a file and saves to it. A refusal because another operation has begun meanwhile
  /// counts as cancelled.
  void chooseDestinationAndSave(Completion completion);

  /// Saves in the busy state, with an alert when that fails. The completion is called once, after
  /// the busy state has ended.
  void performDocumentSave(const FileLocation& destination, DocumentSaveOperation operation,
                           const std::string& statusTitle, Completion completion);

 private:
  /// A save under way.
  struct Run {
    BusyScope busy;
    Completion completion;
  };

  DocumentSaver::Hooks hooks(const FileLocation& destination, const std::shared_ptr<Run>& run);
  bool confirmsOverwritingChangedFile();
  bool confirmsSavingWithoutSafetyCopy();
  void saveDidEnd(const DocumentSaveOutcome& outcome, Run& run);

  CommandContext& context_;
};

}  // namespace quillmor
