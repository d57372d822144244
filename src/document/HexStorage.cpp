#include "document/HexStorage.h"

namespace quillmor {

ByteBuffer HexStorage::slice(HexSelection selection) const {
  const HexSelection range = selection.normalized(count());
  return range.length < 1 ? ByteBuffer() : bytes.slice(range.start, range.length);
}

void HexStorage::delete_(HexSelection selection) {
  const HexSelection range = selection.normalized(count());
  if (range.length >= 1) bytes.erase(range.start, range.length);
}

bool HexStorage::bytesEqual(HexSelection selection, std::span<const std::uint8_t> other) const {
  const HexSelection range = selection.normalized(count());
  if (static_cast<std::size_t>(range.length) != other.size()) return false;
  return bytes.hasAt(range.start, other);
}

}  // namespace quillmor
