#include "window/SelectionMutation.h"

#include <algorithm>
#include <cstring>

#include "base/PieceWork.h"
#include "document/UndoRecords.h"

namespace quillmor {

namespace {

/// Copies the part of `from` (which stands at `place` of the result) that lies in `begin`..<`end`.
void copyPart(std::span<std::uint8_t> to, std::int64_t begin, std::int64_t end, std::int64_t place,
              std::span<const std::uint8_t> from) {
  const std::int64_t first = std::max(begin, place);
  const std::int64_t last = std::min(end, place + static_cast<std::int64_t>(from.size()));
  if (first >= last) return;
  std::memcpy(to.data() + first, from.data() + (first - place),
              static_cast<std::size_t>(last - first));
}

/// A copy of `original` with `bytes` at `start`.
ByteBuffer documentWith(const ByteBuffer& original, std::int64_t start, const ByteBuffer& bytes,
                        TaskProgress& progress) {
  if (bytes.size() == original.size()) return bytes;
  ByteBuffer document = ByteBuffer::uninitialized(original.size());
  const auto to = document.mutableSpan();
  const std::int64_t end = start + bytes.size();
  const auto copy = [&](std::int64_t pieceBegin, std::int64_t pieceEnd) {
    copyPart(to, pieceBegin, pieceEnd, 0, original.span(0, start));
    copyPart(to, pieceBegin, pieceEnd, start, bytes.span());
    copyPart(to, pieceBegin, pieceEnd, end, original.span(end, original.size() - end));
  };
  forEachPiece(original.size(), progress, copy);
  return document;
}

}  // namespace

SelectionMutation prepareMutation(const ByteBuffer& original, HexSelection range, ByteBuffer bytes,
                                  TaskProgress& progress) {
  SelectionMutation mutation{.bytes = std::move(bytes)};
  const auto old = original.span(range.start, range.length);
  mutation.changesNothing = std::ranges::equal(old, mutation.bytes.span());
  if (mutation.changesNothing) return mutation;
  if (range.length <= UndoRecords::maxUndoSnapshotBytes) mutation.before = ByteBuffer(old);
  if (range.length > kLargestRangeWrittenInPlace)
    mutation.document = documentWith(original, range.start, mutation.bytes, progress);
  return mutation;
}

}  // namespace quillmor
