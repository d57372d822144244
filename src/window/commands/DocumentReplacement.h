#pragma once

#include <functional>
#include <memory>
#include <string>

#include "document/DocumentLoader.h"
#include "recovery/RecoveryEntry.h"
#include "window/commands/CommandContext.h"
#include "window/commands/DocumentSaving.h"

namespace quillmor {

/// Putting another file, or the same one as it is now on disk, in the place of a window's document.
/// Main thread only; context and saving outlive this object.
class DocumentReplacement {
 public:
  using OpenCompletion = std::function<void(OpenCurrentResult)>;
  /// Gets the outcome of loading; `broughtToFront` when another window shows the file.
  using LoadCompletion = std::function<void(Result<OpenCurrentResult>)>;

  /// `willReplace` is called before the document becomes that of another file.
  DocumentReplacement(CommandContext& context, DocumentSaving& saving,
                      std::function<void()> willReplace)
      : context_(context), saving_(saving), willReplace_(std::move(willReplace)) {}

  /// Opens `location` after the question about unsaved changes.
  void openURLInCurrentWindow(const FileLocation& location, OpenCompletion completion);

  /// A file was dropped on the window.
  void openDroppedFile(const FileLocation& location);

  /// Makes the window's document one with unsaved changes that were recovered. Throws 1205 when it
  /// has more bytes than a document may have.
  void showRecovered(RecoveredDocument recovered);

  /// The titles of the alerts of one replacement.
  struct Titles {
    std::string failure;
    /// When another operation has begun while the user was asked about unsaved changes.
    std::string busy;
  };

  /// Refuses a file that is being saved, asks about unsaved changes and saves on request.
  void prepareToReplaceCurrentDocument(
      const FileLocation& location, const Titles& titles,
      std::function<void(DocumentReplacementPreparation)> completion);

  /// Loads the file in the busy state. While busy already, the completion gets the error 409.
  void beginLoadFileInCurrentWindow(const FileLocation& location, bool preservingEditorState,
                                    LoadCompletion completion);

  /// Loads the file and keeps caret, selection and bookmarks as far as they fit. A failure is
  /// alerted; `success` is called when the file is shown here.
  void loadPreservingEditorState(const FileLocation& location, const std::string& failureTitle,
                                 std::function<void()> success);

 private:
  void startLoad(const FileLocation& location, bool preservingEditorState, BusyScope busy,
                 LoadCompletion completion);
  Result<OpenCurrentResult> finishLoad(bool preservingEditorState, Result<LoadedDocument> result);
  OpenCurrentResult showLoadedFile(bool preservingEditorState, LoadedDocument& loaded);
  void openPrepared(const FileLocation& location, const OpenCompletion& completion);

  CommandContext& context_;
  DocumentSaving& saving_;
  const std::function<void()> willReplace_;
};

}  // namespace quillmor
