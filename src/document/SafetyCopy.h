#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/Error.h"
#include "base/FileLocation.h"
#include "base/TaskProgress.h"
#include "document/HexSelection.h"
#include "fileaccess/StableFileStatus.h"

namespace quillmor {

/// What a document has besides its bytes, and what a recovered one gets back.
struct EditorPlaces {
  std::int64_t caretOffset = 0;
  HexSelection selection = {};
  std::vector<std::int64_t> bookmarks = {};
};

/// A durable copy of the bytes that are about to be written into a file. It outlives this process:
/// the object's end leaves it where it is.
class SafetyCopy {
 public:
  virtual ~SafetyCopy() = default;

  /// The name by which the user gets the bytes back.
  virtual std::string name() const = 0;

  /// The SHA-256 of the bytes in lowercase hexadecimal.
  virtual std::string sha256() const = 0;

  /// Where it is and how many bytes it takes on the disk.
  virtual FileLocation location() const = 0;
  virtual std::int64_t byteCount() const = 0;

  /// Removes the copy, because it is not needed any more, and makes that durable. Throws a POSIX
  /// error.
  virtual void remove() = 0;
};

/// The place where safety copies are kept. Any thread; every call may wait for a disk.
class SafetyCopies {
 public:
  virtual ~SafetyCopies() = default;

  /// Keeps `bytes`, which are to become the content of the file at `destination`, whose status is
  /// `found` (absent when there is none). They are durable when this returns. Throws a POSIX error;
  /// nothing remains then.
  virtual std::unique_ptr<SafetyCopy> keep(const FileLocation& destination,
                                           const std::optional<StableFileStatus>& found,
                                           std::span<const std::uint8_t> bytes,
                                           const EditorPlaces& places, TaskProgress* progress) = 0;
};

/// True if an error of `SafetyCopies::keep` says that there is no place for a copy: no room, a
/// limit on the sizes of files, or no directory that may be written. Anything else is a failure of
/// the disk or of this program.
bool hasNoPlaceForSafetyCopy(const Error& error);

}  // namespace quillmor
