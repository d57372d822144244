#pragma once

#include <QObject>
#include <QThread>
#include <chrono>

#include "platform/FileWatcher.h"

namespace quillmor {

/// Watches files by what the system tells of them and their folders. A file of a network is looked
/// at every few seconds instead, and so is one that cannot be watched. All of that happens on a
/// thread of its own, because asking such a file system may take any time.
///
/// Made and destroyed on the main thread, after the last watch.
class QtFileWatcher : public FileWatcher {
 public:
  /// `interval` is the time between two looks at a file that cannot be watched.
  explicit QtFileWatcher(std::chrono::milliseconds interval = std::chrono::seconds(5))
      : interval_(interval) {}
  ~QtFileWatcher() override;

  std::unique_ptr<FileWatch> watch(const FileLocation& location,
                                   std::function<void()> mayHaveChanged) override;

 private:
  const std::chrono::milliseconds interval_;
  QObject mainThreadContext_;  ///< outlives the thread, which posts until its last moment
  QThread thread_;             ///< started by the first watch
};

}  // namespace quillmor
