#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "app/ApplicationSurface.h"
#include "base/Result.h"
#include "base/TaskProgress.h"
#include "document/DocumentController.h"
#include "platform/PlatformServices.h"
#include "recovery/Recovery.h"
#include "window/HexWindowController.h"

namespace quillmor {

/// Recovery as the user meets it: the list of documents that can be had again, and what is done
/// with them. Records are read, compared and removed off the main thread; everything else is main
/// thread only.
///
/// The record of a recovered document stays until the document has a durable one of its own, until
/// its changes are in a file, or until the user has given them up.
class RecoveryController {
 public:
  /// Where recovered documents are shown.
  struct Editors {
    /// The editor used last; null when there is none.
    std::function<std::shared_ptr<HexWindowController>()> current;
    /// Makes a window with an untitled document.
    std::function<std::shared_ptr<HexWindowController>()> makeNew;
  };

  /// All but `editors` outlive this object.
  RecoveryController(const PlatformServices& platform, const DocumentController& documents,
                     ApplicationSurface& surface, const RecordStore& records, Editors editors);
  ~RecoveryController();
  RecoveryController(const RecoveryController&) = delete;
  RecoveryController& operator=(const RecoveryController&) = delete;

  /// Shows the list if there is something to recover, when that has been found out.
  void offerAll();
  /// The same for the records of one file.
  void offerFor(const FileLocation& file);

  // What the list shows.

  const std::vector<RecoveryEntry>& entries() const { return entries_; }
  /// Sentences about edits that are left out, and records that are not offered.
  std::vector<std::string> messages() const;
  /// False when the user is done with the list.
  bool hasContent() const;
  /// What is being done, "Recovering data.bin"; empty when the list waits for the user.
  const std::string& activity() const { return activity_; }

  // What the user can do with the entries of these IDs, unless something is being done already.

  /// Opens them as documents with unsaved changes. A file that is open with other unsaved changes
  /// is left alone, with an alert.
  void recover(const std::vector<std::string>& ids);
  /// Removes their records, after a question.
  void discard(const std::vector<std::string>& ids);
  /// Shows reports of what differs from the files.
  void showDifferences(const std::vector<std::string>& ids);
  /// Closes the list, stops what is being done and leaves everything for the next time.
  void later();

 private:
  /// What is to be done with an entry, one after another.
  using Step = std::function<void(const RecoveryEntry&)>;

  void lookFor(std::vector<FileLocation> documents);
  void addOffer(RecoveryOffer offer);
  const RecoveryEntry* find(const std::string& id) const;
  void removeEntry(const std::string& id);
  void clear();

  void doWithEach(const std::vector<std::string>& ids, Step step);
  void doNext();
  /// Runs `work(TaskProgress&)` for the entry off the main thread; `done` gets its result, and then
  /// the next entry has its turn. A failure is alerted with `failureTitle`, and the entry stays.
  template <class Work, class Completion>
  void run(const std::string& activity, const std::string& failureTitle, Work work,
           Completion done);
  void alert(const std::string& title, const std::string& text);

  void recoverOne(const RecoveryEntry& entry);
  void install(const RecoveryEntry& entry, RecoveredDocument document);
  std::shared_ptr<HexWindowController> editorFor(const RecoveryEntry& entry,
                                                 const RecoveredDocument& document);
  void discardOne(const RecoveryEntry& entry);
  void showDifferencesOf(const RecoveryEntry& entry);

  const PlatformServices platform_;
  const DocumentController& documents_;
  ApplicationSurface& surface_;
  const RecordStore& records_;
  const Editors editors_;

  std::vector<RecoveryEntry> entries_;
  std::set<std::string> damaged_;
  std::set<std::string> newer_;
  std::set<std::string> refused_;
  /// Records of documents that are open again, which are not offered a second time.
  std::set<std::string> inUse_;
  std::deque<std::string> waiting_;
  Step step_;
  std::string activity_;
  /// Of what is being done, and of looking for records.
  std::shared_ptr<TaskProgress> progress_ = std::make_shared<TaskProgress>();
  const std::shared_ptr<TaskProgress> lookProgress_ = std::make_shared<TaskProgress>();
  /// Destroyed first, so that pending callbacks see that the controller has gone.
  std::shared_ptr<Done> life_ = std::make_shared<Done>();
};

}  // namespace quillmor
