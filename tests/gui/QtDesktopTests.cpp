#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QClipboard>
#include <QDBusConnection>
#include <QDBusServer>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>
#include <memory>

#include "platform_qt/QtBeeper.h"
#include "platform_qt/QtLocations.h"
#include "platform_qt/QtPasteboard.h"
#include "platform_qt/QtPlatform.h"
#include "platform_qt/QtUserDefaults.h"
#include "platform_qt/QtWorkspace.h"
#include "support/MemoryProbes.h"

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
  QtWorkspace().revealInFileManager(FileLocation::fromURL("https://example.org/a"));
  EXPECT_EQ(opened.count(), 0);
}

TEST(QtWorkspace, opensLinksAsTheyAre) {
  FolderOpener opener("https");
  QSignalSpy opened(&opener, &FolderOpener::opened);
  QtWorkspace().openLink("https://quillmor.example/a%20b");
  ASSERT_EQ(opened.count(), 1);
  EXPECT_EQ(opened[0][0].toUrl().toEncoded(), "https://quillmor.example/a%20b");
}

QClipboard& clipboard() {
  return *QGuiApplication::clipboard();
}

std::string stringOf(const std::optional<Pasteboard::BoundedBytes>& held) {
  if (!held) return "none";
  EXPECT_EQ(held->byteCount, held->bytes.size());
  return {held->bytes.span().begin(), held->bytes.span().end()};
}

/// Puts `data` on the clipboard as another program would, under `type`.
void offer(const char* type, const QByteArray& data) {
  auto* offered = new QMimeData;
  offered->setData(type, data);
  clipboard().setMimeData(offered);
}

TEST(QtPasteboard, replacesTheClipboardByText) {
  QtPasteboard pasteboard;
  EXPECT_TRUE(pasteboard.setText("DE AD"));
  EXPECT_EQ(clipboard().text(), "DE AD");
  EXPECT_TRUE(pasteboard.setText("\u00E4 \U0001F600\n"));
  EXPECT_EQ(clipboard().text().toStdString(), "\u00E4 \U0001F600\n");
  EXPECT_FALSE(pasteboard.bytes(100));
}

TEST(QtPasteboard, publishesBytesAndTheirText) {
  QtPasteboard pasteboard;
  EXPECT_TRUE(pasteboard.setBytes({0x00, 0xDE, 0xFF}, "00 DE FF"));
  EXPECT_EQ(clipboard().text(), "00 DE FF");
  const QByteArray expected("\x00\xDE\xFF", 3);
  EXPECT_EQ(clipboard().mimeData()->data("com.tenvale.Quillmor.binary-data"), expected);
  EXPECT_EQ(clipboard().mimeData()->data("application/octet-stream"), expected);
  EXPECT_EQ(stringOf(pasteboard.bytes(100)), expected.toStdString());
  EXPECT_EQ(pasteboard.text(100)->text, "00 DE FF");
}

TEST(QtPasteboard, readsBytesOfEveryKindItKnows) {
  QtPasteboard pasteboard;
  for (const char* type : {"com.tenvale.Quillmor.binary-data", "com.tenvale.binary-data",
                           "application/octet-stream"}) {
    offer(type, QByteArray("a\0b", 3));
    EXPECT_EQ(stringOf(pasteboard.bytes(100)), std::string("a\0b", 3)) << type;
    EXPECT_FALSE(pasteboard.text(100)) << type;
  }
  offer("image/png", "no bytes for an editor");
  EXPECT_FALSE(pasteboard.bytes(100));
}

TEST(QtPasteboard, prefersTheProgramsOwnBytes) {
  QtPasteboard pasteboard;
  auto* offered = new QMimeData;
  offered->setData("application/octet-stream", "third");
  offered->setData("com.tenvale.binary-data", "second");
  offered->setData("com.tenvale.Quillmor.binary-data", "first");
  clipboard().setMimeData(offered);
  EXPECT_EQ(stringOf(pasteboard.bytes(100)), "first");
}

TEST(QtPasteboard, returnsTextUpToALimitOnly) {
  QtPasteboard pasteboard;
  pasteboard.setText("a\u00E4\u20AC");
  EXPECT_EQ(pasteboard.text(6)->text, "a\u00E4\u20AC");
  EXPECT_FALSE(pasteboard.text(6)->isTooLong);
  for (const std::int64_t limit : {5, 2, 0}) {
    EXPECT_TRUE(pasteboard.text(limit)->isTooLong) << limit;
    EXPECT_EQ(pasteboard.text(limit)->text, "") << limit;
  }
}

TEST(QtPasteboard, returnsBytesUpToALimitOnly) {
  QtPasteboard pasteboard;
  offer("com.tenvale.binary-data", "abc");
  EXPECT_EQ(stringOf(pasteboard.bytes(3)), "abc");
  for (const std::int64_t limit : {2, 0}) {
    const auto held = pasteboard.bytes(limit);
    EXPECT_EQ(held->byteCount, 3) << limit;
    EXPECT_TRUE(held->bytes.empty()) << limit;
  }
}

