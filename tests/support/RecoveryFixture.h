#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>

#include "recovery/Recovery.h"
#include "support/FileAccessTest.h"

namespace quillmor::test {

/// Records as processes that are no more have left them.
class LeftRecords {
 public:
  explicit LeftRecords(const TemporaryFolder& folder) : folder_(folder) {}

  /// Leaves a record and returns its ID. `file` is absent for an untitled document.
  std::string leave(RecordKind kind, const std::optional<FileLocation>& file,
                    std::string_view payload, EditorPlaces places = {}) const {
    return store.write(contentOf(kind, file, std::move(places)), bytesOf(payload))->id();
  }

  std::string leaveUnsaved(const std::optional<FileLocation>& file, std::string_view payload,
                           EditorPlaces places = {}) const {
    return leave(RecordKind::unsavedChanges, file, payload, std::move(places));
  }

  /// What a record of the file as it is now is made of.
  static RecordContent contentOf(RecordKind kind, const std::optional<FileLocation>& file,
                                 EditorPlaces places = {}) {
    RecordContent content{.header = {}, .bookmarks = std::move(places.bookmarks)};
    content.header.kind = kind;
    content.header.caretOffset = places.caretOffset;
    content.header.selection = places.selection;
    if (!file) return content;
    content.header.path = file->path();
    content.header.file = SecureFileAccess::fileStatusIfExists(*file, FollowSymlinks::no);
    return content;
  }

  /// The record's file.
  std::filesystem::path path(const std::string& id) const {
    return std::filesystem::path(store.directory().path()) / (id + ".qrec");
  }
  bool exists(const std::string& id) const { return std::filesystem::exists(path(id)); }

  /// Overwrites one byte of the record's file.
  void damage(const std::string& id, std::int64_t offset) const {
    std::fstream file(path(id), std::ios::in | std::ios::out | std::ios::binary);
    file.seekg(offset);
    const int byte = file.get();
    file.seekp(offset);
    file.put(static_cast<char>(byte ^ 0x40));
  }

 private:
  const TemporaryFolder& folder_;

 public:
  const RecordStore store{folder_.location("state/recovery")};
};

/// The base of tests of what becomes of left records.
class RecoveryFixture : public FileAccessTest {
 protected:
  std::vector<std::string> offeredIDs(std::span<const FileLocation> documents = {}) const {
    std::vector<std::string> ids;
    for (const RecoveryEntry& entry : recovery.offer(documents).entries) ids.push_back(entry.id());
    return ids;
  }

  RecoveredDocument recover(const std::string& id) const {
    return recovery.recover(recovery.find(id));
  }

  const LeftRecords records{folder};
  const Recovery recovery{records.store};
};

}  // namespace quillmor::test
