#include "tools/text/Base64.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "base/ByteUnits.h"
#include "tools/text/TextPieces.h"

namespace quillmor {

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// The two characters for every value of 12 bits: half the look-ups of a table of single ones, and
/// small enough (8 KiB) to stay in the first-level cache.
constexpr auto kPairs = [] {
  std::array<std::array<char, 2>, 4096> pairs{};
  for (std::size_t bits = 0; bits < pairs.size(); ++bits) {
    pairs[bits] = {kAlphabet[bits >> 6], kAlphabet[bits & 63]};
  }
  return pairs;
}();

constexpr std::size_t kPieceSize = 3 * kKiB;
constexpr std::size_t kPieceCharacters = kPieceSize / 3 * 4;

/// Writes four characters for the 24 bits of `group`.
char* writeGroup(char* out, std::uint32_t group) {
  std::memcpy(out, kPairs[group >> 12].data(), 2);
  std::memcpy(out + 2, kPairs[group & 0xFFF].data(), 2);
  return out + 4;
}

/// Writes the last one or two bytes, with padding in the place of the missing ones.
char* writeRest(char* out, std::span<const std::uint8_t> rest) {
  std::uint32_t group = static_cast<std::uint32_t>(rest[0]) << 16;
  if (rest.size() == 2) group |= static_cast<std::uint32_t>(rest[1]) << 8;
  char* const end = writeGroup(out, group);
  std::memset(out + rest.size() + 1, '=', 3 - rest.size());
  return end;
}

char* writePiece(char* out, std::span<const std::uint8_t> piece) {
  const std::uint8_t* in = piece.data();
  for (std::size_t groups = piece.size() / 3; groups > 0; --groups, in += 3) {
    out = writeGroup(out, static_cast<std::uint32_t>(in[0] << 16 | in[1] << 8 | in[2]));
  }
  const auto rest = piece.last(piece.size() % 3);
  return rest.empty() ? out : writeRest(out, rest);
}

}  // namespace

std::string base64Text(std::span<const std::uint8_t> bytes, TaskProgress* progress) {
  std::string text = textWithRoomFor((bytes.size() / 3 + (bytes.size() % 3 == 0 ? 0 : 1)) * 4);
  std::array<char, kPieceCharacters> buffer;
  convertInPieces(bytes, kPieceSize, progress, [&](std::span<const std::uint8_t> piece) {
    text.append(buffer.data(), writePiece(buffer.data(), piece));
  });
  return text;
}

}  // namespace quillmor
