#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "base/HugePages.h"
#include "base/TaskProgress.h"

namespace quillmor {

/// Returns an empty text with room for `length` characters.
inline std::string textWithRoomFor(std::size_t length) {
  std::string text;
  text.reserve(length);
  preferHugePages(text.data(), text.capacity());
  return text;
}

/// Calls `convert` for `bytes` in pieces of `pieceSize` bytes (the last may be shorter), in order.
/// Before each piece it throws `Error::stopped()` when `progress`, which may be null, asks to stop.
///
/// Converters write a piece into a small buffer and append that to the text. This touches the
/// text's memory once, where std::string::resize would fill it with zeros first.
template <typename Convert>
void convertInPieces(std::span<const std::uint8_t> bytes, std::size_t pieceSize,
                     TaskProgress* progress, Convert convert) {
  if (progress != nullptr) progress->setTotal(std::ssize(bytes));
  while (!bytes.empty()) {
    if (progress != nullptr) progress->checkpoint();
    const auto piece = bytes.first(std::min(pieceSize, bytes.size()));
    convert(piece);
    if (progress != nullptr) progress->advance(std::ssize(piece));
    bytes = bytes.subspan(piece.size());
  }
}

}  // namespace quillmor
