#pragma once

#include <cstdint>
#include <span>

#include "base/ByteBuffer.h"
#include "document/HexSelection.h"

namespace quillmor {

/// The content of a document, offset 0 first. Shared by the document, its window and its view; used
/// on the main thread only. Other threads get a copy of `bytes`, which costs nothing.
class HexStorage {
 public:
  ByteBuffer bytes;

  std::int64_t count() const { return bytes.size(); }

  /// Returns the bytes of the normalised selection. The whole content is shared, any other range
  /// copied.
  ByteBuffer slice(HexSelection selection) const;

  /// Removes the bytes of the normalised selection and closes the gap.
  void delete_(HexSelection selection);

  /// True if the normalised selection has exactly the bytes `other`. Compares the lengths first.
  bool bytesEqual(HexSelection selection, std::span<const std::uint8_t> other) const;
};

}  // namespace quillmor
