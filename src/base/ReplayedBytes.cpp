#include "base/ReplayedBytes.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "base/ByteUnits.h"

namespace quillmor {

namespace {

constexpr std::size_t kPiece = 64 * kKiB;
/// A piece that has grown beyond this is cut up.
constexpr std::size_t kLargestPiece = 2 * kPiece;

void advance(TaskProgress* progress, std::size_t count) {
  if (progress == nullptr) return;
  progress->checkpoint();
  progress->advance(static_cast<std::int64_t>(count));
}

template <class Add>
void forEachPiece(std::span<const std::uint8_t> bytes, const Add& add) {
  while (!bytes.empty()) {
    const auto piece = bytes.first(std::min(bytes.size(), kPiece));
    add(std::vector<std::uint8_t>(piece.begin(), piece.end()));
    bytes = bytes.subspan(piece.size());
  }
}

}  // namespace

ReplayedBytes::ReplayedBytes(const ByteBuffer& bytes, TaskProgress* progress)
    : size_(bytes.size()) {
  pieces_.reserve(bytes.span().size() / kPiece + 1);
  forEachPiece(bytes.span(), [&](Piece piece) {
    advance(progress, piece.size());
    pieces_.push_back(std::move(piece));
  });
  if (pieces_.empty()) pieces_.emplace_back();
}

/// Between two pieces it is the end of the first of them.
ReplayedBytes::Place ReplayedBytes::placeOf(std::int64_t offset) const {
  std::size_t piece = 0;
  while (offset > std::ssize(pieces_[piece])) offset -= std::ssize(pieces_[piece++]);
  return {piece, static_cast<std::ptrdiff_t>(offset)};
}

void ReplayedBytes::replace(std::int64_t offset, std::int64_t removed,
                            std::span<const std::uint8_t> inserted) {
  const Place place = placeOf(offset);
  Piece& piece = pieces_[place.piece];
  const bool isOverwrite =
      removed == std::ssize(inserted) && removed <= std::ssize(piece) - place.offset;
  if (isOverwrite) {
    std::ranges::copy(inserted, piece.begin() + place.offset);
    return;
  }
  remove(place, removed);
  insert(placeOf(offset), inserted);
  size_ += std::ssize(inserted) - removed;
}

void ReplayedBytes::remove(Place place, std::int64_t count) {
  const std::size_t first = place.piece;
  std::size_t piece = first;
  while (count > 0) {
    Piece& bytes = pieces_[piece++];
    const auto here = std::min<std::int64_t>(count, std::ssize(bytes) - place.offset);
    bytes.erase(bytes.begin() + place.offset, bytes.begin() + place.offset + here);
    count -= here;
    place.offset = 0;
  }
  const auto begin = pieces_.begin() + static_cast<std::ptrdiff_t>(first);
  const auto end = pieces_.begin() + static_cast<std::ptrdiff_t>(piece);
  pieces_.erase(std::remove_if(begin, end, [](const Piece& bytes) { return bytes.empty(); }), end);
  if (pieces_.empty()) pieces_.emplace_back();
}

void ReplayedBytes::insert(Place place, std::span<const std::uint8_t> bytes) {
  Piece& piece = pieces_[place.piece];
  piece.insert(piece.begin() + place.offset, bytes.begin(), bytes.end());
  if (piece.size() <= kLargestPiece) return;
  const Piece whole = std::move(piece);
  std::vector<Piece> parts;
  forEachPiece(whole, [&](Piece part) { parts.push_back(std::move(part)); });
  const auto at = pieces_.begin() + static_cast<std::ptrdiff_t>(place.piece);
  *at = std::move(parts.front());
  pieces_.insert(at + 1, std::make_move_iterator(parts.begin() + 1),
                 std::make_move_iterator(parts.end()));
}

ByteBuffer ReplayedBytes::take(TaskProgress* progress) {
  ByteBuffer bytes = ByteBuffer::uninitialized(size_);
  std::uint8_t* to = bytes.mutableSpan().data();
  for (Piece& piece : pieces_) {
    advance(progress, piece.size());
    to = std::copy(piece.begin(), piece.end(), to);
    piece = {};
  }
  pieces_.assign(1, {});
  size_ = 0;
  return bytes;
}

}  // namespace quillmor
