#include "cli/Session.h"

#include <unistd.h>

#include <string>

#include "base/Unicode.h"
#include "document/QuillmorResourceLimits.h"
#include "fileaccess/StableFile.h"

namespace quillmor::cli {

TaskProgress& Session::beginPart(const char* activity) {
  progress_.restart();
  progressLine_.setActivity(activity);
  return progress_;
}

ReadSnapshot Session::readDocument(const FileLocation& location) {
  return SecureFileAccess::readSnapshotShared(
      location, QuillmorResourceLimits::maximumDocumentByteCount(), &beginPart("Reading"));
}

void Session::print(std::string_view text) {
  output_.write(text);
  output_.endLine();
}

void Session::note(std::string_view text) {
  progressLine_.end();
  printMessage(text);
}

void printMessage(std::string_view text) {
  std::string line = "quillmor-cli: ";
  // Names may hold anything; a message stays one line and moves no cursor.
  while (!text.empty()) {
    const auto [scalar, length, isValid] = Unicode::decodeFirst(text);
    const bool isControl = scalar < 0x20 || (scalar >= 0x7F && scalar < 0xA0);
    line += isControl ? " " : text.substr(0, length);
    text.remove_prefix(length);
  }
  line += '\n';
  // Nobody is left to be told when this fails.
  [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace quillmor::cli
