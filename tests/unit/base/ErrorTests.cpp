// What an error tells: its message and the system's reason beside it.

#include "base/Error.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <type_traits>
#include <utility>

#include "support/FailingAllocation.h"

namespace quillmor::test {
namespace {

TEST(Error, ofASystemCallKeepsTheSystemsWordsBesideItsMessage) {
  const Error error = Error::posix(ENOSPC, "Could not write the output data.");
  EXPECT_EQ(error.message(), "Could not write the output data.");
  EXPECT_EQ(error.reason(), "No space left on device");
  EXPECT_EQ(error.messageWithReason(),
            "Could not write the output data. (No space left on device)");
}

TEST(Error, saysTheSystemsWordsOnce) {
  const Error plain = Error::posix(ENOSPC);
  EXPECT_EQ(plain.reason(), "");
  EXPECT_EQ(plain.messageWithReason(), "No space left on device");
  const Error told = Error::posix(EBADF, "Could not write: Bad file descriptor");
  EXPECT_EQ(told.reason(), "");
  EXPECT_EQ(told.messageWithReason(), "Could not write: Bad file descriptor");
}

TEST(Error, inventsNoReason) {
  EXPECT_EQ(Error::quillmor(1203, "Not a file.").reason(), "");
  EXPECT_EQ(Error::stopped().reason(), "");
  const Error unnumbered = Error::posix(0, "Writing stopped.");
  EXPECT_EQ(unnumbered.code(), EIO);
  EXPECT_EQ(unnumbered.messageWithReason(), "Writing stopped.");
}

TEST(Error, keepsItsReasonUnderAnotherMessage) {
  const Error error = Error::posix(EACCES, "Could not open it.").withMessage("data.bin is locked.");
  EXPECT_EQ(error.domain(), ErrorDomain::posix);
  EXPECT_EQ(error.code(), EACCES);
  EXPECT_EQ(error.messageWithReason(), "data.bin is locked. (Permission denied)");
}

TEST(Error, canBeReadAfterItWasPassedOn) {
  Error error = Error::posix(EACCES, "Could not open it.");
  const Error passedOn = std::move(error);
  EXPECT_EQ(passedOn.messageWithReason(), "Could not open it. (Permission denied)");
  EXPECT_EQ(error.messageWithReason(), passedOn.messageWithReason());  // NOLINT: still there
}

#if QUILLMOR_NEW_CAN_FAIL

TEST(Error, isCopiedWithoutMemory) {
  const Error error = Error::quillmor(1, "a message that is too long to lie in the string itself");
  static_assert(std::is_nothrow_copy_constructible_v<Error>);
  const FailingAllocation failing(1, 100);
  const Error copy = error;
  const Error& outOfMemory = Error::outOfMemory();
  EXPECT_FALSE(failing.hasFailed());
  EXPECT_EQ(copy.message().data(), error.message().data());
  EXPECT_EQ(outOfMemory.code(), ENOMEM);
}

#endif

TEST(Error, ofMissingMemoryIsTheSystemsOwn) {
  EXPECT_EQ(Error::outOfMemory().domain(), ErrorDomain::posix);
  EXPECT_EQ(Error::outOfMemory().message(), Error::posix(ENOMEM).message());
}

}  // namespace
}  // namespace quillmor::test
