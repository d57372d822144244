// What a start finds after the program was killed in a save of a document whose unsaved changes had
// been recorded.

#include <gmock/gmock.h>

#include <filesystem>

#include "recovery/Recovery.h"
#include "support/ApplicationFixture.h"
#include "support/FaultySystemCalls.h"

namespace quillmor::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

class KilledSave : public ApplicationFixture {
 protected:
  static constexpr const char* kOld = "old bytes";
  static constexpr const char* kNew = "Old bytes";

  ~KilledSave() override {
    // Before the delegate that they belong to.
    for (const auto& shown : application.windows) shown.controller->windowWillClose();
  }

  /// What a kill at one moment leaves.
  struct Remains {
    FileLocation records;
    std::string text;  ///< of the file
  };

  /// Saves; returns what would be left before each call of these kinds. The records are copied,
  /// because this process holds them.
  std::vector<Remains> remainsOfSave(const std::vector<SystemCall>& kinds) {
    std::vector<Remains> remains;
    FaultySystemCalls calls;
    for (const SystemCall kind : kinds) {
      calls.before(kind, FaultySystemCalls::kEvery, [&] {
        const FileLocation copy = folder.location("kill " + std::to_string(remains.size()));
        fs::create_directory(copy.path());
        fs::permissions(copy.path(), fs::perms::owner_all);
        for (const auto& entry : fs::directory_iterator(store.directory().path())) {
          if (entry.path().extension() == ".qrec") fs::copy(entry.path(), copy.path());
        }
        remains.push_back({copy, TemporaryFolder::read(file)});
      });
    }
    const ScopedSystemCalls scope(calls);
    application.windows[0].controller->perform("forwardSaveDocument:");
    platform.executor.runAll();
    return remains;
  }

  /// What the next start offers. The file is written anew; its status is that of no record either
  /// way.
  RecoveryOffer offerAfter(const Remains& remains) const {
    folder.write("data.bin", remains.text);
    return Recovery(RecordStore(remains.records)).offer();
  }

  /// Opens the file and makes its first letter a capital one.
  HexWindowController& openEdited() {
    recording.openFiles({file}, [](bool) {});
    platform.executor.runAll();
    HexWindowController& editor = *application.windows[0].controller;
    editor.editor().setEditingArea(EditingArea::ascii);
    editor.editor().handleTextInput("O");
    platform.executor.runAll();
    return editor;
  }

  const FileLocation file = folder.write("data.bin", kOld);
  const RecordStore store{folder.location("state/recovery")};
  AppDelegate recording{platform.services(), application, &store};
};

TEST_F(KilledSave, ofAJournaledDocumentLeavesNothingOnceTheFileHasIt) {
  openEdited();
  ASSERT_EQ(store.list().size(), 1U);
  int judged = 0;
  for (const Remains& remains :
       remainsOfSave({SystemCall::unlinkat, SystemCall::fsync, SystemCall::close})) {
    if (remains.text != kNew) continue;
    ++judged;
    EXPECT_TRUE(offerAfter(remains).entries.empty()) << judged;
    EXPECT_TRUE(RecordStore(remains.records).list().empty()) << judged;
  }
  EXPECT_GT(judged, 5);
  EXPECT_TRUE(store.list().empty());
}

TEST_F(KilledSave, ofADocumentWithASnapshotLeavesNothingOnceTheFileHasIt) {
  HexWindowController& editor = openEdited();
  editor.unsavedChanges().contentWasReplaced();
  EXPECT_TRUE(editor.unsavedChanges().keepNow());
  editor.editor().handleTextInput("L");
  EXPECT_TRUE(editor.unsavedChanges().keepNow());
  ASSERT_EQ(store.list().size(), 2U) << "a snapshot of an older state, and a journal on it";
  int judged = 0;
  for (const Remains& remains :
       remainsOfSave({SystemCall::unlinkat, SystemCall::fsync, SystemCall::close})) {
    if (remains.text != "OLd bytes") continue;
    ++judged;
    EXPECT_TRUE(offerAfter(remains).entries.empty()) << judged;
    EXPECT_TRUE(RecordStore(remains.records).list().empty()) << judged;
  }
  EXPECT_GT(judged, 5);
  EXPECT_TRUE(store.list().empty());
}

TEST_F(KilledSave, offersATornFileOnceAndTakesItsJournalAlong) {
  openEdited();
  int judged = 0;
  for (const Remains& remains : remainsOfSave({SystemCall::write, SystemCall::fsync})) {
    if (remains.text == kOld || remains.text == kNew) continue;
    ++judged;
    const RecoveryOffer offer = offerAfter(remains);
    ASSERT_EQ(offer.entries.size(), 1U);
    EXPECT_TRUE(offer.entries[0].isInterruptedSave);
    EXPECT_FALSE(offer.entries[0].problem);
    const RecordStore records(remains.records);
    EXPECT_EQ(records.list().size(), 2U) << "nothing goes without an answer";
    Recovery(records).discard(offer.entries[0]);
    EXPECT_TRUE(records.list().empty());
  }
  EXPECT_GT(judged, 0);
}

TEST_F(KilledSave, hasTheJournalUntilTheFileHasItsEdits) {
  openEdited();
  const auto remains = remainsOfSave({SystemCall::ftruncate});
  ASSERT_EQ(remains.size(), 1U);
  EXPECT_EQ(RecordStore(remains[0].records).list().size(), 2U);
}

TEST_F(KilledSave, succeedsWhenTheJournalCannotBeRemoved) {
  HexWindowController& editor = openEdited();
  FaultySystemCalls calls;
  calls.fail(SystemCall::unlinkat, 1, EIO);
  {
    const ScopedSystemCalls scope(calls);
    editor.perform("forwardSaveDocument:");
    platform.executor.runAll();
  }
  EXPECT_EQ(TemporaryFolder::read(file), kNew);
  EXPECT_FALSE(editor.document().isDocumentEdited());
  EXPECT_TRUE(store.list().empty()) << "the next removal took it along";
}

}  // namespace
}  // namespace quillmor::test
