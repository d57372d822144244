// The list of documents to recover: what it shows, its keys and buttons, and how it fits.

#include "ui/app/RecoveryWindow.h"

#include <gmock/gmock.h>

#include <QAccessible>
#include <QHeaderView>
#include <QLabel>
#include <QPointer>
#include <QScreen>
#include <QTableWidget>

#include "app/RecoveryController.h"
#include "gui/RealApplication.h"
#include "support/RecoveryFixture.h"

namespace quillmor::test {
namespace {

using testing::ElementsAre;

class RecoveryWindowTest : public RealApplication {
 protected:
  RecoveryWindowTest() { windows.setDelegate(app); }
  ~RecoveryWindowTest() override { windows.destroyWindows(); }

  /// Starts the application, which finds the records, and returns the list.
  RecoveryWindow& start() {
    app.openUntitledDocumentIfNeeded();
    app.offerRecovery();
    platform.executor.runAll();
    auto* list = topLevel<RecoveryWindow>();
    if (!list) throw std::logic_error("no list");
    makeActive(*list);
    return *list;
  }

  static std::vector<std::string> rowOf(RecoveryWindow& list, int row) {
    std::vector<std::string> texts;
    for (int column = 0; column < list.table().columnCount(); ++column)
      texts.push_back(list.table().item(row, column)->text().toStdString());
    return texts;
  }

  static std::string nameOf(QWidget& widget) {
    return QAccessible::queryAccessibleInterface(&widget)->text(QAccessible::Name).toStdString();
  }

  static QImage pictureOf(QWidget& widget, double ratio) {
    QImage image((QSizeF(widget.size()) * ratio).toSize(), QImage::Format_RGB32);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::magenta);
    widget.render(&image);
    return image;
  }

  std::string textAt(std::size_t index) { return text(*windows.editorWindows().at(index)); }

  bool isGone(const QPointer<RecoveryWindow>& list) {
    return QTest::qWaitFor([&] { return list.isNull(); });
  }

