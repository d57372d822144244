#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "fileaccess/StableFileStatus.h"

namespace quillmor {

/// What a successful save has done, for the user to read.
struct SaveReceipt {
  /// The file as it was right after the save.
  StableFileStatus status;
  std::int64_t byteCount = 0;
  /// Seconds since 1970.
  std::int64_t time = 0;
  /// SHA-256 of the bytes in lowercase hexadecimal; empty for a save without a safety copy, which
  /// takes it.
  std::string sha256 = {};
  /// What was done, one sentence for each step, in order. Details follow in lines of their own.
  std::vector<std::string> steps = {};
};

}  // namespace quillmor
