#include "support/UnsavedChangesFixture.h"

#include <algorithm>

#include "document/DocumentLoader.h"

namespace quillmor::test {

FileLocation UnsavedChangesFixture::open(std::string_view content) {
  LoadedDocument loaded = loadDocument(folder.write("file.bin", content));
  auto storage = std::make_shared<HexStorage>();
  storage->bytes = loaded.snapshot.bytes;
  session.takeStorage(storage, /*preservingEditorState=*/false);
  document->replaceContentsForSingleWindowOpen(storage, loaded.location,
                                               loaded.snapshot.modificationDate, loaded.known);
  changes.documentDidChange();
  return loaded.location;
}

void UnsavedChangesFixture::insert(std::int64_t offset, const Bytes& bytes,
                                   const std::string& name) {
  session.replaceRange({.range = {offset, 0},
                        .actionName = name,
                        .after = {.caretOffset = offset, .selection = {offset, std::ssize(bytes)}}},
                       bytes);
}

void UnsavedChangesFixture::pass(std::chrono::milliseconds time) {
  now += time;
  platform.executor.advance(time);
  platform.executor.runAll();
}

UnsavedChangesFixture::Bytes UnsavedChangesFixture::bytes() const {
  return {session.bytes().span().begin(), session.bytes().span().end()};
}

std::optional<ReplayedJournal> UnsavedChangesFixture::recovered() const {
  const auto records = store.list();
  const auto find = [&](auto isIt) { return std::find_if(records.begin(), records.end(), isIt); };
  const auto journal =
      find([](const auto& record) { return record.header->kind == RecordKind::journal; });
  const auto snapshot =
      find([](const auto& record) { return record.header->kind == RecordKind::unsavedChanges; });
  if (journal == records.end()) {
    if (snapshot == records.end()) return std::nullopt;
    ReadRecord read = store.read(*snapshot);
    return ReplayedJournal{
        .bytes = std::move(read.payload),
        .places = {read.header.caretOffset, read.header.selection, std::move(read.bookmarks)},
        .lastEdit = read.header.created};
  }
  ByteBuffer base;
  std::vector<std::int64_t> bookmarks;
  const std::string& baseID = journal->header->baseID;
  if (!baseID.empty()) {
    EXPECT_TRUE(snapshot != records.end() && snapshot->id == baseID);
    ReadRecord read = store.read(*snapshot);
    base = std::move(read.payload);
    bookmarks = std::move(read.bookmarks);
  } else if (!journal->header->path.empty()) {
    const LoadedDocument file = loadDocument(FileLocation::fromPath(journal->header->path));
    EXPECT_EQ(file.known.status, journal->header->file);
    base = file.snapshot.bytes;
  }
  return replayJournal(store.readJournal(*journal).span(), std::move(base), std::move(bookmarks));
}

std::optional<UnsavedChangesFixture::Bytes> UnsavedChangesFixture::recoveredBytes() const {
  const auto found = recovered();
  if (!found) return std::nullopt;
  return Bytes(found->bytes.span().begin(), found->bytes.span().end());
}

int UnsavedChangesFixture::count(RecordKind kind) const {
  const auto records = store.list();
  return static_cast<int>(std::count_if(
      records.begin(), records.end(),
      [&](const ListedRecord& record) { return record.header && record.header->kind == kind; }));
}

}  // namespace quillmor::test
