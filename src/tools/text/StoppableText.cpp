#include "tools/text/StoppableText.h"

#include <cstddef>

#include "base/Unicode.h"

namespace quillmor {

namespace {

void checkpoint(const TaskProgress* progress) {
  if (progress != nullptr) progress->checkpoint();
}

bool isContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

/// `at` or where the scalar it lies in begins, up to three bytes before. Farther back there is
/// nothing to find: so many continuation bytes are not UTF-8, whichever piece they come in.
std::size_t scalarBoundary(std::string_view text, std::size_t at) {
  if (at >= text.size()) return text.size();
  constexpr std::size_t kMostSteps = 3;
  for (std::size_t i = 0; i < kMostSteps && at > 0 && isContinuation(text[at]); ++i) --at;
  return at;
}

std::string_view firstPiece(std::string_view text, std::size_t pieceSize) {
  return text.substr(0, scalarBoundary(text, pieceSize));
}

std::string_view lastPiece(std::string_view text, std::size_t pieceSize) {
  if (text.size() <= pieceSize) return text;
  return text.substr(scalarBoundary(text, text.size() - pieceSize));
}

std::string_view withoutLeadingWhiteSpace(std::string_view text, const TaskProgress* progress,
                                          std::size_t pieceSize) {
  while (!text.empty()) {
    checkpoint(progress);
    const std::string_view piece = firstPiece(text, pieceSize);
    const std::string_view rest = Unicode::trimmedOfWhiteSpace(piece);
    if (!rest.empty()) return text.substr(static_cast<std::size_t>(rest.data() - piece.data()));
    text.remove_prefix(piece.size());
  }
  return text;
}

std::string_view withoutTrailingWhiteSpace(std::string_view text, const TaskProgress* progress,
                                           std::size_t pieceSize) {
  while (!text.empty()) {
    checkpoint(progress);
    const std::string_view piece = lastPiece(text, pieceSize);
    const std::string_view rest = Unicode::trimmedOfWhiteSpace(piece);
    if (!rest.empty()) {
      return {text.data(), static_cast<std::size_t>(rest.data() + rest.size() - text.data())};
    }
    text.remove_suffix(piece.size());
  }
  return text;
}

}  // namespace

bool isValidUtf8(std::string_view text, const TaskProgress* progress, std::size_t pieceSize) {
  while (!text.empty()) {
    checkpoint(progress);
    const std::string_view piece = firstPiece(text, pieceSize);
    if (!Unicode::isValid(piece)) return false;
    text.remove_prefix(piece.size());
  }
  return true;
}

std::string_view trimmedOfWhiteSpace(std::string_view text, const TaskProgress* progress,
                                     std::size_t pieceSize) {
  return withoutTrailingWhiteSpace(withoutLeadingWhiteSpace(text, progress, pieceSize), progress,
                                   pieceSize);
}

}  // namespace quillmor
