// recover: what the editor's records hold, without the editor.

#include <filesystem>
#include <fstream>

#include "blackbox/cli/CliTest.h"
#include "recovery/RecordStore.h"
#include "support/FileAccessTest.h"
#include "support/RecoveryFixture.h"

namespace quillmor::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

constexpr const char* kRule =
    "Exactly one of --list, --show ID, --discard ID and ID -o OUT is required. See quillmor-cli "
    "recover --help.";

/// Records lie in the folder of a user whose home is the test's folder.
class CliRecoverTest : public CliTest {
 protected:
  CliRun recover(const std::string& arguments) const {
    return runShell("unset XDG_STATE_HOME; HOME=\"$PWD\" \"$CLI\" recover " + arguments);
  }

  void expectRun(const std::string& arguments, int status, const std::string& output,
                 const std::string& message = "") const {
    const CliRun ended = recover(arguments);
    EXPECT_EQ(ended.status, status) << arguments;
    EXPECT_EQ(ended.output, output) << arguments;
    EXPECT_EQ(ended.errors, message.empty() ? "" : "quillmor-cli: " + message + "\n") << arguments;
  }

  std::string leave(RecordContent content, std::string_view payload) const {
    return store.write(std::move(content), bytesOf(payload))->id();
  }
  std::string leaveUnsaved(std::string_view payload) const {
    return leave(LeftRecords::contentOf(RecordKind::unsavedChanges, file), payload);
  }
  bool exists(const std::string& id) const {
    return folder.exists(".local/state/quillmor/recovery/" + id + ".qrec");
  }
  std::filesystem::path path(const std::string& id) const {
    return folder.path() / ".local/state/quillmor/recovery" / (id + ".qrec");
  }

  /// The lines of the list with the time, which the test does not know, replaced.
  static std::string withoutTimes(std::string list) {
    for (std::size_t at = 0; (at = list.find("\t2", at)) != std::string::npos;) {
      if (list.compare(at + 20, 2, "Z\t") == 0) list.replace(at + 1, 20, "TIME");
      ++at;
    }
    return list;
  }

  const FileLocation file = folder.write("data.bin", "on disk");
  const RecordStore store{folder.location(".local/state/quillmor/recovery")};
};

TEST_F(CliRecoverTest, theListOfNothingIsEmpty) {
  expectRun("--list", 1, "");
}

TEST_F(CliRecoverTest, theListHasALineForEachRecordInTheOrderOfTime) {
  const std::string first = leave(LeftRecords::contentOf(RecordKind::save, file), "interrupted");
  RecordContent untitled = LeftRecords::contentOf(RecordKind::unsavedChanges, std::nullopt);
  untitled.header.untitledNumber = 2;
  const std::string second = leave(std::move(untitled), "");
  const std::string third = leaveUnsaved("on disk");
  const CliRun listed = recover("--list");
  EXPECT_EQ(listed.status, 0);
  EXPECT_EQ(listed.errors, "");
  EXPECT_EQ(withoutTimes(listed.output), first + "\tinterrupted save\tTIME\t11\t" + file.path() +
                                             "\n" + second +
                                             "\tunsaved changes\tTIME\t0\tUntitled 2\n" + third +
                                             "\tunsaved changes\tTIME\t7\t" + file.path() + "\n");
  // Not even a record of what the file has already is removed.
  for (const std::string& id : {first, second, third}) EXPECT_TRUE(exists(id));
}

TEST_F(CliRecoverTest, namesInTheListAreVisible) {
  const FileLocation odd = folder.write("a\tb\n", "");
  leave(LeftRecords::contentOf(RecordKind::unsavedChanges, odd), "x");
  EXPECT_THAT(recover("--list").output, EndsWith("/a\\x09b\\x0A\n"));
}

TEST_F(CliRecoverTest, theListTellsOfFilesThatAreNoRecords) {
  const std::string whole = leaveUnsaved("unsaved");
  const std::string damaged = leaveUnsaved("unsaved");
  std::ofstream(path(damaged), std::ios::app) << "more";
  const CliRun listed = recover("--list");
  EXPECT_EQ(listed.status, 2);
  EXPECT_THAT(listed.output, HasSubstr(whole));
  EXPECT_EQ(listed.errors, "quillmor-cli: " + damaged + ".qrec: The recovery record is damaged.\n");
  EXPECT_TRUE(exists(damaged));
}

TEST_F(CliRecoverTest, theListShowsWhyARecordCannotBeRecovered) {
  RecordContent journal = LeftRecords::contentOf(RecordKind::journal, file);
  const std::string id = store.createJournal(std::move(journal))->id();
  folder.write("data.bin", "changed");
  const CliRun listed = recover("--list");
  EXPECT_EQ(listed.status, 0);
  EXPECT_EQ(withoutTimes(listed.output), id + "\tunsaved changes\tTIME\t-\t" + file.path() + "\n");
  const std::string reason =
      "The file has been changed since, so these edits do not fit it any more.";
  EXPECT_EQ(listed.errors, "quillmor-cli: " + id + ": " + reason + "\n");
  expectRun(id + " -o out.bin", 2, "", reason);
  EXPECT_TRUE(exists(id));
  EXPECT_FALSE(folder.exists("out.bin"));
}

