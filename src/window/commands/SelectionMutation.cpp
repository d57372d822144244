#include "window/commands/SelectionMutation.h"

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
  const std::int64_t last = std::min(end, place + std::ssize(from));
  if (first >= last) return;
  std::memcpy(to.data() + first, from.data() + (first - place),
              static_cast<std::size_t>(last - first));
}

}  // namespace

ByteBuffer copyOf(const ByteBuffer& original, HexSelection range, TaskProgress& progress) {
  ByteBuffer copy = ByteBuffer::uninitialized(range.length);
  const auto to = copy.mutableSpan();
  const auto from = original.span(range.start, range.length);
  forEachPiece(range.length, progress, [&](std::int64_t pieceBegin, std::int64_t pieceEnd) {
    copyPart(to, pieceBegin, pieceEnd, 0, from);
  });
  return copy;
}

ByteBuffer documentWith(const ByteBuffer& original, HexSelection range, const ByteBuffer& bytes,
                        TaskProgress& progress) {
  if (range.length == original.size()) return bytes;
  const std::int64_t end = range.start + range.length;
  const auto head = original.span(0, range.start);
  const auto tail = original.span(end, original.size() - end);
  const std::int64_t tailPlace = range.start + bytes.size();
  ByteBuffer document = ByteBuffer::uninitialized(tailPlace + std::ssize(tail));
  const auto to = document.mutableSpan();
  forEachPiece(document.size(), progress, [&](std::int64_t pieceBegin, std::int64_t pieceEnd) {
    copyPart(to, pieceBegin, pieceEnd, 0, head);
    copyPart(to, pieceBegin, pieceEnd, range.start, bytes.span());
    copyPart(to, pieceBegin, pieceEnd, tailPlace, tail);
  });
  return document;
}

Error rangeChangedError() {
  return Error::quillmor(411, "The selected range changed before the operation completed.");
}

HexSelection requireWithin(HexSelection range, const ByteBuffer& bytes) {
  if (range.normalized(bytes.size()) != range) throw rangeChangedError();
  return range;
}

SelectionMutation prepareMutation(const ByteBuffer& original, HexSelection range, ByteBuffer bytes,
                                  TaskProgress& progress) {
  SelectionMutation mutation{.bytes = std::move(bytes)};
  const auto old = original.span(range.start, range.length);
  mutation.changesNothing = std::ranges::equal(old, mutation.bytes.span());
  if (mutation.changesNothing) return mutation;
  if (range.length <= UndoRecords::maxUndoSnapshotBytes) mutation.before = ByteBuffer(old);
  if (range.length > kLargestRangeWrittenInPlace)
    mutation.document = documentWith(original, range, mutation.bytes, progress);
  return mutation;
}

}  // namespace quillmor
