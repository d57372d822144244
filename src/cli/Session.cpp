#include "cli/Session.h"

#include <unistd.h>

#include <string>

#include "document/QuillmorResourceLimits.h"

namespace quillmor::cli {

TaskProgress& Session::beginPart(const char* activity) {
  progress_.restart();
  progressLine_.setActivity(activity);
  return progress_;
}

ReadSnapshot Session::readDocument(const FileLocation& location) {
  return SecureFileAccess::readSnapshot(
      location, QuillmorResourceLimits::maximumDocumentByteCount(), &beginPart("Reading"));
}

void Session::print(std::string_view text) {
  output_.write(text);
  output_.endLine();
}

void printMessage(std::string_view text) {
  std::string line = "quillmor-cli: ";
  for (const char character : text) {
    // Names may hold anything; a message stays one line and moves no cursor.
    const bool isControl = static_cast<unsigned char>(character) < ' ' || character == '\x7F';
    line += isControl ? ' ' : character;
  }
  line += '\n';
  // Nobody is left to be told when this fails.
  [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace quillmor::cli
