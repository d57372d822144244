#include "platform_qt/QtFilePanels.h"

#include <QApplication>
#include <QFileDialog>
#include <QPointer>
#include <filesystem>
#include <memory>
#include <system_error>

#include "platform_qt/QtLocations.h"

namespace quillmor {

namespace {

/// The window a dialog belongs to may go, and take the dialog along, while the dialog runs.
using DialogPointer = QPointer<QFileDialog>;

DialogPointer makeDialog(const std::string& title, QFileDialog::AcceptMode acceptMode,
                         const std::optional<FileLocation>& directory) {
  DialogPointer dialog =
      new QFileDialog(QApplication::activeWindow(), QString::fromStdString(title));
  dialog->setAcceptMode(acceptMode);
  dialog->setSupportedSchemes({"file"});
  if (directory) dialog->setDirectoryUrl(QtLocations::toUrl(*directory));
  return dialog;
}

/// Runs the dialog and takes it down; what was chosen, empty when cancelled.
std::vector<FileLocation> runDialog(const DialogPointer& dialog) {
  const bool isAccepted = dialog->exec() == QDialog::Accepted;
  const std::unique_ptr<QFileDialog> owned(dialog);
  std::vector<FileLocation> chosen;
  if (!isAccepted || !owned) return chosen;
  for (const QUrl& url : owned->selectedUrls()) chosen.push_back(QtLocations::fromUrl(url));
  return chosen;
}

}  // namespace

std::vector<FileLocation> QtFilePanels::runOpenPanel(const std::string& title,
                                                     bool allowsMultipleSelection,
                                                     const std::optional<FileLocation>& directory) {
  const DialogPointer dialog = makeDialog(title, QFileDialog::AcceptOpen, directory);
  dialog->setFileMode(allowsMultipleSelection ? QFileDialog::ExistingFiles
                                              : QFileDialog::ExistingFile);
  return runDialog(dialog);
}

std::optional<FileLocation> QtFilePanels::runSavePanel(
    const std::string& title, const std::string& suggestedName,
    const std::optional<FileLocation>& directory) {
  const DialogPointer dialog = makeDialog(title, QFileDialog::AcceptSave, directory);
  dialog->setFileMode(QFileDialog::AnyFile);
  const QString shownName = QString::fromStdString(suggestedName);
  dialog->selectFile(shownName);
  const auto chosen = runDialog(dialog);
  if (chosen.empty()) return std::nullopt;
  // The field cannot hold bytes that are not UTF-8. A suggestion that was left alone keeps them,
  // unless there is a file of that name already: the dialog has not asked whether to replace it.
  const FileLocation suggested = chosen.front().sibling(suggestedName);
  const bool wasLeftAlone = chosen.front().lastPathComponent() == shownName.toStdString();
  std::error_code error;
  const bool exists = std::filesystem::exists(suggested.path(), error) || error;
  return wasLeftAlone && !exists ? suggested : chosen.front();
}

}  // namespace quillmor
