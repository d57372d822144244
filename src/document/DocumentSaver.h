#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/Result.h"
#include "document/DocumentController.h"
#include "document/FileSave.h"
#include "document/HexDocument.h"
#include "platform/BackgroundExecutor.h"

namespace quillmor {

enum class DocumentSaveResult { success, cancelled, failed };

/// How a save ended, with the error to show when it failed.
struct DocumentSaveOutcome {
  DocumentSaveResult result = DocumentSaveResult::success;
  std::optional<Error> error;
};

/// Saves documents from their windows. Runs the steps of a `FileSave`, which may wait for a disk,
/// on background threads. Asks the user, takes the snapshot and tells the document on the main
/// thread.
class DocumentSaver {
 public:
  /// What the owner of the window does during a save; all called on the main thread.
  struct Hooks {
    /// Asked when the file is no longer the one that was read or saved; true overwrites it.
    std::function<bool()> confirmOverwritingChangedFile;
    /// Asked when there is no place for a safety copy; true saves without one.
    std::function<bool()> confirmSavingWithoutSafetyCopy;
    /// What the editor adds to the bytes of a safety copy.
    std::function<EditorPlaces()> places;
    /// Called right before the bytes are written.
    std::function<void()> willWrite;
    /// Called when the bytes have been taken. What it returns is called on the saving thread once
    /// the file has them for good, before their safety copy goes; it does not throw.
    std::function<std::function<void()>()> didTakeBytes = {};
    std::function<void(const DocumentSaveOutcome&)> completion;
    /// Told how far the write has come; may be null.
    std::shared_ptr<TaskProgress> progress = {};
  };

  /// `safetyCopies` is null only where no save is to be safe.
  DocumentSaver(BackgroundExecutor& executor, const DocumentController& documents,
                std::shared_ptr<SafetyCopies> safetyCopies = nullptr)
      : executor_(executor), documents_(documents), safetyCopies_(std::move(safetyCopies)) {}

  /// Saves `document` to `destination`. Main thread; the hooks are called later, or at once when
  /// the save cannot even begin: the completion always is. The saver outlives them.
  void save(const std::shared_ptr<HexDocument>& document, const FileLocation& destination,
            DocumentSaveOperation operation, Hooks hooks);

  /// Removes the safety copy of a save that has left the document's file incomplete, because the
  /// user gives those bytes up.
  void forgetUnfinishedSave(HexDocument& document) noexcept;

 private:
  struct Job;
  enum class Overwriting { whatWasFound, whatIsThereNow };

  void prepare(const std::shared_ptr<Job>& job);
  void prepared(const std::shared_ptr<Job>& job, const Result<Done>& outcome);
  /// Runs a step of the save on the main thread. The save ends with what the step throws.
  template <class Step>
  static void endIfItFails(Job& job, Step step);
  /// Asks whether to overwrite what another program made of the document's own file.
  void askAndWrite(const std::shared_ptr<Job>& job);
  void write(const std::shared_ptr<Job>& job, Overwriting overwriting);
  static std::function<void()> removalOfOlderRecords(const Job& job);
  void written(const std::shared_ptr<Job>& job, Overwriting overwriting,
               Result<FileSave::Written> outcome);

  BackgroundExecutor& executor_;
  const DocumentController& documents_;
  /// Shared with the saves under way, which may outlive this object.
  const std::shared_ptr<SafetyCopies> safetyCopies_;
};

}  // namespace quillmor
