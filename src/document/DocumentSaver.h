#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/Result.h"
#include "document/DocumentController.h"
#include "document/HexDocument.h"
#include "platform/BackgroundExecutor.h"

namespace quillmor {

enum class DocumentSaveOperation { save, saveAs };

enum class DocumentSaveResult { success, cancelled, failed };

/// How a save ended, with the error to show when it failed.
struct DocumentSaveOutcome {
  DocumentSaveResult result = DocumentSaveResult::success;
  std::optional<Error> error;
};

/// Saves documents: the only code that writes a document's bytes to its file. Runs the steps of a
/// save in their order: reserve the destination, compare it with the other open documents and with
/// the file as it was read or saved, take the snapshot, write. Reserving and writing, which may
/// wait for a disk, run on background threads, the others on the main thread.
///
/// A failed save to another place than the document's own file leaves that place as it was: no file
/// where there was none, the old bytes where there was one. A file that may not be read, or that
/// has more bytes than a document can have, is overwritten all the same, without its bytes being
/// kept.
class DocumentSaver {
 public:
  /// What the owner of the window does during a save; all called on the main thread.
  struct Hooks {
    /// Asked when the file is no longer the one that was read or saved; true overwrites it.
    std::function<bool()> confirmOverwritingChangedFile;
    /// Called right before the bytes are written.
    std::function<void()> willWrite;
    std::function<void(const DocumentSaveOutcome&)> completion;
    /// Told how far the write has come; may be null.
    std::shared_ptr<TaskProgress> progress = {};
    /// The bytes of the document's own file, to be put back into it when the write fails; absent
    /// where a window holds what was to be saved for another try.
    std::optional<ByteBuffer> ownBytes = {};
  };

  DocumentSaver(BackgroundExecutor& executor, const DocumentController& documents)
      : executor_(executor), documents_(documents) {}

  /// Saves `document` to `destination`. Main thread; the hooks are called later, or at once when
  /// the save cannot even begin: the completion always is. The saver outlives them.
  void save(const std::shared_ptr<HexDocument>& document, const FileLocation& destination,
            DocumentSaveOperation operation, Hooks hooks);

 private:
  struct Job;
  struct Preparation;
  struct WriteOutcome;
  void prepare(const std::shared_ptr<Job>& job);
  void prepared(const std::shared_ptr<Job>& job, Result<Preparation> preparation);
  /// Runs a step of the save on the main thread; what it throws is how the save ends.
  template <class Step>
  static void endIfItFails(Job& job, Step step);
  /// Asks whether to overwrite what another program made of the document's own file.
  void askAndWrite(const std::shared_ptr<Job>& job);
  void write(const std::shared_ptr<Job>& job);
  void written(const std::shared_ptr<Job>& job, Result<WriteOutcome> outcome);

  BackgroundExecutor& executor_;
  const DocumentController& documents_;
};

}  // namespace quillmor
