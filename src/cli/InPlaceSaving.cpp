#include "cli/InPlaceSaving.h"

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "base/Check.h"
#include "document/DocumentSaver.h"
#include "platform/RunInBackground.h"

namespace quillmor::cli {

namespace {

/// An executor for a program that has nothing to do but wait for its work.
class ImmediateExecutor final : public BackgroundExecutor {
 public:
  void runDetached(std::function<void()> work) override { work(); }

  void postToMain(std::function<void()> function) override {
    posted_.push_back(std::move(function));
  }

  void postToMainAfter(std::chrono::milliseconds, std::function<void()> function) override {
    postToMain(std::move(function));
  }

  void runPosted() {
    while (!posted_.empty()) {
      const auto function = std::move(posted_.front());
      posted_.pop_front();
      function();
    }
  }

 private:
  std::deque<std::function<void()>> posted_;
};

}  // namespace

void saveInPlace(const FileLocation& location, const ReadSnapshot& snapshot, ByteBuffer changed,
                 TaskProgress& progress, const std::function<void()>& beforeWriting) {
  ImmediateExecutor executor;
  const DocumentController noOtherDocuments;
  DocumentSaver saver(executor, noOtherDocuments);
  const auto document = std::make_shared<HexDocument>(executor);
  auto storage = std::make_shared<HexStorage>();
  storage->bytes = std::move(changed);
  document->replaceContentsForSingleWindowOpen(
      std::move(storage), location, snapshot.modificationDate,
      KnownFile::of(snapshot.status, snapshot.bytes.span()));

  std::optional<DocumentSaveOutcome> outcome;
  bool wasChangedMeanwhile = false;
  saver.save(document, location, DocumentSaveOperation::save,
             {.confirmOverwritingChangedFile =
                  [&] {
                    wasChangedMeanwhile = true;
                    return false;
                  },
              .willWrite =
                  [&] {
                    if (beforeWriting) beforeWriting();
                    // From here on the save has its effect, and is not reported as stopped any
                    // more.
                    progress.passPointOfNoReturn();
                  },
              .completion = [&](const DocumentSaveOutcome& ended) { outcome = ended; },
              // Owned by the caller, who outlives the save.
              .progress = std::shared_ptr<TaskProgress>(std::shared_ptr<void>(), &progress),
              // Nobody has a window in which to try again.
              .ownBytes = snapshot.bytes});
  executor.runPosted();
  checkPrecondition(outcome.has_value(), "a save that has ended");
  if (outcome->error) throw *outcome->error;
  if (outcome->result == DocumentSaveResult::success) return;
  if (wasChangedMeanwhile) {
    throw Error::quillmor(2001, "The file has been changed by another program. Nothing was saved.");
  }
  throw Error::stopped();
}

}  // namespace quillmor::cli
