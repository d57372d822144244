#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <string>

namespace quillmor {

/// Where an error's code comes from: this application's own numbers, errno, or nowhere. The last is
/// for work that the user stopped, where nothing went wrong.
enum class ErrorDomain { quillmor, posix, stopped };

/// The one exception type of the application. Thrown by operations that fail with a message for the
/// user; caught at three borders only: the background frame, the entry of a command, and main.
/// Copying an error takes no memory and cannot fail.
class Error : public std::exception {
 public:
  /// `message` is shown to the user. It is UTF-8, except that file names in it keep the file
  /// system's bytes.
  Error(ErrorDomain domain, int code, std::string message);

  // There is no move: an error that was passed on can still be read.
  Error(const Error&) noexcept = default;
  Error& operator=(const Error&) noexcept = default;

  /// An error of this application's own domain.
  static Error quillmor(int code, std::string message);

  /// An error of a system call, whose `reason` is the system's text for `errorNumber`. A failure
  /// without a number (0) becomes EIO and has no reason, so that a code is never "success".
  static Error posix(int errorNumber, std::string message);

  /// An error of a system call, described by the system's own text for `errorNumber`.
  static Error posix(int errorNumber);

  /// `posix(ENOMEM)`, made when the program starts: reporting it takes no memory.
  static const Error& outOfMemory() noexcept;

  /// The error of work that noticed a stop request; never shown to the user. Its code is 0.
  static Error stopped();

  ErrorDomain domain() const { return domain_; }
  int code() const { return code_; }
  const std::string& message() const { return text_->message; }

  /// The system's own words for what went wrong ("No space left on device"). Empty when there are
  /// none, and when `message` already has them.
  const std::string& reason() const { return text_->reason; }

  /// The message with the reason, if any: "Could not write the output data. (No space left on
  /// device)".
  std::string messageWithReason() const;

  /// The same failure with another message.
  Error withMessage(std::string message) const;

  bool isStopped() const;

  const char* what() const noexcept override { return message().c_str(); }

 private:
  struct Text {
    std::string message;
    std::string reason;
  };

  Error(ErrorDomain domain, int code, Text text);

  ErrorDomain domain_;
  int code_;
  std::shared_ptr<const Text> text_;
};

}  // namespace quillmor
