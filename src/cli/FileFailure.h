#pragma once

#include <string>
#include <utility>

#include "base/Error.h"

namespace quillmor::cli {

/// A failure with the file it is about.
class FileFailure : public Error {
 public:
  FileFailure(const Error& error, std::string file) : Error(error), file_(std::move(file)) {}

  /// The file as it was given; empty for a failure that is about no file.
  const std::string& file() const { return file_; }

 private:
  std::string file_;
};

/// Does `work`, whose failures are about `file` unless a part of it says otherwise. `file` is read
/// only after a failure.
template <class Work>
decltype(auto) aboutFile(const std::string& file, Work&& work) {
  try {
    return std::forward<Work>(work)();
  } catch (const FileFailure&) {
    throw;
  } catch (const Error& error) {
    if (error.isStopped()) throw;
    throw FileFailure(error, file);
  }
}

/// Does a part of such work with failures that are about no file.
template <class Work>
decltype(auto) aboutNoFile(Work&& work) {
  return aboutFile(std::string(), std::forward<Work>(work));
}

}  // namespace quillmor::cli
