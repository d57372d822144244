#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/ByteBuffer.h"
#include "base/Error.h"
#include "base/FileLocation.h"
#include "base/TaskProgress.h"
#include "fileaccess/FileDescriptor.h"
#include "recovery/RecordDirectory.h"
#include "recovery/RecordHeader.h"

namespace quillmor {

/// What a record is made of, apart from its payload.
struct RecordContent {
  /// Kind, file, path, caret, selection, untitled number and base; the rest is filled in when the
  /// record is written.
  RecordHeader header;
  std::vector<std::int64_t> bookmarks = {};
  /// Called on the writing thread when the payload is not needed any more, while the record is
  /// still being flushed.
  std::function<void()> payloadWasRead = {};
};

/// A record that this process has written and still holds: complete, durable, and locked, so that
/// other processes leave it alone. The destructor leaves the file where it is. One thread at a
/// time.
class HeldRecord {
 public:
  HeldRecord(std::shared_ptr<const RecordDirectory> directory, std::string fileName, std::string id,
             FileDescriptor handle);
  HeldRecord(const HeldRecord&) = delete;
  HeldRecord& operator=(const HeldRecord&) = delete;

  const std::string& id() const { return id_; }
  /// What leads to the record later: the ID, or the path of one that lies beside its document.
  std::string name() const { return directory_->isPrivate() ? id_ : location().path(); }
  FileLocation location() const;
  /// Bytes on the disk.
  std::int64_t byteCount() const { return byteCount_; }
  void setByteCount(std::int64_t byteCount) { byteCount_ = byteCount; }
  /// SHA-256 of the payload; zeros for a journal.
  const std::array<std::uint8_t, 32>& payloadDigest() const { return payloadDigest_; }
  void setPayloadDigest(const std::array<std::uint8_t, 32>& digest) { payloadDigest_ = digest; }
  /// Open for writing; a journal appends to it.
  const FileDescriptor& handle() const { return handle_; }

  /// Removes the file and makes that durable. Throws a POSIX error; a file that has gone is no
  /// failure.
  void remove();

 private:
  std::shared_ptr<const RecordDirectory> directory_;
  std::string fileName_;
  std::string id_;
  FileDescriptor handle_;
  std::int64_t byteCount_ = 0;
  std::array<std::uint8_t, 32> payloadDigest_{};
};

/// A record as a listing of the directory finds it.
struct ListedRecord {
  std::string id;
  FileLocation location;
  /// Absent when the file is no record, damaged, of a newer version, or may not be trusted.
  std::optional<RecordHeader> header;
  /// Why there is no header.
  std::optional<Error> error;
  /// Bytes of the file.
  std::int64_t byteCount = 0;
  /// A living process holds its lock.
  bool belongsToRunningProcess = false;
};

/// A record that was read and found whole.
struct ReadRecord {
  RecordHeader header;
  ByteBuffer payload;
  std::vector<std::int64_t> bookmarks;
};

/// The records of one user: what is needed to have the bytes of documents again after a crash.
///
/// They lie in one private directory. When that has no room or cannot be written, a record lies
/// beside its document. A record gets its name only when it is complete and durable; a reader
/// believes nothing that it has not checked. Any thread; every call may wait for a disk.
class RecordStore {
 public:
  /// The records below `$XDG_STATE_HOME`, or `~/.local/state` when that is not an absolute path.
  static RecordStore ofThisUser();
  explicit RecordStore(FileLocation directory) : directory_(std::move(directory)) {}

  const FileLocation& directory() const { return directory_; }

  /// Writes a record whose payload and bookmarks lie within the limits, and makes it durable before
  /// it returns. Goes beside `content.header.path` when
  /// the private directory fails with ENOSPC, EDQUOT, EROFS, EACCES or EPERM and there is a path.
  /// Throws a POSIX error; nothing remains then. A stop request of `progress` ends it.
  std::unique_ptr<HeldRecord> write(RecordContent content, std::span<const std::uint8_t> payload,
                                    TaskProgress* progress = nullptr) const;

  /// Makes an empty journal in the same way: the header, and a handle to append to. The header may
  /// have the digest of the file that the journal begins with.
  std::unique_ptr<HeldRecord> createJournal(RecordContent content) const;

  /// The records of the private directory, and those beside their documents and beside `documents`,
  /// in the order of their IDs. Removes what was left unfinished there for more than a day and is
  /// locked by nobody. A directory that does not exist has no records. Throws a POSIX error when
  /// the private directory cannot be read; one of a document that cannot be read counts as empty.
  std::vector<ListedRecord> list(std::span<const FileLocation> documents = {}) const;

  /// The record in this file, wherever it lies. Throws 3104 when that is no file of a record, and
  /// POSIX errors.
  ListedRecord at(const FileLocation& location) const;

  /// Reads a record whole and checks it: a regular file of this user with mode 0600 and one link,
  /// of the size that its header says, with a payload that has the digest, and bookmarks within it.
  /// Throws codes 3101, 3102, 3103 (of another user, or open to others), 3104 (no such record) and
  /// POSIX errors. Takes no memory for what a header only claims.
  ReadRecord read(const ListedRecord& record, TaskProgress* progress = nullptr) const;

  /// The bytes of a journal's file, header included, checked like a record but for payload and
  /// digest.
  ByteBuffer readJournal(const ListedRecord& record) const;

  /// Removes a record that no process holds. Throws 3105 ("This record belongs to a running
  /// Quillmor."), 3104 and POSIX errors.
  void discard(const ListedRecord& record) const;

  /// Renames a damaged record so that it is kept and not looked at again. Ignores failures.
  void setAside(const ListedRecord& record) const noexcept;

 private:
  /// The directory that holds the record, open.
  std::shared_ptr<const RecordDirectory> directoryOf(const ListedRecord& record) const;

  FileLocation directory_;
};

/// Code 3103.
Error untrustedRecordError();
/// Code 3104.
Error missingRecordError();
/// Code 3105.
Error runningRecordError();

}  // namespace quillmor
