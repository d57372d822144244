#include "recovery/SaveRecords.h"

#include "base/HexText.h"

namespace quillmor {

namespace {

class SaveRecord : public SafetyCopy {
 public:
  explicit SaveRecord(std::unique_ptr<HeldRecord> record) : record_(std::move(record)) {}

  std::string name() const override { return record_->name(); }
  std::string sha256() const override { return lowercaseHex(record_->payloadDigest()); }
  FileLocation location() const override { return record_->location(); }
  std::int64_t byteCount() const override { return record_->byteCount(); }
  void remove() override { record_->remove(); }

 private:
  const std::unique_ptr<HeldRecord> record_;
};

}  // namespace

std::unique_ptr<SafetyCopy> SaveRecords::keep(const FileLocation& destination,
                                              const std::optional<StableFileStatus>& found,
                                              std::span<const std::uint8_t> bytes,
                                              const EditorPlaces& places, TaskProgress* progress) {
  RecordContent content{.header = {}, .bookmarks = places.bookmarks};
  content.header.kind = RecordKind::save;
  content.header.file = found;
  content.header.path = destination.path();
  content.header.caretOffset = places.caretOffset;
  content.header.selection = places.selection;
  return std::make_unique<SaveRecord>(store_.write(std::move(content), bytes, progress));
}

}  // namespace quillmor
