// Every tool of the editor as a command.

#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "cli/CommandLine.h"
#include "cli/FileFailure.h"
#include "cli/Interruption.h"
#include "platform/RunInBackground.h"

namespace {

using namespace quillmor;
using namespace quillmor::cli;

/// Gives the standard descriptors that are closed to nobody: a file that is opened later must not
/// become standard output. Writing to them fails as it would if they were closed.
void occupyStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(descriptor, F_GETFD) >= 0) continue;
    // The lowest free number is this one. Standard input is made unreadable, the others unwritable.
    if (::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY) != descriptor)
      ::_exit(static_cast<int>(Outcome::failed));
  }
}

/// Runs what the arguments ask for. `failedFile` becomes the file that a failure is about, where
/// that has to be told.
Outcome run(const std::vector<std::string>& arguments, TaskProgress& progress,
            std::string& failedFile) {
  ProgressLine progressLine(progress);
  Session session(progress, progressLine);
  const CommandLine line = parseCommandLine(arguments);
  if (line.text) {
    session.print(*line.text);
    return Outcome::done;
  }
  try {
    return line.command->run(line.arguments, session);
  } catch (const UsageError& error) {
    throw UsageError(usageMessage(error.what(), line.command));
  } catch (const FileFailure& failure) {
    if (line.command->takesSeveralFiles()) failedFile = failure.file();
    throw;
  }
}

/// Runs it and tells how it ended.
int runToEnd(const std::vector<std::string>& arguments) {
  // Signals may come until the very end.
  static TaskProgress progress;
  Interruption::install(progress);
  std::string failedFile;
  const Result<Outcome> outcome = resultOf([&] { return run(arguments, progress, failedFile); });
  if (outcome.isOk()) return static_cast<int>(outcome.value());
  if (outcome.error().isStopped()) Interruption::die();
  if (!failedFile.empty()) failedFile += ": ";
  printMessage(failedFile + outcome.error().messageWithReason());