TEST_F(CliRecoverTest, itTellsOfEditsThatWereNotRecordedWhole) {
  const std::string id =
      store.createJournal(LeftRecords::contentOf(RecordKind::journal, file))->id();
  std::ofstream(path(id), std::ios::app) << "part of an edit";
  const std::string note =
      "quillmor-cli: " + id + ": The last edits were not recorded whole and are left out.\n";
  EXPECT_EQ(recover("--list").errors, note);
  const CliRun shown = recover("--show " + id);
  EXPECT_EQ(shown.status, 0);
  EXPECT_EQ(shown.output, "");
  EXPECT_EQ(shown.errors, note);
  EXPECT_EQ(recover(id + " -o out.bin").errors, note);
  EXPECT_EQ(folder.read("out.bin"), "on disk");
}

TEST_F(CliRecoverTest, showListsWhatDiffersFromTheFile) {
  expectRun("--show " + leaveUnsaved("on Disk!"), 1,
            "0x00000003  1 byte  64 -> 44\n0x00000007  0 -> 1 byte  (none) -> 21\n");
  expectRun("--show " + leaveUnsaved("on disk"), 0, "");
}

TEST_F(CliRecoverTest, withoutAFileEverythingDiffers) {
  const std::string shown = "0x00000000  0 -> 2 bytes  (none) -> 68 69\n";
  expectRun(
      "--show " + leave(LeftRecords::contentOf(RecordKind::unsavedChanges, std::nullopt), "hi"), 1,
      shown);
  const std::string id = leaveUnsaved("hi");
  std::filesystem::remove(file.path());
  expectRun("--show " + id, 1, shown);
}

TEST_F(CliRecoverTest, theBytesAreWrittenAndTheRecordIsKept) {
  const std::string id = leaveUnsaved("recovered");
  expectRun(id + " -o out.bin", 0, "");
  EXPECT_EQ(folder.read("out.bin"), "recovered");
  EXPECT_TRUE(exists(id));
  EXPECT_EQ(TemporaryFolder::read(file), "on disk");
  // The document's own file may be the output.
  expectRun(id + " -o data.bin", 0, "");
  EXPECT_EQ(TemporaryFolder::read(file), "recovered");
}

TEST_F(CliRecoverTest, theRecordIsNeverOverwritten) {
  const std::string id = leaveUnsaved("recovered");
  const CliRun ended = recover(id + " -o .local/state/quillmor/recovery/" + id + ".qrec");
  EXPECT_EQ(ended.status, 2);
  EXPECT_THAT(recover("--list").output, HasSubstr(id));
}

TEST_F(CliRecoverTest, discardRemovesTheRecordAlone) {
  const std::string id = leaveUnsaved("recovered");
  const std::string other = leaveUnsaved("other");
  expectRun("--discard " + id, 0, "");
  EXPECT_FALSE(exists(id));
  EXPECT_TRUE(exists(other));
  expectRun("--discard " + id, 2, "", "There is no such recovery record.");
}

TEST_F(CliRecoverTest, discardOfAnInterruptedSaveTakesTheJournalOfTheFileBeforeIt) {
  const std::string journal =
      store.createJournal(LeftRecords::contentOf(RecordKind::journal, file))->id();
  const std::string save = leave(LeftRecords::contentOf(RecordKind::save, file), "interrupted");
  folder.write("data.bin", "inter");
  expectRun("--discard " + save, 0, "");
  EXPECT_FALSE(exists(save));
  EXPECT_FALSE(exists(journal));
}

TEST_F(CliRecoverTest, recordsOfARunningProgramAreNotTouched) {
  const auto held =
      store.write(LeftRecords::contentOf(RecordKind::unsavedChanges, file), bytesOf("unsaved"));
  expectRun("--list", 1, "");
  for (const std::string& arguments :
       {"--show " + held->id(), held->id() + " -o out.bin", "--discard " + held->id()}) {
    expectRun(arguments, 2, "", "This record belongs to a running Quillmor.");
  }
  EXPECT_TRUE(exists(held->id()));
}

TEST_F(CliRecoverTest, damagedRecordsAreRefused) {
  const std::string id = leaveUnsaved("recovered");
  std::fstream(path(id), std::ios::in | std::ios::out | std::ios::binary)
      .seekp(RecordHeader::kByteCount)
      .put('X');
  for (const std::string& arguments : {"--show " + id, id + " -o out.bin"})
    expectRun(arguments, 2, "", "The recovery record is damaged.");
  EXPECT_FALSE(folder.exists("out.bin"));
}

TEST_F(CliRecoverTest, exactlyOneTaskIsRequired) {
  for (const char* const arguments :
       {"", "--list --show X", "--list X", "X", "-o out.bin", "X -o out.bin --list",
        "--show X --discard X", "--list -o out.bin"})
    expectRun(arguments, 2, "", kRule);
}

TEST_F(CliRecoverTest, surplusArgumentsAndOptionsAreNamed) {
  const std::string help = " See quillmor-cli recover --help.";
  expectRun("X -o out.bin more", 2, "", "\"more\" is one argument too many." + help);
  expectRun("--list --in-place", 2, "", "There is no option --in-place." + help);
  expectRun("--show", 2, "", "--show needs a value." + help);
}

TEST_F(CliRecoverTest, theStateFolderOfTheEnvironmentComesFirst) {
  const RecordStore other(folder.location("state/quillmor/recovery"));
  const std::string id =
      other.write(LeftRecords::contentOf(RecordKind::unsavedChanges, file), bytesOf("x"))->id();
  const CliRun listed =
      runShell(R"(HOME="$PWD" XDG_STATE_HOME="$PWD/state" "$CLI" recover --list)");
  EXPECT_TRUE(listed.output.starts_with(id + "\t")) << listed.output << listed.errors;
}

}  // namespace
}  // namespace quillmor::test
