#include "cli/Session.h"

#include <unistd.h>

#include <string>

#include "base/VisibleText.h"
#include "document/DocumentLoader.h"

namespace quillmor::cli {

TaskProgress& Session::beginPart(const char* activity) {
  progress_.restart();
  progressLine_.setActivity(activity);
  return progress_;
}

ReadSnapshot Session::readDocument(const FileLocation& location) {
  return quillmor::readDocument(location, &beginPart("Reading")).snapshot;
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
  // Names may hold anything; a message stays one line and moves no cursor.
  const std::string line = "quillmor-cli: " + visibleText(text) + "\n";
  // Nobody is left to be told when this fails.
  [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace quillmor::cli
