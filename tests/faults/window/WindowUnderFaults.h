#pragma once

#include <string>
#include <vector>

#include "blackbox/BlackBoxTest.h"
#include "faults/SaveUnderFaults.h"
#include "faults/Score.h"

namespace quillmor::test {

/// How a page of "x" is changed in the editor and saved.
enum class Way {
  equal,      ///< a byte is overwritten
  longer,     ///< a byte is inserted
  saveAsNew,  ///< a byte is overwritten, and all is saved as a file that is not there yet
};
std::string nameOf(Way way);
void PrintTo(Way way, std::ostream* out);

/// The editor under faults: started anew for each of them, on one desktop, driven by keys, and
/// judged by the files that it leaves.
class WindowUnderFaults : public BlackBoxTest, public testing::WithParamInterface<Way> {
 protected:
  WindowUnderFaults();

  /// Starts the editor on new folders, with a fault that waits for the save, and changes the
  /// document.
  void startAndChange(const Fault& fault);
  /// Starts the editor on the folders as they are.
  void startOnWhatIsLeft(const Fault& fault, const std::vector<std::string>& arguments,
                         std::size_t windowCount);
  /// Saves by keys. From here on the calls count. Returns when the document is saved, an alert is
  /// shown, or the editor is gone.
  void save();
  /// True if the title says that the document is saved in the file.
  bool isSaved() const;
  /// Answers all alerts as Return does.
  void answerAlerts();
  /// The same, and saves what is not saved yet.
  void saveAgain();
  /// What a save leaves behind when all threads are done.
  std::vector<std::string> leftBehind() const;
  /// Takes the editor away, whatever it shows.
  void takeAway();

  /// The calls of the last save that count.
  std::vector<CountedCall> calls() const { return readCalls(watched_.callList); }
  /// What can be had of a copy of the disk, as if the editor were gone: its own records are nobody
  /// else's while it lives.
  Outcome outcomeWithoutEditor() const;
  const SaveUnderFaults& trial() const { return trial_; }

 private:
  void awaitAnswer();

  SaveUnderFaults trial_;
  WatchedFolders watched_;
};

}  // namespace quillmor::test
