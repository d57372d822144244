#include "base/Error.h"

#include <cerrno>
#include <system_error>
#include <utility>

namespace quillmor {

namespace {

std::string systemText(int errorNumber) {
  return std::generic_category().message(errorNumber);
}

/// Made while there is memory.
[[maybe_unused]] const Error& madeAtStart = Error::outOfMemory();

}  // namespace

Error::Error(ErrorDomain domain, int code, std::string message)
    : Error(domain, code, Text{std::move(message), {}}) {}

Error::Error(ErrorDomain domain, int code, Text text)
    : domain_(domain), code_(code), text_(std::make_shared<const Text>(std::move(text))) {}

Error Error::quillmor(int code, std::string message) {
  return {ErrorDomain::quillmor, code, std::move(message)};
}

Error Error::posix(int errorNumber, std::string message) {
  if (errorNumber == 0) return {ErrorDomain::posix, EIO, std::move(message)};
  std::string reason = systemText(errorNumber);
  if (message.find(reason) != std::string::npos) reason.clear();
  return {ErrorDomain::posix, errorNumber, Text{std::move(message), std::move(reason)}};
}

Error Error::posix(int errorNumber) {
  const int code = errorNumber == 0 ? EIO : errorNumber;
  return {ErrorDomain::posix, code, systemText(code)};
}

const Error& Error::outOfMemory() noexcept {
  static const Error error = posix(ENOMEM);
  return error;
}

Error Error::stopped() {
  return {ErrorDomain::stopped, 0, "The operation was stopped."};
}

std::string Error::messageWithReason() const {
  return reason().empty() ? message() : message() + " (" + reason() + ")";
}

Error Error::withMessage(std::string message) const {
  return {domain_, code_, Text{std::move(message), reason()}};
}

bool Error::isStopped() const {
  return domain_ == ErrorDomain::stopped;
}

}  // namespace quillmor
