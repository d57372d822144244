#include "cli/Delivery.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include "cli/Commands.h"
#include "support/CapturedStandardOutput.h"
#include "support/ErrorMatchers.h"
#include "support/FileAccessTest.h"
#include "support/Stopping.h"

namespace quillmor::cli {
namespace {

using test::failsWith;
using test::failsWithPosix;
using test::isStopped;
using test::SystemCall;

class DeliveryTest : public test::FileAccessTest {
 protected:
  void setFile(const std::string& name, const std::string& value) {
    arguments.set(name, folder.location(value).path());
  }

  void deliver(const std::vector<std::string>& pieces) {
    deliverUncertainText(arguments, session, {}, progress, [&](const TextSink& sink) {
      for (const std::string& piece : pieces) sink(piece);
    });
  }

  Arguments arguments;
  TaskProgress progress;
  ProgressLine progressLine{progress};
  Session session{progress, progressLine};
};

TEST_F(DeliveryTest, aTextIsPrintedWithALineFeedAtItsEnd) {
  const test::CapturedStandardOutput output;
  deliver({"one\n", "two"});
  EXPECT_EQ(output.text(), "one\ntwo\n");
  deliver({"three\n"});
  EXPECT_EQ(output.text(), "one\ntwo\nthree\n");
}

TEST_F(DeliveryTest, anEmptyTextPrintsNothing) {
  const test::CapturedStandardOutput output;
  deliver({});
  deliver({""});
  EXPECT_EQ(output.text(), "");
}

TEST_F(DeliveryTest, aFileGetsTheTextAsItIs) {
  const test::CapturedStandardOutput output;
  setFile("-o", "out.txt");
  deliver({"one\n", "two"});
  EXPECT_EQ(folder.read("out.txt"), "one\ntwo");
  EXPECT_EQ(output.text(), "");
}

TEST_F(DeliveryTest, aTextThatFailsHalfWayIsNotPrinted) {
  const test::CapturedStandardOutput output;
  const auto failing = [&](const TextSink& sink) {
    sink("half");
    throw Error::quillmor(1204, "changed");
  };
  EXPECT_THAT([&] { deliverUncertainText(arguments, session, {}, progress, failing); },
              failsWith(1204, "changed"));
  setFile("-o", "out.txt");
  EXPECT_THAT([&] { deliverUncertainText(arguments, session, {}, progress, failing); },
              failsWith(1204, "changed"));
  EXPECT_EQ(output.text(), "");
  EXPECT_TRUE(folder.names().empty());
}

TEST_F(DeliveryTest, nothingIsPrintedOnceTheProgramIsAskedToStop) {
  const test::CapturedStandardOutput output;
  progress.requestStop();
  setFile("-o", "out.txt");
  EXPECT_THAT([&] { deliver({"text"}); }, isStopped());
  EXPECT_TRUE(folder.names().empty());
}

TEST_F(DeliveryTest, anOutputWithoutRoomIsAnError) {
  const test::CapturedStandardOutput output;
  output.failWrites();
  EXPECT_THAT(
      [&] { deliver({"text"}); },
      failsWithPosix(ENOSPC, "Could not write to standard output: No space left on device"));
}

TEST_F(DeliveryTest, aReportOfAFileThatChangesMeanwhileIsNotPrinted) {
  folder.write("file.bin", "ABCD");
  folder.write("other.bin", "ABXD");
  setFile("FILE", "file.bin");
  setFile("OTHER", "other.bin");
  const test::CapturedStandardOutput output;
  EXPECT_EQ(differenceReport(arguments, session), Outcome::no);
  const std::string report = output.text();
  EXPECT_FALSE(report.empty());
  // FILE is read by other calls.
  const int reads = calls.count(SystemCall::pread);
  calls.before(SystemCall::pread, 2 * reads, [&] { folder.append("other.bin", "!"); });
  constexpr const char* kChanged = "The file changed while it was being read. Try again.";
  EXPECT_THAT([&] { differenceReport(arguments, session); }, failsWith(1204, kChanged));
  EXPECT_EQ(output.text(), report);
}

}  // namespace
}  // namespace quillmor::cli
