#pragma once

#include <string>
#include <utility>

#include "base/Error.h"

namespace quillmor::cli {

/// A failure of which is known which of the given files it is about.
class FileFailure : public Error {
 public:
  FileFailure(const Error& error, std::string file) : Error(error), file_(std::move(file)) {}

  /// The file as it was given; empty for a failure that is about none of them.
  const std::string& file() const { return file_; }

 private:
  std::string file_;
};

/// Does `work`, whose failures are about `file` unless a part of it says otherwise. `file` is
/// looked at when there is one.
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

/// Does a part of such work whose failures are about no file.
template <class Work>
decltype(auto) aboutNoFile(Work&& work) {
  return aboutFile(std::string(), std::forward<Work>(work));
}

}  // namespace quillmor::cli
