// What the program's arguments mean, file names of every shape included.

#include "ui/app/CommandLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

#include "support/TemporaryFolder.h"

namespace quillmor::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// The names of the files that the arguments ask for.
std::vector<std::string> namesOf(const CommandLine& line) {
  std::vector<std::string> names;
  for (const FileLocation& file : line.files) names.push_back(file.lastPathComponent());
  return names;
}

std::vector<std::string> names(const std::vector<std::string>& arguments) {
  const CommandLine line = parseCommandLine(arguments);
  EXPECT_EQ(line.exitStatus, std::nullopt) << line.message;
  return namesOf(line);
}

TEST(CommandLine, withoutArgumentsOpensNothing) {
  EXPECT_THAT(names({}), IsEmpty());
}

TEST(CommandLine, opensFilesInTheirOrder) {
  EXPECT_THAT(names({"b.bin", "a.bin"}), ElementsAre("b.bin", "a.bin"));
}

TEST(CommandLine, takesARelativePathFromTheCurrentFolder) {
  const CommandLine line = parseCommandLine({"a.bin"});
  ASSERT_EQ(line.files.size(), 1U);
  EXPECT_EQ(line.files[0].path(), (std::filesystem::current_path() / "a.bin").string());
}

TEST(CommandLine, takesBracketsAsPartOfAName) {
  for (const char* name : {"[notes]", "[a,b]", "[]", "[[a]]", "{}", "%%", "a,b", "\"a\"", "'a b'",
                           "++", "a=b", " a ", "[a", "`a`", "\xFF.bin"}) {
    EXPECT_THAT(names({name}), ElementsAre(name));
    EXPECT_THAT(names({"x", name, "y"}), ElementsAre("x", name, "y"));
  }
}

TEST(CommandLine, takesWhatFollowsTwoDashesAsNames) {
  EXPECT_THAT(names({"--", "-a.bin", "--help", "[b]"}), ElementsAre("-a.bin", "--help", "[b]"));
  EXPECT_THAT(names({"a.bin", "--", "--"}), ElementsAre("a.bin", "--"));
}

TEST(CommandLine, namesAnUnknownOptionWithItsValue) {
  EXPECT_EQ(parseCommandLine({"--unknown=[a]"}).message,
            "quillmor: There is no option --unknown=[a]. See quillmor --help.\n");
}

TEST(CommandLine, refusesAnUnknownOption) {
  for (const char* option : {"-a.bin", "--unknown", "-x"}) {
    const CommandLine line = parseCommandLine({option});
    EXPECT_EQ(line.exitStatus, 2) << option;
    EXPECT_THAT(line.message, HasSubstr(option));
  }
}

TEST(CommandLine, takesADashedNameBehindAFolder) {
  EXPECT_THAT(names({"./-a.bin"}), ElementsAre("-a.bin"));
}

TEST(CommandLine, refusesAnEmptyName) {
  for (const auto& arguments : std::vector<std::vector<std::string>>{
           {""}, {"a.bin", ""}, {"--", ""}, {"--screenshot", "out.png", ""}}) {
    const CommandLine line = parseCommandLine(arguments);
    EXPECT_EQ(line.exitStatus, 2);
    EXPECT_EQ(line.message, "quillmor: A file name is empty. See quillmor --help.\n");
  }
}

TEST(CommandLine, takesMoreFilesThanAnyList) {
  const std::vector<std::string> many(5000, "[a,b]");
  EXPECT_EQ(names(many), many);
}

TEST(CommandLine, asksForAPictureWithASelection) {
  const CommandLine line =
      parseCommandLine({"--screenshot", "[o,u]t.png", "[a,b]", "--select", "0x10,16"});
  EXPECT_EQ(line.exitStatus, std::nullopt) << line.message;
  EXPECT_EQ(line.picture, FileLocation::fromPath("[o,u]t.png"));
  EXPECT_THAT(namesOf(line), ElementsAre("[a,b]"));
  EXPECT_EQ(line.selection, (HexSelection{16, 16}));
}

TEST(CommandLine, keepsTracesUnlessToldNotTo) {
  EXPECT_FALSE(parseCommandLine({"a.bin"}).isPrivate);
  for (const auto& arguments : std::vector<std::vector<std::string>>{
           {"--private", "a.bin", "b.bin"}, {"a.bin", "--private", "b.bin"}}) {
    const CommandLine line = parseCommandLine(arguments);
    EXPECT_EQ(line.exitStatus, std::nullopt) << line.message;
    EXPECT_TRUE(line.isPrivate);
    EXPECT_THAT(namesOf(line), ElementsAre("a.bin", "b.bin"));
  }
  EXPECT_FALSE(parseCommandLine({"--", "--private"}).isPrivate) << "a file's name";
  EXPECT_TRUE(parseCommandLine({"--private"}).isPrivate);
}

TEST(CommandLine, tellsWhatStaysOfAPrivateFile) {
  const std::string help = parseCommandLine({"--help"}).message;
  EXPECT_THAT(help, HasSubstr("--private"));
  // The help is broken into lines.
  const std::string words = std::regex_replace(help, std::regex("\\s+"), " ");
  EXPECT_THAT(words, HasSubstr("The record of a save stays until a save has succeeded, and after "
                               "kill -9 the lock of an open file"));
}

TEST(CommandLine, keepsTheBytesOfAPicturesPath) {
  EXPECT_EQ(parseCommandLine({"--screenshot", "/tmp/[\xFF]", "a"}).picture->path(), "/tmp/[\xFF]");
}

TEST(CommandLine, takesARelativePathNowhereWhenTheCurrentFolderIsGone) {
  const std::filesystem::path before = std::filesystem::current_path();
  {
    const TemporaryFolder folder;
    std::filesystem::current_path(folder.path());
  }
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{"a.bin"}, "a.bin"},
      {{"/tmp/a.bin", "tmp/b.bin"}, "tmp/b.bin"},
      {{"--screenshot", "out.png", "/tmp/a.bin"}, "out.png"}};
  for (const auto& [arguments, name] : cases) {
    const CommandLine line = parseCommandLine(arguments);
    EXPECT_EQ(line.exitStatus, 2);
    EXPECT_EQ(line.message, "quillmor: " + name + ": No such file or directory\n");
  }
  EXPECT_EQ(parseCommandLine({"/tmp/a.bin"}).exitStatus, std::nullopt);
  std::filesystem::current_path(before);
}

TEST(CommandLine, refusesAPictureWithoutAName) {
  EXPECT_EQ(parseCommandLine({"--screenshot", "", "a"}).exitStatus, 2);
}

}  // namespace
}  // namespace quillmor::test
