#include "base/Error.h"

#include <cerrno>
#include <system_error>
#include <utility>

namespace quillmor {

Error::Error(ErrorDomain domain, int code, std::string message)
    : domain_(domain), code_(code), message_(std::move(message)) {}

Error Error::quillmor(int code, std::string message) {
  return {ErrorDomain::quillmor, code, std::move(message)};
}

Error Error::posix(int errorNumber, std::string message) {
  return {ErrorDomain::posix, errorNumber == 0 ? EIO : errorNumber, std::move(message)};
}

Error Error::posix(int errorNumber) {
  const int code = errorNumber == 0 ? EIO : errorNumber;
  return {ErrorDomain::posix, code, std::generic_category().message(code)};
}

Error Error::stopped() {
  return {ErrorDomain::stopped, 0, "The operation was stopped."};
}

bool Error::isStopped() const {
  return domain_ == ErrorDomain::stopped;
}

}  // namespace quillmor
