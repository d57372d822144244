#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "base/ByteBuffer.h"
#include "base/FileLocation.h"
#include "base/TaskProgress.h"
#include "document/KnownFile.h"
#include "document/SafetyCopy.h"
#include "document/SaveReceipt.h"
#include "fileaccess/DocumentOutput.h"
#include "fileaccess/Reservations.h"

namespace quillmor {

/// `save` goes to the document's own file, `saveAs` to any place, which may be that file too.
enum class DocumentSaveOperation { save, saveAs };

/// One save of a document into a file, in steps: `prepare`, a question to the user where that is
/// needed, `secure`, and `write`. The only code that writes a document's bytes to its file. Every
/// step may wait for a disk. Any thread, one step at a time. The destination stays reserved from
/// the first step until `release` or the end of this object.
///
/// Between `secure` and the end of a successful `write` a safety copy has the new bytes, so that
/// neither a crash nor a failing disk loses both them and the old ones.
///
/// A failed save to another place than the document's own file leaves that place as it was: no file
/// where there was none, the old bytes where there was one. A file that may not be read, or that
/// has more bytes than a document can have, is overwritten all the same, without its bytes being
/// kept.
class FileSave {
 public:
  struct Request {
    FileLocation destination;
    DocumentSaveOperation operation = DocumentSaveOperation::save;
    /// The document's own file; absent for an untitled document.
    std::optional<FileLocation> ownFile = {};
    /// That file as it was last read or saved.
    std::optional<KnownFile> known = {};
    /// The bytes of that file, to be put back into it when the write fails; absent where a window
    /// holds what was to be saved for another try.
    std::optional<ByteBuffer> ownBytes = {};
    /// Where the new bytes are kept during the write; null for nowhere.
    std::shared_ptr<SafetyCopies> safetyCopies = nullptr;
    /// Reads the file back from the disk before the safety copy goes, and fails with code 2007 when
    /// it has other bytes.
    bool verifies = false;
  };

  struct Written {
    KnownFile file;
    /// Saving must never have to follow a link, so this becomes the document's location.
    FileLocation realLocation;
    SaveReceipt receipt;
  };

  explicit FileSave(Request request);
  /// Removes a safety copy of bytes that were never begun to be written.
  ~FileSave();
  FileSave(FileSave&&) = default;
  FileSave& operator=(FileSave&&) = delete;
  FileSave(const FileSave&) = delete;
  FileSave& operator=(const FileSave&) = delete;

  /// Reserves the destination, looks at it and checks what can be known before it is touched: that
  /// `byteCount` bytes may be written there, and that it is none of `openDocuments`. Compares the
  /// document's own file with what is known of it. May be called again. Throws what
  /// `reserveOutputURL`, `documentDestination`, `requireWritable` and `validateDistinctOutputURL`
  /// do, in this order.
  void prepare(std::int64_t byteCount, std::span<const FileLocation> openDocuments,
               TaskProgress* progress = nullptr);

  /// True if the destination is the document's own file. After `prepare`.
  bool isOwnFile() const { return isOwnFile_; }

  /// True if another program has changed the document's own file, which the save would overwrite.
  /// After `prepare`.
  bool overwritesOtherChanges() const { return isOwnFile_ && isChanged_; }

  /// Looks at the destination again, so that `write` overwrites what is there by now.
  void acceptChanges();

  /// Keeps a safety copy of `bytes`, with what the editor adds to them. Throws a POSIX error or
  /// `Error::stopped()`; nothing has changed then.
  void secure(const ByteBuffer& bytes, const EditorPlaces& places,
              TaskProgress* progress = nullptr);

  /// True if there was no place for a safety copy, the only failure after which the user may choose
  /// to do without.
  bool lacksSafetyCopy() const { return lacksSafetyCopy_; }

  /// Writes the file. After `secure`, unless the user chose otherwise. Throws what
  /// `SecureFileAccess::writeDocumentBytes` does; with an error of `isChangedDestination` nothing
  /// was overwritten. The safety copy goes when it is not needed any more: the file has the new
  /// bytes, or its old ones. Code 2007: the file that was read back has other bytes.
  ///
  /// `isOnDisk` is called once the file has the new bytes for good, while the safety copy is still
  /// there. It does not throw.
  Written write(const ByteBuffer& bytes, TaskProgress* progress = nullptr,
                const std::function<void()>& isOnDisk = {});

  /// The safety copy of a failed write that has changed the file; null after any other.
  std::unique_ptr<SafetyCopy> takeSafetyCopy() { return std::move(neededCopy_); }

  /// What a failed write has made of the document's own file; absent when it touched nothing, when
  /// another file has taken its place, and when that cannot be told.
  const std::optional<KnownFile>& tornOwnFile() const { return tornOwnFile_; }

  void release();

 private:
  StableFileStatus writeBytes(const ByteBuffer& bytes, TaskProgress* progress,
                              const std::function<void()>& isOnDisk);
  void requireOnDisk() const;
  /// True if there is none any more.
  bool removeSafetyCopy() noexcept;
  void noteTornFile();
  void note(std::string step) { receipt_.steps.push_back(std::move(step)); }

  Request request_;
  std::shared_ptr<OutputReservation> reservation_;
  DocumentDestination destination_;
  bool isOwnFile_ = false;
  bool isChanged_ = false;
  bool lacksSafetyCopy_ = false;
  std::unique_ptr<SafetyCopy> safetyCopy_;
  /// The copy that was left behind because the file may not have its bytes.
  std::unique_ptr<SafetyCopy> neededCopy_;
  SaveReceipt receipt_;
  bool copyIsGone_ = true;
  std::optional<KnownFile> tornOwnFile_;
};

}  // namespace quillmor