  const LeftRecords records{folder};
  const FileLocation file = folder.write("data.bin", "on disk");
  AppDelegate app{services, windows, &records.store};
};

TEST_F(RecoveryWindowTest, showsFileFolderTimeSizeAndKind) {
  records.leaveUnsaved(file, std::string(1234, 'x'));
  records.leave(RecordKind::save, std::nullopt, "1");
  RecoveryWindow& list = start();
  EXPECT_EQ(list.windowTitle(), "Recovered Documents");
  EXPECT_FALSE(list.isModal());
  std::vector<std::string> headings;
  for (int column = 0; column < list.table().columnCount(); ++column)
    headings.push_back(list.table().horizontalHeaderItem(column)->text().toStdString());
  EXPECT_THAT(headings, ElementsAre("File", "Folder", "Time", "Size", "Kind"));
  ASSERT_EQ(list.table().rowCount(), 2);
  EXPECT_THAT(rowOf(list, 0), ElementsAre("data.bin", folder.path().native(), testing::Ne(""),
                                          "1,234 bytes", "unsaved changes"));
  EXPECT_THAT(rowOf(list, 1),
              ElementsAre("Untitled", "", testing::Ne(""), "1 byte", "interrupted save"));
}

TEST_F(RecoveryWindowTest, returnRecoversTheSelectedDocument) {
  records.leaveUnsaved(file, "unsaved");
  QPointer<RecoveryWindow> list(&start());
  EXPECT_TRUE(list->table().hasFocus());
  QTest::keyClick(&list->table(), Qt::Key_Return);
  platform.executor.runAll();
  EXPECT_EQ(textAt(0), "unsaved");
  EXPECT_TRUE(windows.editorWindows().front()->isWindowModified());
  EXPECT_TRUE(isGone(list));
}

TEST_F(RecoveryWindowTest, arrowsAndShiftSelectSeveral) {
  for (const char* const content : {"first", "second", "third"})
    records.leaveUnsaved(folder.write(content, ""), content);
  RecoveryWindow& list = start();
  QTest::keyClick(&list.table(), Qt::Key_Down);
  QTest::keyClick(&list.table(), Qt::Key_Down, Qt::ShiftModifier);
  QTest::keyClick(&list.table(), Qt::Key_Return);
  platform.executor.runAll();
  EXPECT_EQ(textAt(0), "second");
  EXPECT_EQ(textAt(1), "third");
  ASSERT_EQ(list.table().rowCount(), 1);
  EXPECT_EQ(rowOf(list, 0).front(), "first");
  EXPECT_TRUE(list.table().item(0, 0)->isSelected());
}

TEST_F(RecoveryWindowTest, deleteDiscardsAfterAQuestion) {
  const std::string id = records.leaveUnsaved(file, "unsaved");
  QPointer<RecoveryWindow> list(&start());
  for (const std::string answer : {"Cancel", "Discard"}) {
    platform.alerts.expect("Discard the unsaved changes of \"data.bin\"?",
                           "They cannot be recovered afterwards.", answer);
    QTest::keyClick(&list->table(), Qt::Key_Delete);
    platform.executor.runAll();
    EXPECT_EQ(records.exists(id), answer == "Cancel");
  }
  EXPECT_TRUE(isGone(list));
}

TEST_F(RecoveryWindowTest, escapeTheCloseShortcutAndTheWindowsButtonMeanLater) {
  const std::string id = records.leaveUnsaved(file, "unsaved");
  const std::vector<std::function<void(RecoveryWindow&)>> ways = {
      [](RecoveryWindow& list) { QTest::keyClick(&list.table(), Qt::Key_Escape); },
      [](RecoveryWindow& list) { QTest::keyClick(&list, Qt::Key_W, Qt::ControlModifier); },
      [](RecoveryWindow& list) { list.close(); },
      [](RecoveryWindow& list) { button(list, "Later")->click(); }};
  for (const auto& way : ways) {
    QPointer<RecoveryWindow> list(&start());
    way(*list);
    EXPECT_TRUE(isGone(list));
    EXPECT_TRUE(records.exists(id));
  }
  EXPECT_EQ(windows.editorWindows().size(), 1U);
}

TEST_F(RecoveryWindowTest, buttonsDoTheSame) {
  records.leaveUnsaved(file, "on Disk");
  RecoveryWindow& list = start();
  EXPECT_TRUE(button(list, "Recover")->isDefault());
  button(list, "Show Differences")->click();
  platform.executor.runAll();
  auto* report = topLevel<ReportWindow>();
  ASSERT_TRUE(report);
  EXPECT_TRUE(report->text().toPlainText().contains("0x00000003  1 byte  64 -> 44"));
  button(list, "Recover")->click();
  platform.executor.runAll();
  EXPECT_EQ(textAt(0), "on Disk");
}

TEST_F(RecoveryWindowTest, nothingElseCanBeStartedWhileSomethingIsDone) {
  records.leaveUnsaved(file, "unsaved");
  RecoveryWindow& list = start();
  button(list, "Recover")->click();
  for (const char* const title : {"Recover", "Discard", "Show Differences"})
    EXPECT_FALSE(button(list, title)->isEnabled()) << title;
  EXPECT_TRUE(button(list, "Later")->isEnabled());
  EXPECT_TRUE(std::ranges::any_of(list.findChildren<QLabel*>(), [](const QLabel* label) {
    return label->text() == "Recovering data.bin…";
  }));
}

TEST_F(RecoveryWindowTest, saysWhyADocumentCannotBeRecovered) {
  const FileLocation changed = folder.write("changed.bin", "before");
  records.store.createJournal(LeftRecords::contentOf(RecordKind::journal, changed));
  folder.write("changed.bin", "after");
  RecoveryWindow& list = start();
  EXPECT_EQ(rowOf(list, 0).at(3), "unknown");
  const QString reason =
      "changed.bin: The file has been changed since, so these edits do not fit it any more.";
  EXPECT_TRUE(std::ranges::any_of(list.findChildren<QLabel*>(), [&](const QLabel* label) {
    return label->isVisible() && label->text() == reason;
  }));
}

TEST_F(RecoveryWindowTest, everythingHasANameForAssistiveTechnology) {
  records.leaveUnsaved(file, "unsaved");
  RecoveryWindow& list = start();
  EXPECT_EQ(nameOf(list.table()), "Recovered documents");
  for (QPushButton* each : list.findChildren<QPushButton*>()) EXPECT_NE(nameOf(*each), "");
  QAccessibleInterface* const table = QAccessible::queryAccessibleInterface(&list.table());
  EXPECT_EQ(table->tableInterface()->cellAt(0, 0)->text(QAccessible::Name), "data.bin");
}

TEST_F(RecoveryWindowTest, fitsASmallScreenAtAnyRatio) {
  records.leaveUnsaved(folder.write(std::string(200, 'n'), "on disk"), "unsaved");
  RecoveryWindow& list = start();
  EXPECT_LE(list.minimumSizeHint().width(), 780);
  EXPECT_LE(list.minimumSizeHint().height(), 540);
  list.resize(780, 540);
  QCoreApplication::processEvents();
  for (QPushButton* each : list.findChildren<QPushButton*>()) {
    EXPECT_TRUE(list.rect().contains(each->geometry())) << each->text().toStdString();
    EXPECT_GE(each->width(), each->fontMetrics().horizontalAdvance(each->text()));
  }
  for (const double ratio : {1.0, 1.5, 2.0}) {
    const QImage image = pictureOf(list, ratio);
    int undrawn = 0;
    for (int y = 0; y < image.height(); ++y) {
      for (int x = 0; x < image.width(); ++x) undrawn += image.pixelColor(x, y) == Qt::magenta;
    }
    EXPECT_EQ(undrawn, 0) << ratio;
  }
}

TEST_F(RecoveryWindowTest, theApplicationsQuitShortcutWorksInIt) {
  records.leaveUnsaved(file, "unsaved");
  RecoveryWindow& list = start();
  auto& editor = windows.editorWindows().front()->editorView();
  QTest::keyClicks(&editor, "4a");
  platform.alerts.expect("Do you want to save the changes you made to \"Untitled\"?",
                         "Your changes will be lost if you don't save them.", "Cancel");
  makeActive(list);
  QTest::keyClick(&list, Qt::Key_Q, Qt::ControlModifier);
  EXPECT_EQ(platform.alerts.shown().size(), 1U);
}

}  // namespace
}  // namespace quillmor::test
