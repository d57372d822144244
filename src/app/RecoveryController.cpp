#include "app/RecoveryController.h"

#include <algorithm>
#include <utility>

#include "document/QuillmorResourceLimits.h"
#include "fileaccess/StableReading.h"
#include "platform/RunInBackground.h"
#include "tools/analysis/DifferingRanges.h"

namespace quillmor {

namespace {

constexpr const char* kRecoverFailed = "Recover Failed";
/// The most names in a sentence about records that are not offered.
constexpr std::size_t kMaximumListedNames = 3;

std::string quoted(const RecoveryEntry& entry) {
  return "\"" + entry.shownName() + "\"";
}

std::string countText(std::size_t count, const std::string& one, const std::string& several) {
  return count == 1 ? "1 " + one : std::to_string(count) + " " + several;
}

/// What the recovered document and its file differ in.
std::string differencesReport(const RecordStore& store, const RecoveryEntry& entry,
                              TaskProgress& progress) {
  const RecoveredDocument document = Recovery(store).recover(entry, &progress);
  ByteBuffer file;
  if (document.location) {
    file = SecureFileAccess::readData(
        *document.location, QuillmorResourceLimits::maximumDocumentByteCount(), &progress);
  }
  progress.restart();
  const std::string name = entry.file ? entry.file->path() : entry.shownName();
  return recoveredDifferencesReport({file.span(), document.bytes.span()}, name, progress);
}

/// True for the empty document of a new window, whose place another may take.
bool isUnused(HexWindowController& editor) {
  const HexDocument& document = editor.document();
  return !editor.isBusy() && !document.location() && !document.isDocumentEdited() &&
         !document.isPendingInitialLoad && document.storage()->count() == 0;
}

}  // namespace

RecoveryController::RecoveryController(const PlatformServices& platform,
                                       const DocumentController& documents,
                                       ApplicationSurface& surface, const RecordStore& records,
                                       Editors editors)
    : platform_(platform),
      documents_(documents),
      surface_(surface),
      records_(records),
      editors_(std::move(editors)) {}

RecoveryController::~RecoveryController() {
  progress_->requestStop();
  lookProgress_->requestStop();
}

void RecoveryController::offerAll() {
  lookFor({});
}

void RecoveryController::offerFor(const FileLocation& file) {
  lookFor({file});
}

/// Offers what belongs to `documents`, or everything when there are none.
void RecoveryController::lookFor(std::vector<FileLocation> documents) {
  auto work = [store = records_, documents, progress = lookProgress_] {
    return Recovery(store).offer(documents, progress.get());
  };
  // A document is open whether or not its records can be looked for.
  resultOf([&] {
    runInBackground(platform_.executor, std::move(work),
                    [this, life = std::weak_ptr(life_)](Result<RecoveryOffer> offer) {
                      if (life.expired()) return;
                      if (offer.isOk()) return addOffer(std::move(offer.value()));
                      const auto editor = editors_.current();
                      if (editor && !offer.error().isStopped())
                        editor->context().messages().noteReason(offer.error());
                    });
    return Done();
  });
}

void RecoveryController::addOffer(RecoveryOffer offer) {
  const auto isKnown = [this](const RecoveryEntry& entry) {
    return inUse_.contains(entry.id()) || find(entry.id()) != nullptr;
  };
  std::erase_if(offer.entries, isKnown);
  const bool isWorthShowing = !offer.entries.empty() || !offer.damaged.empty();
  std::ranges::move(offer.entries, std::back_inserter(entries_));
  sortEntries(entries_);
  damaged_.insert(offer.damaged.begin(), offer.damaged.end());
  newer_.insert(offer.newer.begin(), offer.newer.end());
  refused_.insert(offer.refused.begin(), offer.refused.end());
  if (isWorthShowing) surface_.showRecoveryList(*this);
}

std::vector<std::string> RecoveryController::messages() const {
  std::vector<std::string> sentences;
  const auto add = [&](const std::set<std::string>& names, const std::string& fact) {
    if (names.empty()) return;
    std::string sentence = countText(names.size(), "record", "records") + " " + fact;
    std::size_t listed = 0;
    for (const std::string& name : names) {
      if (++listed > kMaximumListedNames) {
        sentence += " …";
        break;
      }
      sentence += (listed == 1 ? " " : ", ") + name;
    }
    sentences.push_back(std::move(sentence));
  };
  for (const RecoveryEntry& entry : entries_) {
    if (entry.isCutOff) sentences.push_back(quoted(entry) + ": " + std::string(kCutOffMessage));
  }
  const std::string folder = records_.directory().shownPath();
  add(damaged_, "damaged, kept as \".bad\" in " + folder + ":");
  add(newer_, "of a newer version of Quillmor, left alone:");
  add(refused_, "not read, because others may have written it:");
  return sentences;
}

const RecoveryEntry* RecoveryController::find(const std::string& id) const {
  const auto found =
      std::ranges::find_if(entries_, [&](const auto& entry) { return entry.id() == id; });
  return found == entries_.end() ? nullptr : &*found;
}

void RecoveryController::removeEntry(const std::string& id) {
  std::erase_if(entries_, [&](const RecoveryEntry& entry) { return entry.id() == id; });
  if (entries_.empty()) clear();
}

void RecoveryController::clear() {
  entries_.clear();
  damaged_.clear();
  newer_.clear();
  refused_.clear();
}

bool RecoveryController::hasContent() const {
  return !entries_.empty() || !damaged_.empty();
}

void RecoveryController::doWithEach(const std::vector<std::string>& ids, Step step) {
  if (!activity_.empty()) return;
  waiting_.assign(ids.begin(), ids.end());
  step_ = std::move(step);
  doNext();
}

void RecoveryController::doNext() {
  while (activity_.empty() && !waiting_.empty()) {
    const std::string id = std::move(waiting_.front());
    waiting_.pop_front();
    if (const RecoveryEntry* const entry = find(id)) step_(RecoveryEntry(*entry));
  }
  surface_.refreshRecoveryList();
}

template <class Work, class Completion>
void RecoveryController::run(const std::string& activity, const std::string& failureTitle,
                             Work work, Completion done) {
  using T = std::invoke_result_t<Work&, TaskProgress&>;
  progress_ = std::make_shared<TaskProgress>();
  auto task = [work = std::move(work), progress = progress_]() mutable { return work(*progress); };
  auto completion = [this, life = std::weak_ptr(life_), failureTitle, progress = progress_,
                     done = std::move(done)](Result<T> result) {
    if (life.expired()) return;
    activity_.clear();
    const bool isStopped = progress->stopRequested();
    if (isStopped) waiting_.clear();
    const auto finished = resultOf([&] {
      if (!result.isOk()) throw std::move(result.error());
      if (!isStopped) done(std::move(result.value()));
      return Done();
    });
    if (life.expired()) return;
    if (!finished.isOk() && !finished.error().isStopped())
      alert(failureTitle, finished.error().messageWithReason());
    if (!life.expired()) doNext();
  };
  runInBackground(platform_.executor, std::move(task), std::move(completion));
  activity_ = activity;
}

void RecoveryController::alert(const std::string& title, const std::string& text) {
  platform_.alerts.runModal({.messageText = title, .informativeText = text});
}

void RecoveryController::recover(const std::vector<std::string>& ids) {
  doWithEach(ids, [this](const RecoveryEntry& entry) { recoverOne(entry); });
}

void RecoveryController::recoverOne(const RecoveryEntry& entry) {
  run(
      "Recovering " + entry.shownName(), kRecoverFailed,
      [store = records_, entry](TaskProgress& progress) {
        return Recovery(store).recover(entry, &progress);
      },
      [this, entry](RecoveredDocument document) { install(entry, std::move(document)); });
}

void RecoveryController::install(const RecoveryEntry& entry, RecoveredDocument document) {
  requireDocumentByteCount(document.bytes.size());
  const auto editor = editorFor(entry, document);
  if (!editor) return;
  editor->commands().replacement().showRecovered(std::move(document));
  inUse_.insert(entry.id());
  removeEntry(entry.id());
  // The document needs its record until it has another one, or needs none any more.
  const auto removeRecord = [store = records_, entry, &executor = platform_.executor] {
    auto work = [store, entry] {
      Recovery(store).discard(entry);
      return Done();
    };
    // A record that stays does no harm: it is offered at the next start, or found to be saved.
    resultOf([&] {
      runInBackground(executor, std::move(work), [](const Result<Done>&) {});
      return Done();
    });
  };
  editor->document().whenChangesAreSettled(removeRecord);
  editor->unsavedChanges().whenKept(removeRecord);
  editor->activate();
}

/// The editor for a recovered document; null, after an alert, when its file is open and may not be
/// replaced.
std::shared_ptr<HexWindowController> RecoveryController::editorFor(
    const RecoveryEntry& entry, const RecoveredDocument& document) {
  const auto shown =
      document.location ? documents_.documentShowing(*document.location, nullptr) : nullptr;
  if (!shown) {
    const auto current = editors_.current();
    return current && isUnused(*current) ? current : editors_.makeNew();
  }
  const auto& windows = shown->windowControllers();
  auto editor =
      windows.empty() ? nullptr : std::dynamic_pointer_cast<HexWindowController>(windows.front());
  if (shown->isDocumentEdited()) {
    alert(kRecoverFailed,
          quoted(entry) + " is open with unsaved changes. Save or close it, then recover it.");
    return nullptr;
  }
  if (!editor || editor->isBusy()) {
    alert(kRecoverFailed, BackgroundTaskFrame::busyError().message());
    return nullptr;
  }
  return editor;
}

void RecoveryController::discard(const std::vector<std::string>& ids) {
  if (!activity_.empty() || ids.empty()) return;
  const RecoveryEntry* const first = find(ids.front());
  if (first == nullptr) return;
  const std::string what =
      ids.size() == 1 ? quoted(*first) : countText(ids.size(), "document", "documents");
  const std::weak_ptr life(life_);
  const auto response =
      platform_.alerts.runModal({.messageText = "Discard the unsaved changes of " + what + "?",
                                 .informativeText = "They cannot be recovered afterwards.",
                                 .style = AlertStyle::warning,
                                 .buttons = {"Cancel", "Discard"},
                                 .cancelButton = 0});
  if (life.expired() || response.button != 1) return;
  doWithEach(ids, [this](const RecoveryEntry& entry) { discardOne(entry); });
}

void RecoveryController::discardOne(const RecoveryEntry& entry) {
  run(
      "Discarding " + entry.shownName(), "Discard Failed",
      [store = records_, entry](TaskProgress&) {
        Recovery(store).discard(entry);
        return Done();
      },
      [this, id = entry.id()](Done) { removeEntry(id); });
}

void RecoveryController::showDifferences(const std::vector<std::string>& ids) {
  doWithEach(ids, [this](const RecoveryEntry& entry) { showDifferencesOf(entry); });
}

void RecoveryController::showDifferencesOf(const RecoveryEntry& entry) {
  run(
      "Comparing " + entry.shownName(), "Show Differences Failed",
      [store = records_, entry](TaskProgress& progress) {
        return differencesReport(store, entry, progress);
      },
      [this, title = "Unsaved Changes of " + entry.shownName()](const std::string& report) {
        const auto current = editors_.current();
        const auto editor = current ? current : editors_.makeNew();
        editor->context().showUtilityReport(title, report);
      });
}

void RecoveryController::later() {
  progress_->requestStop();
  waiting_.clear();
  clear();
  surface_.refreshRecoveryList();
}

}  // namespace quillmor
