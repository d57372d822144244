#pragma once

#include <cstdint>
#include <string>

#include "support/TemporaryFolder.h"

namespace quillmor::test {

/// A small disk of one test, mounted where this process and its children alone see it. It goes with
/// the object.
class SmallDisk {
 public:
  enum class Kind {
    tmpfs,
    ext4,
    /// A tmpfs on which the user "nobody" may take `byteCount`.
    quota,
  };

  SmallDisk(Kind kind, std::int64_t byteCount);
  ~SmallDisk();
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

  /// Why there is no disk; empty when there is one.
  const std::string& problem() const { return problem_; }
  std::string path() const { return (folder_.path() / "disk").native(); }

  /// Leaves room for so many bytes, in whole blocks, by a file that takes all the rest.
  void leaveRoom(std::int64_t byteCount) const;
  /// Removes that file.
  void makeRoom() const;

 private:
  TemporaryFolder folder_;
  std::string problem_;
};

}  // namespace quillmor::test
