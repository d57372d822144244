#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "editor/EditSession.h"
#include "recovery/JournalReader.h"
#include "recovery/RecordStore.h"
#include "recovery/UnsavedChanges.h"
#include "support/TemporaryFolder.h"
#include "support/TestPlatform.h"

namespace quillmor::test {

/// A document being edited, with a store of records, a clock and threads under control.
class UnsavedChangesFixture : public testing::Test, private EditSessionObserver {
 protected:
  using Bytes = std::vector<std::uint8_t>;

  UnsavedChangesFixture() { session.addEditRecorder(changes); }

  /// Makes the document that of a file with `content`.
  FileLocation open(std::string_view content);

  /// Inserts bytes at `offset`, as one edit.
  void insert(std::int64_t offset, const Bytes& bytes, const std::string& name = "Insert");

  /// Lets time pass, millisecond by millisecond where `step` says so, and runs what is due.
  void pass(std::chrono::milliseconds time);

  Bytes bytes() const;

  /// What a start after a crash would find now: the newest state of the document; absent without
  /// records.
  std::optional<ReplayedJournal> recovered() const;
  std::optional<Bytes> recoveredBytes() const;

  /// The records in the store, by kind.
  int count(RecordKind kind) const;

  TemporaryFolder folder;
  TestPlatform platform;
  RecordStore store{folder.location("state/records")};
  std::shared_ptr<HexDocument> document = std::make_shared<HexDocument>(platform.executor);
  EditSession session{document, platform.beeper, *this};
  UnsavedChanges::Time now{std::chrono::seconds(1000)};
  std::vector<Error> failures;
  UnsavedChanges changes{document,
                         platform.executor,
                         &store,
                         {.places =
                              [this] {
                                return EditorPlaces{session.editor().caretOffset(),
                                                    session.selectedRange(),
                                                    session.bookmarks().offsets()};
                              },
                          .didFail = [this](const Error& error) { failures.push_back(error); },
                          .now = [this] { return now; }}};

 private:
  void updateStatus() override {}
  void sessionDidEdit(bool) override {}
  void didRefuse(const std::string&) override {}
};

}  // namespace quillmor::test
