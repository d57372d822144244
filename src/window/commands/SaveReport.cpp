#include "window/commands/SaveReport.h"

#include <array>
#include <cstddef>
#include <ctime>

namespace quillmor {

namespace {

std::string localTime(std::int64_t seconds) {
  const std::time_t time = seconds;
  struct tm parts {};
  if (::localtime_r(&time, &parts) == nullptr) return "not known";
  std::array<char, 64> text{};
  const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts);
  return {text.data(), length};
}

/// The lines after the first stand below its text.
std::string numbered(int number, const std::string& step) {
  const std::string label = std::to_string(number) + ". ";
  std::string text = label;
  for (const char c : step) {
    text += c;
    if (c == '\n') text.append(label.size(), ' ');
  }
  return text + "\n";
}

std::string verdict(const SaveReceipt& receipt, const Result<ReadBack>& onDisk) {
  if (!onDisk.isOk()) return "The file could not be read back: " + onDisk.error().message();
  if (receipt.sha256.empty()) return "No digest was taken when the file was saved.";
  if (onDisk.value().sha256 == receipt.sha256) return "The disk has the bytes that were saved.";
  return onDisk.value().status == receipt.status ? "THE DISK HAS OTHER BYTES THAN WERE SAVED."
                                                 : "The file has been changed since it was saved.";
}

}  // namespace

std::string saveReport(const FileLocation& location, const SaveReceipt& receipt,
                       const Result<ReadBack>& onDisk, std::int64_t recordByteCount) {
  if (!onDisk.isOk() && onDisk.error().isStopped()) throw onDisk.error();
  std::string report = "File: " + location.shownPath() + "\n";
  report += "Saved: " + localTime(receipt.time) + "\n";
  report += "Size: " + std::to_string(receipt.byteCount) + " bytes\n";
  report += "Records on disk: " + std::to_string(recordByteCount) + " bytes\n\n";
  report += "SHA-256 saved:   " + (receipt.sha256.empty() ? "-" : receipt.sha256) + "\n";
  report += "SHA-256 on disk: " + (onDisk.isOk() ? onDisk.value().sha256 : "-") + "\n";
  report += verdict(receipt, onDisk) + "\n\nSteps:\n";
  int number = 0;
  for (const std::string& step : receipt.steps) report += numbered(++number, step);
  return report;
}

}  // namespace quillmor
