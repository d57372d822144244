#include "recovery/LittleEndian.h"
#include "recovery/PayloadDigest.h"
#include "recovery/RecordFile.h"
#include "recovery/RecordStore.h"

namespace quillmor {

namespace {

std::vector<std::int64_t> bookmarksOf(const RecordFile& file, const RecordHeader& header) {
  std::vector<std::uint8_t> bytes(std::size_t{header.bookmarkCount} * 8);
  file.read(RecordHeader::kByteCount + header.payloadByteCount, bytes, nullptr);
  std::vector<std::int64_t> bookmarks(header.bookmarkCount);
  std::int64_t previous = -1;
  for (std::size_t index = 0; index < bookmarks.size(); ++index) {
    bookmarks[index] = littleEndian<std::int64_t>(bytes, index * 8);
    const bool isInOrder = bookmarks[index] > previous;
    if (!isInOrder || bookmarks[index] > header.payloadByteCount) throw damagedRecordError();
    previous = bookmarks[index];
  }
  return bookmarks;
}

}  // namespace

ReadRecord RecordStore::read(const ListedRecord& record, TaskProgress* progress) const {
  const RecordFile file =
      RecordFile::open(*directoryOf(record), record.location.lastPathComponent());
  ReadRecord read{.header = file.header(), .payload = {}, .bookmarks = {}};
  const RecordHeader& header = read.header;
  if (header.kind == RecordKind::journal) throw damagedRecordError();
  read.payload = ByteBuffer::uninitialized(header.payloadByteCount);
  if (progress != nullptr) progress->setTotal(header.payloadByteCount);
  file.read(RecordHeader::kByteCount, read.payload.mutableSpan(), progress);
  read.bookmarks = bookmarksOf(file, header);
  if (sha256(read.payload.span()) != header.payloadDigest) throw damagedRecordError();
  return read;
}

ByteBuffer RecordStore::readJournal(const ListedRecord& record) const {
  const RecordFile file =
      RecordFile::open(*directoryOf(record), record.location.lastPathComponent());
  if (file.header().kind != RecordKind::journal) throw damagedRecordError();
  ByteBuffer bytes = ByteBuffer::uninitialized(file.byteCount());
  file.read(0, bytes.mutableSpan(), nullptr);
  return bytes;
}

}  // namespace quillmor
