// The widget that takes dropped files.

#include <QDragEnterEvent>
#include <QMimeData>
#include <QTemporaryDir>
#include <QUrl>
#include <filesystem>
#include <fstream>

#include "EditorViewFixture.h"
#include "ui/editor/HexFileDropView.h"

namespace quillmor {
namespace {

class HexEditorDrops : public test::EditorViewTest {
 protected:
  void SetUp() override {
    ASSERT_TRUE(folder.isValid());
    std::ofstream(file("a.bin")).put('a');
    std::ofstream(file("b.bin")).put('b');
    view.setFileDropHandler([this](const FileLocation& location) { dropped.push_back(location); });
    drops.setFileDropHandler([this](const FileLocation& location) { dropped.push_back(location); });
  }

  std::string file(const std::string& name) const {
    return folder.path().toStdString() + "/" + name;
  }
  static QUrl url(const std::string& path) {
    return QUrl::fromLocalFile(QString::fromStdString(path));
  }

  /// Enters, moves and drops as the toolkit does; returns whether every step was a copy.
  bool drop(QWidget& target, const QList<QUrl>& urls) {
    QMimeData data;
    data.setUrls(urls);
    return dropData(target, data);
  }

  static bool dropData(QWidget& target, const QMimeData& data,
                       Qt::DropActions actions = Qt::CopyAction | Qt::MoveAction) {
    QDragEnterEvent enter({5, 5}, actions, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&target, &enter);
    QDragMoveEvent move({6, 6}, actions, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&target, &move);
    QDropEvent release({6, 6}, actions, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&target, &release);
    const auto isCopy = [](const QDropEvent& event) {
      return event.isAccepted() && event.dropAction() == Qt::CopyAction;
    };
    EXPECT_EQ(isCopy(enter), isCopy(move));
    return isCopy(move) && isCopy(release);
  }

  QTemporaryDir folder;
  HexFileDropView drops;
  std::vector<FileLocation> dropped;
};

TEST_F(HexEditorDrops, aDroppedFileIsHandedOver) {
  EXPECT_TRUE(drop(*view.viewport(), {url(file("a.bin"))}));
  EXPECT_TRUE(drop(drops, {url(file("b.bin"))}));
  EXPECT_EQ(dropped, (std::vector{FileLocation::fromPath(file("a.bin")),
                                  FileLocation::fromPath(file("b.bin"))}));
}

TEST_F(HexEditorDrops, aFolderIsRefused) {
  EXPECT_FALSE(drop(*view.viewport(), {url(folder.path().toStdString())}));
  EXPECT_FALSE(drop(drops, {url(folder.path().toStdString() + "/")}));
  EXPECT_FALSE(drop(drops, {url("/no/such/folder/")}));
  EXPECT_TRUE(dropped.empty());
}

TEST_F(HexEditorDrops, theFirstFileOfSeveralIsTaken) {
  EXPECT_TRUE(
      drop(*view.viewport(), {QUrl("https://example.org/a.bin"), url(folder.path().toStdString()),
                              url(file("b.bin")), url(file("a.bin"))}));
  EXPECT_EQ(dropped, (std::vector{FileLocation::fromPath(file("b.bin"))}));
}

TEST_F(HexEditorDrops, whatIsNoFileIsRefused) {
  EXPECT_FALSE(drop(*view.viewport(), {QUrl("https://example.org/a.bin")}));
  EXPECT_FALSE(drop(*view.viewport(), {}));
  EXPECT_TRUE(dropped.empty());
}

TEST_F(HexEditorDrops, namesThatAreNotUtf8Survive) {
  EXPECT_TRUE(drop(*view.viewport(), {QUrl::fromEncoded("file:///no/such/%FF%FE.bin")}));
  EXPECT_EQ(dropped, (std::vector{FileLocation::fromPath("/no/such/\xFF\xFE.bin")}));
}

TEST_F(HexEditorDrops, areReadAsOtherProgramsSendThem) {
  std::ofstream(file("c d.bin")).put('c');
  QMimeData data;
  data.setData("text/uri-list", QByteArray("# made by another program\r\n") + "file://" +
                                    folder.path().toUtf8() + "/c%20d.bin\r\n" +
                                    "file:///no/such/%FF%25.bin\r\n");
  EXPECT_TRUE(dropData(*view.viewport(), data));
  data.setData("text/uri-list", "# first\r\nfile:///no/such/%FF%25.bin\r\n");
  EXPECT_TRUE(dropData(drops, data));
  EXPECT_EQ(dropped, (std::vector{FileLocation::fromPath(file("c d.bin")),
                                  FileLocation::fromPath("/no/such/\xFF%.bin")}));
}

TEST_F(HexEditorDrops, areRefusedWhenTheyMayNotBeCopied) {
  QMimeData data;
  data.setUrls({url(file("a.bin"))});
  EXPECT_FALSE(dropData(*view.viewport(), data, Qt::MoveAction));
  EXPECT_FALSE(dropData(drops, data, Qt::LinkAction | Qt::MoveAction));
  EXPECT_TRUE(dropped.empty());
  EXPECT_TRUE(dropData(drops, data, Qt::CopyAction));
}

TEST_F(HexEditorDrops, askForTheFileOnceHoweverFarTheDragMoves) {
  QMimeData data;
  data.setUrls({url(file("a.bin"))});
  QDragEnterEvent enter({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(view.viewport(), &enter);
  ASSERT_TRUE(enter.isAccepted());
  // A file that has become a folder since: only a second look would tell.
  std::filesystem::remove(file("a.bin"));
  std::filesystem::create_directory(file("a.bin"));
  QDragMoveEvent move({6, 6}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(view.viewport(), &move);
  EXPECT_TRUE(move.isAccepted());
  QDropEvent release({6, 6}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(view.viewport(), &release);
  EXPECT_FALSE(release.isAccepted());
  EXPECT_TRUE(dropped.empty());
}

TEST_F(HexEditorDrops, areAcceptedWhileEditingIsDisabled) {
  state.setEditingEnabled(false);
  EXPECT_TRUE(drop(*view.viewport(), {url(file("a.bin"))}));
  EXPECT_EQ(dropped.size(), 1U);
}

TEST_F(HexEditorDrops, areRefusedWithoutAHandler) {
  view.setFileDropHandler({});
  EXPECT_FALSE(drop(*view.viewport(), {url(file("a.bin"))}));
}

TEST_F(HexEditorDrops, areNotOfferedAfterUnregistering) {
  EXPECT_TRUE(view.viewport()->acceptDrops());
  view.unregisterDrags();
  EXPECT_FALSE(view.viewport()->acceptDrops());
}

}  // namespace
}  // namespace quillmor
