#pragma once

#include <memory>
#include <optional>
#include <span>
#include <utility>

#include "document/SafetyCopy.h"
#include "recovery/RecordStore.h"

namespace quillmor {

/// Safety copies of saves as recovery records. Any thread.
class SaveRecords : public SafetyCopies {
 public:
  explicit SaveRecords(RecordStore store) : store_(std::move(store)) {}

  /// Throws what `RecordStore::write` does.
  std::unique_ptr<SafetyCopy> keep(const FileLocation& destination,
                                   const std::optional<StableFileStatus>& found,
                                   std::span<const std::uint8_t> bytes, const EditorPlaces& places,
                                   TaskProgress* progress) override;

 private:
  const RecordStore store_;
};

}  // namespace quillmor
