#include "fileaccess/FileErrors.h"

#include <string>

namespace quillmor::SecureFileAccess {

namespace {

constexpr int kChangedWhileReadingCode = 1204;

}  // namespace

Error inputIsNotALocalFileError() {
  return Error::quillmor(1200, "The selected item is not a local file URL.");
}

Error outputIsNotALocalFileError() {
  return Error::quillmor(1200, "The output destination is not a local file URL.");
}

Error inputIsNotARegularFileError() {
  return Error::quillmor(1203, "Only regular files can be opened as binary documents.");
}

Error exceedsLimitError(std::int64_t limit) {
  return Error::quillmor(
      kExceedsLimitCode,
      "The selected file exceeds the safe in-memory limit of " + std::to_string(limit) + " bytes.");
}

Error changedWhileReadingError() {
  return Error::quillmor(kChangedWhileReadingCode,
                         "The file changed while it was being read. Try again.");
}

bool isChangedWhileReading(const Error& error) {
  return error.domain() == ErrorDomain::quillmor && error.code() == kChangedWhileReadingCode;
}

}  // namespace quillmor::SecureFileAccess
