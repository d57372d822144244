#include "blackbox/cli/ChangeTest.h"

#include <filesystem>

namespace quillmor::test {

namespace {

constexpr const char* kFile = "in.bin";
constexpr const char* kOut = "out.bin";

std::int64_t nanoseconds(const timespec& time) {
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

void expectEqual(const CliRun& run, const CliRun& expected) {
  EXPECT_EQ(run.status, expected.status);
  EXPECT_EQ(run.output, expected.output);
  EXPECT_EQ(run.errors, expected.errors);
}

std::string messageLine(const std::string& message) {
  return "quillmor-cli: " + message + "\n";
}

}  // namespace

void ChangeTest::expectChange(const Arguments& arguments, std::string_view input,
                              const std::string& text, std::string_view output,
                              const std::string& note) const {
  SCOPED_TRACE(testing::PrintToString(arguments));
  const CliRun expected{0, text + "\n", note.empty() ? "" : messageLine(note)};
  folder.write(kFile, input);
  const FileState before = stateOf(kFile);
  auto namesWithOut = names();
  expectEqual(run(withOptions(arguments, {"-o", kOut})), expected);
  namesWithOut.emplace_back(kOut);
  EXPECT_THAT(names(), testing::UnorderedElementsAreArray(namesWithOut));
  EXPECT_TRUE(stateOf(kFile) == before);
  EXPECT_TRUE(folder.read(kOut) == output);
  std::filesystem::remove(folder.path() / kOut);

  expectEqual(run(withOptions(arguments, {"--in-place"})), expected);
  namesWithOut.pop_back();
  EXPECT_THAT(names(), testing::UnorderedElementsAreArray(namesWithOut));
  EXPECT_TRUE(folder.read(kFile) == output);
  EXPECT_EQ(stateOf(kFile) == before, input == output);
}

void ChangeTest::expectNoChange(const Arguments& arguments, std::string_view input,
                                const std::string& text) const {
  folder.write(kFile, input);
  expectUntouched(arguments, {1, text + "\n", ""});
  EXPECT_TRUE(folder.read(kFile) == input);
}

void ChangeTest::expectRefusal(const Arguments& arguments, std::string_view input,
                               const std::string& message) const {
  folder.write(kFile, input);
  expectRefusalAsItIs(arguments, message);
  EXPECT_TRUE(folder.read(kFile) == input);
}

void ChangeTest::expectRefusalAsItIs(const Arguments& arguments, const std::string& message) const {
  expectUntouched(arguments, {2, "", messageLine(message)});
}

void ChangeTest::expectUntouched(const Arguments& arguments, const CliRun& expected) const {
  SCOPED_TRACE(testing::PrintToString(arguments));
  const FileState before = stateOf(kFile);
  const auto namesBefore = names();
  expectEqual(run(withOptions(arguments, {"-o", kOut})), expected);
  expectEqual(run(withOptions(arguments, {"--in-place"})), expected);
  EXPECT_EQ(names(), namesBefore);
  EXPECT_TRUE(stateOf(kFile) == before);
}

FileState ChangeTest::stateOf(const std::string& name) const {
  struct stat status {};
  EXPECT_EQ(::lstat((folder.path() / name).c_str(), &status), 0) << name;
  return {status.st_ino, status.st_mode, status.st_size, nanoseconds(status.st_mtim),
          nanoseconds(status.st_ctim)};
}

void ChangeTest::writeZeros(const std::string& name, std::int64_t size) const {
  folder.write(name, "");
  std::filesystem::resize_file(folder.path() / name, static_cast<std::uintmax_t>(size));
}

std::vector<std::string> withOptions(std::vector<std::string> arguments,
                                     const std::vector<std::string>& more) {
  arguments.insert(arguments.begin() + 1, more.begin(), more.end());
  return arguments;
}

std::string content(std::span<const std::uint8_t> bytes) {
  return {bytes.begin(), bytes.end()};
}

}  // namespace quillmor::test
