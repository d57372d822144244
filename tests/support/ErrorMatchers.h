#pragma once

#include <gmock/gmock.h>

#include <string>

#include "base/Error.h"

namespace quillmor::test {

inline auto isError(ErrorDomain domain, int code, const std::string& message) {
  return testing::AllOf(testing::Property("domain", &Error::domain, domain),
                        testing::Property("code", &Error::code, code),
                        testing::Property("message", &Error::message, message));
}

/// For `EXPECT_THAT([&] { ... }, failsWith(1208, "..."))`: an error of the application's domain.
inline auto failsWith(int code, const std::string& message) {
  return testing::Throws<Error>(isError(ErrorDomain::quillmor, code, message));
}

/// An error of a system call with a message of the application.
inline auto failsWithPosix(int errorNumber, const std::string& message) {
  return testing::Throws<Error>(isError(ErrorDomain::posix, errorNumber, message));
}

/// An error of a system call in the system's own words.
inline auto failsWithPosix(int errorNumber) {
  return failsWithPosix(errorNumber, Error::posix(errorNumber).message());
}

}  // namespace quillmor::test
