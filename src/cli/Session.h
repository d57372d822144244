#pragma once

#include <string_view>

#include "base/ByteBuffer.h"
#include "base/FileLocation.h"
#include "base/TaskProgress.h"
#include "cli/ProgressLine.h"
#include "cli/StandardOutput.h"
#include "fileaccess/StableReading.h"

namespace quillmor::cli {

/// How a command ended; the program's exit status.
enum class Outcome : int {
  done = 0,   ///< done, valid, found, identical
  no = 1,     ///< the answer is no
  failed = 2  ///< failed or wrong usage
};

/// What one run of the program has: where it prints, and its progress, which may stop it. Main
/// thread.
class Session {
 public:
  Session(TaskProgress& progress, ProgressLine& progressLine)
      : output_(progress, progressLine), progress_(progress), progressLine_(progressLine) {}

  StandardOutput& output() { return output_; }

  /// Returns the progress of the next part of the work, which a user reads as `activity`
  /// ("Searching").
  TaskProgress& beginPart(const char* activity);

  /// Erases the progress line for good.
  void endProgress() { progressLine_.end(); }

  /// Reads a whole file within the limit for documents.
  ReadSnapshot readDocument(const FileLocation& location);

  /// Prints a message on standard error that is not a failure.
  void note(std::string_view text);

  /// Prints a text with one line feed at its end; nothing for an empty text.
  void print(std::string_view text);

 private:
  StandardOutput output_;
  TaskProgress& progress_;
  ProgressLine& progressLine_;
};

/// Prints "quillmor-cli: " and the text as one line on standard error.
void printMessage(std::string_view text);

}  // namespace quillmor::cli
