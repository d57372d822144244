#include "recovery/EntryReading.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "base/SaturatingMath.h"
#include "document/QuillmorResourceLimits.h"
#include "fileaccess/StableReading.h"
#include "platform/RunInBackground.h"
#include "recovery/JournalReader.h"

namespace quillmor {

namespace {

bool isMissing(const Error& error) {
  return error.domain() == ErrorDomain::posix &&
         (error.code() == ENOENT || error.code() == ENOTDIR);
}

/// The record, which must still be the one that was listed.
ReadRecord readWhole(const RecordStore& store, const ListedRecord& record, TaskProgress* progress) {
  ReadRecord read = store.read(record, progress);
  if (read.header != *record.header) throw damagedRecordError();
  return read;
}

/// True if the file is the one that a journal begins with. Where its status is another one, the
/// digest of its bytes decides, as far as the journal has it: programs touch files, and devices get
/// other numbers.
bool isBase(const RecordHeader& journal, const StableFileStatus& status, const ByteBuffer& bytes) {
  if (status == journal.file) return true;
  const auto digest = journal.baseDigest();
  return digest && digest->byteCount == bytes.size() && *digest == contentDigest(bytes.span());
}

/// The content that a journal without a record begins with: that of the file, which must have the
/// bytes that it had.
EntryContent contentOfFile(const RecoveryEntry& entry, TaskProgress* progress) {
  if (!entry.file) return {};
  if (!entry.header().file) throw changedBaseError();
  auto read = resultOf([&] {
    return SecureFileAccess::readSnapshot(
        *entry.file, QuillmorResourceLimits::maximumDocumentByteCount(), progress);
  });
  if (!read.isOk()) {
    if (isMissing(read.error())) throw missingBaseFileError();
    throw read.error();
  }
  const StableFileStatus& status = read.value().status;
  if (!isBase(entry.header(), status, read.value().bytes)) throw changedBaseError();
  EntryContent content{.bytes = std::move(read.value().bytes), .places = {}, .time = {}};
  content.baseFile = KnownFile{.status = status, .digest = entry.header().baseDigest()};
  return content;
}

EntryContent contentOf(ReadRecord read) {
  EntryContent content{.bytes = std::move(read.payload), .places = {}, .time = read.header.created};
  content.places = {.caretOffset = read.header.caretOffset,
                    .selection = read.header.selection,
                    .bookmarks = std::move(read.bookmarks)};
  return content;
}

void replay(const RecordStore& store, const ListedRecord& journal, EntryContent& content) {
  const ByteBuffer file = store.readJournal(journal);
  ReplayedJournal replayed =
      replayJournal(file.span(), std::move(content.bytes), std::move(content.places.bookmarks));
  content.bytes = std::move(replayed.bytes);
  content.places = std::move(replayed.places);
  content.time = replayed.lastEdit;
  content.wasCutOff = replayed.wasCutOff;
}

void keepWithin(EditorPlaces& places, std::int64_t count) {
  places.caretOffset = clampedToCount(places.caretOffset, count);
  places.selection = places.selection.normalized(count);
  std::erase_if(places.bookmarks,
                [count](std::int64_t offset) { return offset < 0 || offset > count; });
}

/// True if the file has the first of the bytes, up to its end.
bool hasBeginning(const StableFile& file, std::span<const std::uint8_t> bytes,
                  TaskProgress* progress) {
  if (file.size() > std::ssize(bytes)) return false;
  std::vector<std::uint8_t> chunk(static_cast<std::size_t>(SecureFileAccess::kReadChunkByteCount));
  for (std::int64_t offset = 0; offset < file.size();) {
    if (progress != nullptr) progress->checkpoint();
    const std::int64_t length = std::min(std::ssize(chunk), file.size() - offset);
    const auto room = std::span(chunk).first(static_cast<std::size_t>(length));
    file.read(offset, room);
    if (!std::ranges::equal(room, bytes.subspan(static_cast<std::size_t>(offset), room.size())))
      return false;
    offset += length;
  }
  file.requireUnchanged();
  return true;
}

}  // namespace

EntryContent readEntry(const RecordStore& store, const RecoveryEntry& entry,
                       TaskProgress* progress) {
  if (entry.problem) throw *entry.problem;
  EntryContent content;
  if (entry.header().kind != RecordKind::journal) {
    content = contentOf(readWhole(store, entry.record, progress));
    if (entry.journal) replay(store, *entry.journal, content);
  } else {
    if (entry.base) {
      content = contentOf(readWhole(store, *entry.base, progress));
    } else {
      content = contentOfFile(entry, progress);
    }
    replay(store, entry.record, content);
  }
  keepWithin(content.places, content.bytes.size());
  return content;
}

ComparedBeside compareBeside(const FileLocation& location, std::span<const std::uint8_t> bytes,
                             TaskProgress* progress) {
  const auto status =
      resultOf([&] { return SecureFileAccess::fileStatus(location, FollowSymlinks::no); });
  if (!status.isOk() && isMissing(status.error())) return {FileBeside::nothing};
  if (status.isOk() && !status.value().isRegularFile()) return {FileBeside::nothing};
  const auto compared = resultOf([&]() -> ComparedBeside {
    const StableFile file(location);
    if (!hasBeginning(file, bytes, progress)) return {FileBeside::differs, file.status()};
    const bool isWhole = file.size() == std::ssize(bytes);
    return {isWhole ? FileBeside::same : FileBeside::beginning, file.status()};
  });
  if (compared.isOk()) return compared.value();
  if (compared.error().isStopped()) throw compared.error();
  return {FileBeside::differs};
}

}  // namespace quillmor
