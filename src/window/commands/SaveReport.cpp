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

std::string verdict(const SaveReceipt& receipt, const Result<ReadBack>& onDisk) {
  if (!onDisk.isOk()) return "The file could not be read back: " + onDisk.error().message();
  if (receipt.sha256.empty()) return "No digest was taken when the file was saved.";
  if (onDisk.value().sha256 == receipt.sha256) return "The disk has the bytes that were saved.";
  return onDisk.value().status == receipt.status ? "THE DISK HAS OTHER BYTES THAN WERE SAVED."
                                                 : "The file has been changed since it was saved.";
}

}  // namespace

std::string saveReport(const FileLocation& location, const SaveReceipt& receipt,
                       const Result<ReadBack>& onDisk) {
  if (!onDisk.isOk() && onDisk.error().isStopped()) throw onDisk.error();
  std::string report = "File: " + location.shownPath() + "\n";
  report += "Saved: " + localTime(receipt.time) + "\n";
  report += "Size: " + std::to_string(receipt.byteCount) + " bytes\n\n";
  report += "SHA-256 saved:   " + (receipt.sha256.empty() ? "-" : receipt.sha256) + "\n";
  report += "SHA-256 on disk: " + (onDisk.isOk() ? onDisk.value().sha256 : "-") + "\n";
  report += verdict(receipt, onDisk) + "\n\nSteps:\n";
  int number = 0;
  for (const std::string& step : receipt.steps)
    report += std::to_string(++number) + ". " + step + "\n";
  return report;
}

}  // namespace quillmor
