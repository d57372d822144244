#pragma once

#include <cstdint>

#include "base/Result.h"
#include "document/HexSelection.h"
#include "tools/patches/HexPatch.h"

namespace quillmor {

/// Returns the bytes of a document of `byteCount` bytes that `patch` replaces: as many as it has,
/// or up to the end. The error, code 2509 or 2510, says why it cannot be applied.
Result<HexSelection> rangeReplacedByPatch(const QuillmorPatch& patch, std::int64_t byteCount);

}  // namespace quillmor
