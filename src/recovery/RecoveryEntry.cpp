#include "recovery/RecoveryEntry.h"

#include <array>
#include <ctime>

namespace quillmor {

std::string RecoveryEntry::shownName() const {
  if (file) return file->shownName();
  return untitledNumber > 1 ? "Untitled " + std::to_string(untitledNumber) : "Untitled";
}

std::string_view RecoveryEntry::kind() const {
  return isInterruptedSave ? "interrupted save" : "unsaved changes";
}

std::string utcText(const RecordTime& time) {
  constexpr std::int64_t kEndOfYear9999 = 253402300800;
  if (time.seconds < 0 || time.seconds >= kEndOfYear9999) return "invalid time";
  const auto seconds = static_cast<std::time_t>(time.seconds);
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  std::array<char, 32> text{};
  const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
  return {text.data(), length};
}

Error changedBaseError() {
  return Error::quillmor(2810,
                         "The file has been changed since, so these edits do not fit it any more.");
}

Error missingBaseFileError() {
  return Error::quillmor(2811, "The file that these edits belong to is not there any more.");
}

Error missingBaseRecordError() {
  return Error::quillmor(2812, "The record that these edits continue is not there any more.");
}

}  // namespace quillmor
