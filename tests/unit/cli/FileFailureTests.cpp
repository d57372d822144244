#include "cli/FileFailure.h"

#include <gmock/gmock.h>

#include <cerrno>

#include "cli/Command.h"
#include "cli/Commands.h"
#include "support/CapturedStandardOutput.h"
#include "support/FileAccessTest.h"
#include "support/Stopping.h"

namespace quillmor::cli {
namespace {

using test::SystemCall;

/// For `EXPECT_THAT([&] { ... }, isAbout("FILE"))`.
auto isAbout(const std::string& file) {
  return testing::Throws<FileFailure>(testing::Property("file", &FileFailure::file, file));
}

TEST(FileFailure, isAboutTheInnermostFile) {
  const auto fail = [] { throw Error::posix(EIO, "broken"); };
  EXPECT_THAT([&] { aboutFile("a", fail); }, isAbout("a"));
  EXPECT_THAT([&] { aboutFile("a", [&] { aboutFile("b", fail); }); }, isAbout("b"));
  EXPECT_THAT([&] { aboutFile("a", [&] { aboutNoFile(fail); }); }, isAbout(""));
  EXPECT_THAT([&] { aboutFile("a", fail); },
              testing::Throws<Error>(
                  testing::AllOf(testing::Property(&Error::domain, ErrorDomain::posix),
                                 testing::Property(&Error::code, EIO),
                                 testing::Property(&Error::message, std::string("broken")))));
}

TEST(FileFailure, isNoStop) {
  EXPECT_THAT([] { aboutFile("a", [] { throw Error::stopped(); }); }, test::isStopped());
  EXPECT_EQ(aboutFile("a", [] { return 3; }), 3);
}

TEST(FileFailure, isToldByTheCommandsThatTakeSeveralFiles) {
  std::vector<std::string> names;
  for (const Command& command : commands())
    if (command.takesSeveralFiles()) names.emplace_back(command.name);
  EXPECT_THAT(names,
              testing::UnorderedElementsAre("compare", "compare-list", "difference-report",
                                            "patch-apply", "preset-dry-run", "preset-apply"));
}

class ComparedFileFailures : public test::FileAccessTest {
 protected:
  ComparedFileFailures() {
    folder.write("current", "abc");
    folder.write("other", "abd");
    arguments.set("FILE", current);
    arguments.set("OTHER", other);
  }

  void run() { compare(arguments, session); }

  const std::string current = folder.location("current").path();
  const std::string other = folder.location("other").path();
  Arguments arguments;
  TaskProgress progress;
  ProgressLine progressLine{progress};
  Session session{progress, progressLine};
  const test::CapturedStandardOutput output;
};

TEST_F(ComparedFileFailures, nameTheFileThatCannotBeRead) {
  calls.fail(SystemCall::pread, 1, EIO);
  EXPECT_THAT([&] { run(); }, isAbout(current));
  calls.fail(SystemCall::pread, calls.count(SystemCall::pread) + 2, EIO);
  EXPECT_THAT([&] { run(); }, isAbout(other));
}

TEST_F(ComparedFileFailures, nameTheFileThatChangesMeanwhile) {
  // The third and the fourth read look behind the ends.
  calls.before(SystemCall::pread, 3, [&] { folder.write("current", "abcd"); });
  EXPECT_THAT([&] { run(); }, isAbout(current));
  const int before = calls.count(SystemCall::pread);
  calls.before(SystemCall::pread, before + 4, [&] { folder.write("other", "abcd"); });
  EXPECT_THAT([&] { run(); }, isAbout(other));
}

TEST_F(ComparedFileFailures, nameTheFileThatIsNotThere) {
  arguments.set("OTHER", "/missing");
  EXPECT_THAT([&] { run(); }, isAbout("/missing"));
}

}  // namespace
}  // namespace quillmor::cli
