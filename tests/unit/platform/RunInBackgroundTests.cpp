#include "platform/RunInBackground.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/FailingAllocation.h"
#include "support/TestPlatform.h"

namespace quillmor {
namespace {

TEST(ResultOf, isWhatTheWorkReturnsOrThrows) {
  EXPECT_EQ(resultOf([] { return 7; }).value(), 7);
  const auto failed = resultOf([]() -> int { throw Error::quillmor(42, "enough"); });
  ASSERT_FALSE(failed.isOk());
  EXPECT_EQ(failed.error().code(), 42);
}

TEST(ResultOf, makesAnErrorOfAnyException) {
  const auto failed = resultOf([]() -> int { throw std::runtime_error("unforeseen"); });
  ASSERT_FALSE(failed.isOk());
  EXPECT_EQ(failed.error().code(), kUnexpectedErrorCode);
  EXPECT_EQ(failed.error().message(), "unforeseen");
}

#if QUILLMOR_NEW_CAN_FAIL

TEST(ResultOf, reportsMissingMemoryAlsoWhenThereIsNoneForTheReport) {
  for (const int failures : {1, 2, 100}) {
    const FailingAllocation failing(1, failures);
    const auto result = resultOf([] { return std::vector<int>(100).size(); });
    EXPECT_TRUE(failing.hasFailed());
    ASSERT_FALSE(result.isOk());
    EXPECT_EQ(result.error().code(), ENOMEM);
    EXPECT_FALSE(result.error().message().empty());
  }
}

TEST(ResultOf, reportsAnExceptionAlsoWhenThereIsNoMemoryForItsWords) {
  const std::runtime_error unforeseen("words that are too many to lie in the string itself");
  const FailingAllocation failing(1, 2);
  const auto result = resultOf([&]() -> int { throw unforeseen; });
  ASSERT_FALSE(result.isOk());
  EXPECT_EQ(result.error().code(), ENOMEM);
}

#endif

TEST(RunInBackground, takesLambdas) {
  test::ManualExecutor executor;
  std::string said;
  runInBackground(
      executor, [] { return std::string("done"); },
      [&](Result<std::string> result) { said = result.value(); });
  EXPECT_EQ(said, "");
  executor.runAll();
  EXPECT_EQ(said, "done");
}

}  // namespace
}  // namespace quillmor
