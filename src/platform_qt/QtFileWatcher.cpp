#include "platform_qt/QtFileWatcher.h"

#include <QByteArray>
#include <QFile>
#include <QFileSystemWatcher>
#include <QStorageInfo>
#include <QTimer>
#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace quillmor {

namespace {

/// Events come in crowds; one call is made for all of so long a time.
constexpr std::chrono::milliseconds kCollectingTime{50};

/// File systems whose files change without this system being told.
bool isRemote(const QByteArray& fileSystemType) {
  static constexpr std::array<std::string_view, 14> kTypes = {
      "nfs", "nfs4", "cifs", "smb3", "smbfs",     "ncpfs", "9p",
      "afs", "ceph", "coda", "gfs2", "glusterfs", "ocfs2", "lustre"};
  const std::string_view type(fileSystemType.constData(),
                              static_cast<std::size_t>(fileSystemType.size()));
  return type.starts_with("fuse") || std::ranges::find(kTypes, type) != kTypes.end();
}

/// One watched file, on the thread of the watcher.
class WatchedFile : public QObject {
 public:
  WatchedFile(const FileLocation& location, std::chrono::milliseconds interval,
              std::function<void()> tell)
      : file_(QFile::decodeName(QByteArray::fromStdString(location.path()))),
        folder_(QFile::decodeName(QByteArray::fromStdString(location.directory().path()))),
        // The toolkit's texts hold no bytes but those of UTF-8.
        hasText_(QFile::encodeName(file_).toStdString() == location.path()),
        interval_(interval),
        tell_(std::move(tell)) {}

  /// Begins to watch, on the thread.
  void start() {
    collecting_ = new QTimer(this);
    collecting_->setSingleShot(true);
    collecting_->setInterval(kCollectingTime);
    connect(collecting_, &QTimer::timeout, this, [this] { refresh(); });
    polling_ = new QTimer(this);
    polling_->setInterval(interval_);
    connect(polling_, &QTimer::timeout, this, [this] { refresh(); });
    if (hasText_ && !isRemote(QStorageInfo(folder_).fileSystemType())) {
      watcher_ = new QFileSystemWatcher(this);
      const auto collect = [this] {
        if (!collecting_->isActive()) collecting_->start();
      };
      connect(watcher_, &QFileSystemWatcher::fileChanged, this, collect);
      connect(watcher_, &QFileSystemWatcher::directoryChanged, this, collect);
    }
    refresh();
  }

 private:
  /// Watches what is at the path now, which may be another file than before, and tells.
  void refresh() {
    const bool isWatched = watcher_ != nullptr && watchFolder();
    if (isWatched) {
      watcher_->removePath(file_);
      watcher_->addPath(file_);
    }
    if (isWatched == polling_->isActive()) isWatched ? polling_->stop() : polling_->start();
    tell_();
  }

  bool watchFolder() {
    return watcher_->directories().contains(folder_) || watcher_->addPath(folder_);
  }

  const QString file_;
  const QString folder_;
  const bool hasText_;
  const std::chrono::milliseconds interval_;
  const std::function<void()> tell_;
  QFileSystemWatcher* watcher_ = nullptr;
  QTimer* collecting_ = nullptr;
  QTimer* polling_ = nullptr;
};

using Function = std::function<void()>;

/// The watch as its owner on the main thread has it.
class QtFileWatch : public FileWatch {
 public:
  QtFileWatch(std::shared_ptr<const Function> mayHaveChanged, WatchedFile& file)
      : mayHaveChanged_(std::move(mayHaveChanged)), file_(file) {}
  ~QtFileWatch() override { file_.deleteLater(); }

 private:
  const std::shared_ptr<const Function> mayHaveChanged_;  ///< called as long as it lives
  WatchedFile& file_;
};

}  // namespace

QtFileWatcher::~QtFileWatcher() {
  thread_.quit();
  thread_.wait();
}

std::unique_ptr<FileWatch> QtFileWatcher::watch(const FileLocation& location,
                                                std::function<void()> mayHaveChanged) {
  const auto function = std::make_shared<const Function>(std::move(mayHaveChanged));
  const auto call = [weak = std::weak_ptr(function)] {
    if (const auto held = weak.lock()) (*held)();
  };
  auto* file = new WatchedFile(location, interval_, [this, call] {
    QMetaObject::invokeMethod(&mainThreadContext_, call, Qt::QueuedConnection);
  });
  auto watch = std::make_unique<QtFileWatch>(function, *file);
  if (!thread_.isRunning()) thread_.start();
  file->moveToThread(&thread_);
  QMetaObject::invokeMethod(
      file, [file] { file->start(); }, Qt::QueuedConnection);
  return watch;
}

}  // namespace quillmor