TEST(QtPasteboard, takesTextBeforeBytesOfNoParticularKind) {
  QtPasteboard pasteboard;
  for (const char* type : {"text/plain", "text/plain;charset=utf-8"}) {
    auto* offered = new QMimeData;
    offered->setData("application/octet-stream", "bytes");
    offered->setData(type, "text");
    clipboard().setMimeData(offered);
    EXPECT_FALSE(pasteboard.bytes(100)) << type;
    EXPECT_EQ(pasteboard.text(100)->text, "text") << type;
  }
}

TEST(QtPasteboard, takesTextOfAStatedEncodingFirst) {
  auto* offered = new QMimeData;
  offered->setData("text/plain", "?");
  offered->setData("text/plain;charset=utf-8", "\u20AC");
  clipboard().setMimeData(offered);
  EXPECT_EQ(QtPasteboard().text(100)->text, "\u20AC");
}

TEST(QtPasteboard, readsTextThatIsNotHeldAsBytes) {
  auto* offered = new QMimeData;
  offered->setText(QString::fromUtf8("\u00E4\u20AC"));
  clipboard().setMimeData(offered);
  EXPECT_EQ(QtPasteboard().text(5)->text, "\u00E4\u20AC");
  EXPECT_TRUE(QtPasteboard().text(4)->isTooLong);
}

TEST(QtPasteboard, replacesWhatIsNoUtf8InText) {
  QtPasteboard pasteboard;
  offer("text/plain", "a\xFFz");
  EXPECT_EQ(pasteboard.text(5)->text, "a\uFFFDz");
  // Three bytes as held are five bytes of text.
  EXPECT_TRUE(pasteboard.text(4)->isTooLong);
}

TEST(QtPasteboard, takesNoListOfFilesForText) {
  auto* offered = new QMimeData;
  offered->setUrls({QUrl("file:///tmp/a.bin"), QUrl("file:///tmp/b.bin")});
  clipboard().setMimeData(offered);
  ASSERT_TRUE(clipboard().mimeData()->hasText());
  EXPECT_FALSE(QtPasteboard().text(100));
  EXPECT_FALSE(QtPasteboard().bytes(100));
}

TEST(QtPasteboard, copiesWhatItHoldsOnceForAllRequests) {
  QtPasteboard pasteboard;
  pasteboard.setBytes(ByteBuffer::filled(1'000'000, 0xDE), std::string(1'000'000, 'D'));
  for (const char* type :
       {"com.tenvale.Quillmor.binary-data", "application/octet-stream", "text/plain"}) {
    const QByteArray first = clipboard().mimeData()->data(type);
    ASSERT_EQ(first.size(), 1'000'000) << type;
    EXPECT_TRUE(first.isSharedWith(clipboard().mimeData()->data(type))) << type;
  }
}

TEST(QtPasteboard, putsTextOnTheClipboardWithoutCopyingIt) {
  constexpr std::size_t kSize = 64UL * 1024 * 1024;
  QtPasteboard pasteboard;
  std::string text(kSize, 'x');
  {
    const NoMoreAddressSpace none;
    EXPECT_TRUE(pasteboard.setText(std::move(text)));
  }
  EXPECT_EQ(clipboard().mimeData()->data("text/plain").size(), static_cast<qsizetype>(kSize));
}

/// Takes the clipboard from whoever gets it.
class RivalProgram {
 public:
  RivalProgram() {
    QObject::connect(&clipboard(), &QClipboard::dataChanged, &context_, [] {
      const QMimeData* held = clipboard().mimeData();
      if (held == nullptr || !held->hasFormat("image/png")) offer("image/png", "taken");
    });
  }

 private:
  QObject context_;
};

TEST(QtPasteboard, saysThatTheClipboardHoldsSomethingElse) {
  QtPasteboard pasteboard;
  {
    const RivalProgram rival;
    EXPECT_FALSE(pasteboard.setText("DE AD"));
    EXPECT_FALSE(pasteboard.setBytes({0xDE, 0xAD}, "DE AD"));
  }
  EXPECT_TRUE(pasteboard.setText("DE AD"));
}

TEST(QtPasteboard, hasNothingWhenTheClipboardIsEmpty) {
  clipboard().clear();
  QtPasteboard pasteboard;
  EXPECT_FALSE(pasteboard.bytes(100));
  EXPECT_FALSE(pasteboard.text(100));
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
  const auto location = FileLocation::fromURL("https://example.org/a%20b?c=d#e");
  EXPECT_EQ(QtLocations::fromUrl(QtLocations::toUrl(location)), location);
}

TEST(QtLocations, showsUndecodableBytesAsReplacementCharacters) {
  EXPECT_EQ(QtLocations::displayText(FileLocation::fromPath("/tmp/\xFF.bin")).toStdString(),
            "/tmp/\uFFFD.bin");
}

TEST(QtPlatform, handsOutServicesThatWork) {
  QtPlatform platform(std::make_unique<QtUserDefaults>());
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
