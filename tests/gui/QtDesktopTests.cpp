#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QClipboard>
#include <QDBusConnection>
#include <QDBusServer>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QSignalSpy>
#include <QTest>
#include <memory>

#include "platform_qt/QtBeeper.h"
#include "platform_qt/QtLocations.h"
#include "platform_qt/QtPasteboard.h"
#include "platform_qt/QtPlatform.h"
#include "platform_qt/QtWorkspace.h"

namespace quillmor {
namespace {

/// Stands for whatever the desktop would open folders, or addresses of another scheme, with.
class FolderOpener : public QObject {
  Q_OBJECT

 public:
  explicit FolderOpener(const QString& scheme = "file") : scheme_(scheme) {
    QDesktopServices::setUrlHandler(scheme_, this, "open");
  }
  ~FolderOpener() override { QDesktopServices::unsetUrlHandler(scheme_); }

 public slots:
  void open(const QUrl& url) { emit opened(url); }

 signals:
  void opened(const QUrl& url);

 private:
  const QString scheme_;
};

/// Stands for the desktop's file manager.
class FileManager : public QObject {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

 public slots:
  void ShowItems(const QStringList& uris, const QString& startupId) {
    emit itemsShown(uris, startupId);
  }

 signals:
  void itemsShown(const QStringList& uris, const QString& startupId);
};

/// A private bus between two ends in this process; `fileManager` may be null for a desktop without
/// one.
class PrivateBus {
 public:
  explicit PrivateBus(FileManager* fileManager) {
    QSignalSpy arrivals(&server_, &QDBusServer::newConnection);
    QObject::connect(&server_, &QDBusServer::newConnection, &server_,
                     [fileManager](QDBusConnection connection) {
                       if (!fileManager) return;
                       connection.registerObject("/org/freedesktop/FileManager1", fileManager,
                                                 QDBusConnection::ExportAllSlots);
                     });
    QDBusConnection::connectToPeer(server_.address(), kName);
    EXPECT_TRUE(arrivals.count() > 0 || arrivals.wait());
  }
  ~PrivateBus() { QDBusConnection::disconnectFromPeer(kName); }

  QDBusConnection connection() const { return QDBusConnection(kName); }

 private:
  static constexpr const char* kName = "quillmor-private-bus";
  QDBusServer server_;
};

const FileLocation kFile = FileLocation::fromPath("/tmp/a b/\xFF.bin");

TEST(QtWorkspace, asksTheFileManagerToShowTheFile) {
  FileManager fileManager;
  PrivateBus bus(&fileManager);
  QSignalSpy shown(&fileManager, &FileManager::itemsShown);
  QtWorkspace workspace(bus.connection());
  workspace.revealInFileManager(kFile);
  ASSERT_TRUE(shown.count() > 0 || shown.wait());
  EXPECT_EQ(shown[0][0].toStringList(), QStringList{"file:///tmp/a%20b/%FF.bin"});
  EXPECT_EQ(shown[0][1].toString(), "");
}

TEST(QtWorkspace, opensTheFolderWhenNoFileManagerAnswers) {
  FolderOpener opener;
  PrivateBus bus(nullptr);
  QSignalSpy opened(&opener, &FolderOpener::opened);
  QtWorkspace workspace(bus.connection());
  workspace.revealInFileManager(kFile);
  ASSERT_TRUE(opened.count() > 0 || opened.wait());
  EXPECT_EQ(opened[0][0].toUrl(), QUrl("file:///tmp/a%20b"));
}

TEST(QtWorkspace, opensTheFolderWhenThereIsNoBus) {
  FolderOpener opener;
  QSignalSpy opened(&opener, &FolderOpener::opened);
  QtWorkspace().revealInFileManager(kFile);
  ASSERT_EQ(opened.count(), 1);
  EXPECT_EQ(opened[0][0].toUrl(), QUrl("file:///tmp/a%20b"));
}

TEST(QtWorkspace, leavesLocationsThatAreNotFilesAlone) {
  FolderOpener opener;
  QSignalSpy opened(&opener, &FolderOpener::opened);
  QtWorkspace().revealInFileManager(FileLocation::fromUrl("https://example.org/a"));
  EXPECT_EQ(opened.count(), 0);
}

TEST(QtWorkspace, opensLinksAsTheyAre) {
  FolderOpener opener("https");
  QSignalSpy opened(&opener, &FolderOpener::opened);
  QtWorkspace().openLink("https://quillmor.example/a%20b");
  ASSERT_EQ(opened.count(), 1);
  EXPECT_EQ(opened[0][0].toUrl().toEncoded(), "https://quillmor.example/a%20b");
}

TEST(QtPasteboard, replacesTheClipboardByText) {
  QtPasteboard pasteboard;
  pasteboard.setText("DE AD");
  EXPECT_EQ(QGuiApplication::clipboard()->text(), "DE AD");
  pasteboard.setText("\u00E4 \U0001F600\n");
  EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), "\u00E4 \U0001F600\n");
}

TEST(QtLocations, carriesEveryByteOfAPathThroughAUrl) {
  std::string everyByte = "/";
  for (int byte = 1; byte < 256; ++byte) everyByte.push_back(static_cast<char>(byte));
  for (const std::string& path :
       {everyByte, std::string("/tmp/100%/a?b#c"), std::string("/tmp/\xFF\xFE.bin"),
        std::string("/tmp/%41"), std::string("/tmp/a//b/../c"), std::string("/"),
        std::string("//tmp/a"), std::string("/tmp/a\u0308\u00E4")}) {
    const auto location = FileLocation::fromPath(path);
    const QUrl url = QtLocations::toUrl(location);
    EXPECT_TRUE(url.isLocalFile()) << testing::PrintToString(path);
    EXPECT_EQ(QtLocations::fromUrl(url).path(), path);
  }
}

TEST(QtLocations, agreesWithTheToolkitOnOrdinaryPaths) {
  const auto location = FileLocation::fromPath("/tmp/a b/\u00E4.bin");
  EXPECT_EQ(QtLocations::toUrl(location).toLocalFile().toStdString(), location.path());
  EXPECT_EQ(QtLocations::fromUrl(QUrl::fromLocalFile(QString::fromStdString(location.path()))),
            location);
}

TEST(QtLocations, keepsLocationsThatAreNotFiles) {
  const auto location = FileLocation::fromUrl("https://example.org/a%20b?c=d#e");
  EXPECT_EQ(QtLocations::fromUrl(QtLocations::toUrl(location)), location);
}

TEST(QtLocations, showsUndecodableBytesAsReplacementCharacters) {
  EXPECT_EQ(QtLocations::displayText(FileLocation::fromPath("/tmp/\xFF.bin")).toStdString(),
            "/tmp/\uFFFD.bin");
}

TEST(QtPlatform, handsOutServicesThatWork) {
  QtPlatform platform;
  const PlatformServices services = platform.services();
  services.pasteboard.setText("services");
  EXPECT_EQ(QGuiApplication::clipboard()->text(), "services");
  services.defaults.setBoolean("Quillmor.services", true);
  EXPECT_EQ(services.defaults.boolean("Quillmor.services"), true);
  services.beeper.beep();
}

}  // namespace
}  // namespace quillmor

#include "QtDesktopTests.moc"
