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
    /// Asks the desktop to wait.
    std::shared_ptr<void> sessionHold = {};
    /// That of the destination, if it was not held already.
    std::shared_ptr<const OpenFileLock> lock = {};
  };

  void lockAndSave(const FileLocation& destination, DocumentSaveOperation operation,
                   const std::shared_ptr<Run>& run);
  bool mayReplaceOpenFile(const Run& run);
  void save(const FileLocation& destination, DocumentSaveOperation operation,
            const std::shared_ptr<Run>& run);

  DocumentSaver::Hooks hooks(const FileLocation& destination, const std::shared_ptr<Run>& run);
  bool confirmsOverwritingChangedFile();
  void keepOrLetGo(std::shared_ptr<const OpenFileLock> lock, DocumentSaveResult result);
  bool confirmsSavingWithoutSafetyCopy();
  void saveDidEnd(const DocumentSaveOutcome& outcome, Run& run);

  CommandContext& context_;
};

}  // namespace quillmor
