#include "tools/patches/HexPatchRange.h"

#include <algorithm>

namespace quillmor {

Result<HexSelection> rangeReplacedByPatch(const QuillmorPatch& patch, std::int64_t byteCount) {
  if (patch.offset > byteCount) return Error::quillmor(2509, "Patch offset is outside the file.");
  const auto length = std::ssize(patch.data);
  std::int64_t end = 0;
  if (__builtin_add_overflow(patch.offset, length, &end))
    return Error::quillmor(2510, "Patch range is too large.");
  return HexSelection{patch.offset, std::min<std::int64_t>(length, byteCount - patch.offset)};
}

}  // namespace quillmor
