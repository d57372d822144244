#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "blackbox/BlackBoxTest.h"
#include "faults/FaultyRun.h"
#include "faults/SaveUnderFaults.h"
#include "faults/Score.h"
#include "faults/window/FakeInput.h"
#include "faults/window/StatusProbe.h"
#include "faults/window/TypedDocument.h"

namespace quillmor::test {

/// An editor that is typed into without a pause until something ends it: started anew for each
/// time on one desktop, with a file and records of its own, and judged by what recovery gives back.
class TypingUnderFaults : public BlackBoxTest {
 protected:
  using Clock = std::chrono::steady_clock;

  TypingUnderFaults();

  /// Opens a new file in the editor, with the keys in front of it. `seed` gives what is typed.
  void startTyping(std::uint64_t seed);
  /// Types and looks at the status line in turns until so much time has gone.
  void typeFor(Clock::duration time);
  /// Types no more, and waits until the status line shows all that was typed.
  void awaitAllTyped();

  const TypedDocument& typed() const { return *typed_; }
  /// How many digits the status line has shown by then, at least.
  std::int64_t shownBy(Clock::time_point moment) const;
  /// When the status line has shown so many digits at the latest; none when it never did.
  std::optional<Clock::time_point> shownSince(std::int64_t count) const;

  /// What `quillmor-cli recover` gives back; none when there is nothing, or not one thing.
  std::optional<std::string> recoveredByCommand() const;
  /// What the editor itself gives back when it is started once more, recovers and saves.
  std::optional<std::string> recoveredByEditor();
  /// True if nothing has written to the file.
  bool isFileUntouched() const;
  /// For the message of a failed run.
  std::string described(const std::optional<std::string>& recovered) const;

 private:
  struct Look {
    Clock::time_point end;
    std::int64_t digits = 0;
  };

  std::string path(const std::string& name) const { return (run_ / name).native(); }
  void startEditor(const std::vector<std::string>& arguments, std::size_t windowCount);
  void look();
  /// The IDs of the records that are left.
  std::vector<std::string> records() const;
  ChildProcess::Environment environment() const;

  const FakeInput input_;
  StatusProbe probe_;
  std::filesystem::path run_;
  int runs_ = 0;
  std::unique_ptr<TypedDocument> typed_;
  std::vector<Look> looks_;
};

}  // namespace quillmor::test
