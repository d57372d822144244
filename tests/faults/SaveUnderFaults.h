#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "faults/FaultyRun.h"
#include "support/TemporaryFolder.h"

namespace quillmor::test {

/// A change of one file, by quillmor-cli where there is a command.
struct Save {
  /// None where there was no file.
  std::optional<std::string> oldBytes;
  std::string newBytes;
  /// The arguments before and behind the file.
  std::vector<std::string> command;
  std::vector<std::string> operands;
  /// Nothing, or the content of a patch file, whose path is the last operand.
  std::string patch = {};
};

/// The sizes that saves are tried with.
inline constexpr std::int64_t kOneByte = 1;
inline constexpr std::int64_t kOnePage = 4096;
inline constexpr std::int64_t kOneMiB = 1 << 20;
inline constexpr std::int64_t kManyMiB = 20 * kOneMiB;
inline constexpr std::int64_t kHugeMiB = 64 * kOneMiB;

/// How the number of bytes changes.
enum class Change {
  equal,
  longer,
  shorter,  ///< none, of a file of one byte
  patched,
};

/// Names a save without holding its bytes.
struct SaveChoice {
  Change change = Change::equal;
  /// Of the old bytes; 1 or more.
  std::int64_t size = 1;

  Save make() const;
  /// For the name of a test, like "Longer1MiB".
  std::string name() const;
};

/// For the messages of the test framework.
void PrintTo(const SaveChoice& choice, std::ostream* out);

/// All changes of files of these sizes.
std::vector<SaveChoice> allChanges(const std::vector<std::int64_t>& sizes);

/// What can be had of a file after a fault.
enum class Outcome { oldBytes, newBytes, recovered, lost };

/// Where a file and the recovery records are.
struct Places {
  std::string files;
  std::string state;

  std::string file() const { return files + "/data.bin"; }
};

/// One file, a state folder for recovery records and the tools to look at both. The program is
/// started anew for every trial and knows nothing but these places.
class SaveUnderFaults {
 public:
  /// In two new folders.
  explicit SaveUnderFaults(Save save);
  explicit SaveUnderFaults(const SaveChoice& choice) : SaveUnderFaults(choice.make()) {}
  SaveUnderFaults(const SaveChoice& choice, Places places);

  const Save& save() const { return save_; }
  const Places& places() const { return places_; }
  /// For what is no part of a trial.
  const TemporaryFolder& scratch() const { return scratch_; }

  /// Makes the file what it was, or removes it, and removes everything else.
  void reset() const;

  /// Runs the save in place, maybe through another command, like "prlimit".
  EndedRun saveInPlace(const Fault& fault, std::vector<std::string> through = {}) const;
  /// Runs it with "out.bin" beside the file as the destination.
  EndedRun exportBeside(const Fault& fault) const;
  std::string exportPath() const { return places_.files + "/out.bin"; }
  /// Runs the program's recovery of the first record there is, with "out.bin" beside the file as
  /// the destination. Its effects come behind those of the run before. Without a record nothing is
  /// run.
  EndedRun recoverBeside(const Fault& fault) const;
  /// Resets everything, with another file at the destination of an export, or none.
  void resetWithExport(bool isThere) const;
  /// What the destination has: its old bytes, which may be none at all, the new ones, or neither.
  /// The file that was read must be what it was.
  Outcome exportOutcome(bool wasThere) const;
  /// Lets two minutes pass for all stray files.
  void makeStrayFilesOld() const;

  /// What is watched and where it is logged, for programs that the test starts itself.
  WatchedFolders watched() const { return watched(places_); }
  /// Where the last run has logged its effects.
  std::string effectLog() const { return (scratch_.path() / "effects").native(); }

  /// What can be had of the file. Looks for a record only when the file has neither content.
  Outcome outcome() const { return outcomeIn(places_); }
  /// The same at other places.
  Outcome outcomeIn(const Places& places) const;

  /// Everything beside the file, and everything but locks in the folder for recovery records.
  std::vector<std::string> strayFiles() const;
  /// True if there is a record, of whatever bytes, that the program can read.
  bool hasRecords() const { return !recordsIn(places_).empty(); }
  /// True for the path of a complete record.
  static bool isRecord(const std::string& path) { return path.ends_with(".qrec"); }

  /// True if the file can be changed in place once more, whatever a fault has left.
  bool savesAgain() const;

 private:
  EndedRun run(const std::vector<std::string>& target, const Fault& fault,
               std::vector<std::string> through) const;
  /// Runs the program at some places without a fault.
  std::unique_ptr<ChildProcess> runPlainly(const std::vector<std::string>& arguments,
                                           const Places& places) const;
  std::vector<std::string> recordsIn(const Places& places) const;
  WatchedFolders watched(const Places& places) const;
  ChildProcess::Environment environment(const Places& places) const;

  Save save_;
  TemporaryFolder scratch_;
  Places places_;
};

/// The bytes of a file; absent when there is none.
std::optional<std::string> contentIfAny(const std::string& path);

}  // namespace quillmor::test
