#include "platform_qt/QtFilePanels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDialogButtonBox>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <filesystem>
#include <fstream>

#include "gui/ModalScript.h"

namespace quillmor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing_support::onNextModal;

class QtFilePanelsTest : public testing::Test {
 protected:
  FileLocation folder() const { return FileLocation::fromPath(folder_.path().toStdString()); }

  FileLocation make(const std::string& name) const {
    const FileLocation location = FileLocation::fromPath(folder().path() + "/" + name);
    QFile file(QString::fromStdString(location.path()));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    return location;
  }

  /// Types a name into the dialog's own field and presses Return. The dialog follows the field only
  /// while the field has the focus, which a question takes away.
  static void typeName(QFileDialog& dialog, const QString& name,
                       const std::function<void(QMessageBox&)>& onQuestion = {}) {
    auto* edit = dialog.findChild<QLineEdit*>("fileNameEdit");
    ASSERT_NE(edit, nullptr);
    dialog.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    edit->setFocus();
    edit->setText(name);
    if (onQuestion) onNextModal<QMessageBox>(onQuestion);
    QTest::keyClick(edit, Qt::Key_Return);
  }

  QTemporaryDir folder_;
  QtFilePanels panels_;
};

TEST_F(QtFilePanelsTest, opensTheChosenFile) {
  const auto file = make("data.bin");
  onNextModal<QFileDialog>([&](QFileDialog& dialog) {
    EXPECT_EQ(dialog.windowTitle(), "Open");
    EXPECT_EQ(dialog.acceptMode(), QFileDialog::AcceptOpen);
    EXPECT_EQ(dialog.fileMode(), QFileDialog::ExistingFile);
    EXPECT_EQ(dialog.directory().path(), folder_.path());
    typeName(dialog, "data.bin");
  });
  EXPECT_THAT(panels_.runOpenPanel("Open", false, folder()), ElementsAre(file));
}

TEST_F(QtFilePanelsTest, opensSeveralFiles) {
  const auto first = make("a b.bin");
  const auto second = make("\u00E4#%3F.bin");
  onNextModal<QFileDialog>([&](QFileDialog& dialog) {
    EXPECT_EQ(dialog.fileMode(), QFileDialog::ExistingFiles);
    typeName(dialog, QString::fromUtf8("\"a b.bin\" \"\u00E4#%3F.bin\""));
  });
  EXPECT_THAT(panels_.runOpenPanel("Open", true, folder()), ElementsAre(first, second));
}

TEST_F(QtFilePanelsTest, isEmptyWhenOpeningIsCancelled) {
  onNextModal<QFileDialog>([](QFileDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
  EXPECT_THAT(panels_.runOpenPanel("Open", true, folder()), IsEmpty());
}

TEST_F(QtFilePanelsTest, startsAnywhereWithoutADirectory) {
  onNextModal<QFileDialog>([](QFileDialog& dialog) { dialog.reject(); });
  EXPECT_THAT(panels_.runOpenPanel("Open", false, std::nullopt), IsEmpty());
}

TEST_F(QtFilePanelsTest, savesUnderTheSuggestedName) {
  onNextModal<QFileDialog>([&](QFileDialog& dialog) {
    EXPECT_EQ(dialog.windowTitle(), "Save As");
    EXPECT_EQ(dialog.acceptMode(), QFileDialog::AcceptSave);
    auto* edit = dialog.findChild<QLineEdit*>("fileNameEdit");
    ASSERT_NE(edit, nullptr);
    EXPECT_EQ(edit->text(), "Untitled.bin");
    QTest::keyClick(edit, Qt::Key_Return);
  });
  EXPECT_THAT(panels_.runSavePanel("Save As", "Untitled.bin", folder()),
              Optional(FileLocation::fromPath(folder().path() + "/Untitled.bin")));
}

TEST_F(QtFilePanelsTest, keepsTheBytesOfASuggestedNameThatIsNotUtf8) {
  onNextModal<QFileDialog>([](QFileDialog& dialog) {
    QTest::keyClick(dialog.findChild<QLineEdit*>("fileNameEdit"), Qt::Key_Return);
  });
  EXPECT_THAT(panels_.runSavePanel("Save As", "a\xFF.bin", folder()),
              Optional(FileLocation::fromPath(folder().path() + "/a\xFF.bin")));
}

TEST_F(QtFilePanelsTest, doesNotReplaceAFileItCouldNotAskAbout) {
  const std::string existing = folder().path() + "/a\xFF.bin";
  std::ofstream(existing) << "precious";
  onNextModal<QFileDialog>([](QFileDialog& dialog) {
    QTest::keyClick(dialog.findChild<QLineEdit*>("fileNameEdit"), Qt::Key_Return);
  });
  const auto chosen = panels_.runSavePanel("Save As", "a\xFF.bin", folder());
  ASSERT_TRUE(chosen.has_value());
  EXPECT_NE(chosen->path(), existing);
  // Qt cannot remove what it cannot name.
  EXPECT_TRUE(std::filesystem::remove(existing));
}

TEST_F(QtFilePanelsTest, isAbsentWhenSavingIsCancelled) {
  onNextModal<QFileDialog>([](QFileDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
  EXPECT_EQ(panels_.runSavePanel("Save As", "x.bin", folder()), std::nullopt);
}

TEST_F(QtFilePanelsTest, asksBeforeAnExistingFileIsChosen) {
  const auto file = make("old.bin");
  onNextModal<QFileDialog>([&](QFileDialog& dialog) {
    typeName(dialog, "old.bin", [](QMessageBox& box) {
      EXPECT_TRUE(box.text().contains("old.bin")) << box.text().toStdString();
      QTest::mouseClick(box.button(QMessageBox::Yes), Qt::LeftButton);
    });
  });
  EXPECT_THAT(panels_.runSavePanel("Save As", "x.bin", folder()), Optional(file));
}

TEST_F(QtFilePanelsTest, staysOpenWhenAnExistingFileIsNotToBeReplaced) {
  make("old.bin");
  onNextModal<QFileDialog>([&](QFileDialog& dialog) {
    typeName(dialog, "old.bin", [](QMessageBox& box) {
      QTest::mouseClick(box.button(QMessageBox::No), Qt::LeftButton);
    });
    EXPECT_TRUE(dialog.isVisible());
    typeName(dialog, "new.bin");
  });
  EXPECT_THAT(panels_.runSavePanel("Save As", "x.bin", folder()),
              Optional(FileLocation::fromPath(folder().path() + "/new.bin")));
}

TEST_F(QtFilePanelsTest, survivesTheLossOfItsWindow) {
  auto* window = new QWidget;
  window->show();
  ASSERT_TRUE(QTest::qWaitForWindowActive(window));
  onNextModal<QFileDialog>([window](QFileDialog&) { delete window; });
  EXPECT_THAT(panels_.runOpenPanel("Open", false, folder()), IsEmpty());
}

}  // namespace
}  // namespace quillmor
