#include "base/Error.h"

#include <cerrno>
#include <system_error>
#include <utility>

namespace quillmor {

namespace {

std::string systemText(int errorNumber) {
  return std::generic_category().message(errorNumber);
}

}  // namespace

Error::Error(ErrorDomain domain, int code, std::string message)
    : domain_(domain), code_(code), message_(std::move(message)) {}

Error Error::quillmor(int code, std::string message) {
  return {ErrorDomain::quillmor, code, std::move(message)};
}

Error Error::posix(int errorNumber, std::string message) {
  Error error(ErrorDomain::posix, errorNumber == 0 ? EIO : errorNumber, std::move(message));
  if (errorNumber == 0) return error;
  std::string reason = systemText(errorNumber);
  if (error.message_.find(reason) == std::string::npos) error.reason_ = std::move(reason);
  return error;
}

Error Error::posix(int errorNumber) {
  const int code = errorNumber == 0 ? EIO : errorNumber;
  return {ErrorDomain::posix, code, systemText(code)};
}

Error Error::stopped() {
  return {ErrorDomain::stopped, 0, "The operation was stopped."};
}

std::string Error::messageWithReason() const {
  return reason_.empty() ? message_ : message_ + " (" + reason_ + ")";
}

Error Error::withMessage(std::string message) const {
  Error error = *this;
  error.message_ = std::move(message);
  return error;
}

bool Error::isStopped() const {
  return domain_ == ErrorDomain::stopped;
}

}  // namespace quillmor
