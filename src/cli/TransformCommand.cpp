// Rewriting a range of a file in place.

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "base/PieceWork.h"
#include "cli/Choice.h"
#include "cli/Commands.h"
#include "cli/Delivery.h"
#include "cli/Requirements.h"
#include "search/typed/HexParser.h"
#include "search/typed/TypedInput.h"
#include "tools/analysis/ByteDifferences.h"
#include "tools/edits/ByteTransforms.h"
#include "tools/edits/RepeatedBytes.h"

namespace quillmor::cli {

namespace {

using Bytes = std::span<const std::uint8_t>;

using Room = std::span<std::uint8_t>;

struct Transform {
  bool takesPattern;
  std::int64_t groupSize;  ///< of a swap, else 1
  void (*apply)(Bytes bytes, Bytes pattern, Room to, TaskProgress& progress);
};

template <std::int64_t GroupSize>
void swapGroups(Bytes bytes, Bytes, Room to, TaskProgress& progress) {
  ByteTransforms::swapGroups(bytes, GroupSize, to, progress);
}

template <ByteOperation Operation>
void combine(Bytes bytes, Bytes pattern, Room to, TaskProgress& progress) {
  ByteTransforms::combine(bytes, Operation, pattern, to, progress);
}

void invert(Bytes bytes, Bytes, Room to, TaskProgress& progress) {
  ByteTransforms::invert(bytes, to, progress);
}

void reverse(Bytes bytes, Bytes, Room to, TaskProgress& progress) {
  ByteTransforms::reverse(bytes, to, progress);
}

void fill(Bytes, Bytes pattern, Room to, TaskProgress& progress) {
  fillWithPattern(pattern, to, progress);
}

constexpr std::array<Choice<Transform>, 8> kTransforms = {{
    {"invert", {false, 1, invert}},
    {"reverse", {false, 1, reverse}},
    {"swap16", {false, 2, swapGroups<2>}},
    {"swap32", {false, 4, swapGroups<4>}},
    {"xor", {true, 1, combine<ByteOperation::exclusiveOr>}},
    {"and", {true, 1, combine<ByteOperation::bitwiseAnd>}},
    {"or", {true, 1, combine<ByteOperation::bitwiseOr>}},
    {"fill", {true, 1, fill}},
}};

constexpr auto kTransformNames = namesOf(kTransforms);

std::vector<std::uint8_t> typedPattern(const Arguments& arguments, const Transform& transform) {
  const auto typed = arguments.find("--pattern");
  if (!transform.takesPattern) {
    if (typed) throw UsageError("--pattern is for xor, and, or and fill.");
    return {};
  }
  if (!typed) throw UsageError("--pattern is required for " + arguments.text("NAME") + ".");
  auto pattern = HexParser::parseHexBytes(*typed, maxGeneratedInputBytes, maxTextInputCharacters);
  if (!pattern) throw Error::quillmor(2006, "PATTERN cannot be read as hexadecimal bytes.");
  return *std::move(pattern);
}

/// Copies the bytes `begin`..<`end` to the same place.
void copy(Bytes bytes, std::int64_t begin, std::int64_t end, Room to, TaskProgress& progress) {
  forEachPiece(end - begin, progress, [&](std::int64_t from, std::int64_t until) {
    std::memcpy(to.data() + begin + from, bytes.data() + begin + from,
                static_cast<std::size_t>(until - from));
  });
}

/// What becomes of all bytes when those of `range` are transformed. Only the result is made: a file
/// and its result are as much as there should ever be in memory.
ByteBuffer transformed(Bytes bytes, HexSelection range, const Transform& transform, Bytes pattern,
                       TaskProgress& progress) {
  ByteBuffer result = ByteBuffer::uninitialized(std::ssize(bytes));
  const Room to = result.mutableSpan();
  const auto start = static_cast<std::size_t>(range.start);
  const auto length = static_cast<std::size_t>(range.length);
  transform.apply(bytes.subspan(start, length), pattern, to.subspan(start, length), progress);
  copy(bytes, 0, range.start, to, progress);
  copy(bytes, range.start + range.length, std::ssize(bytes), to, progress);
  return result;
}

std::int64_t differingByteCount(Bytes a, Bytes b, const TaskProgress& progress) {
  std::int64_t count = 0;
  forEachDifference(a.data(), b.data(), a.size(), progress,
                    [&count](std::size_t, std::uint64_t mask) { count += std::popcount(mask); });
  return count;
}

}  // namespace

std::span<const std::string_view> transformNames() {
  return kTransformNames;
}

Outcome transform(const Arguments& arguments, Session& session) {
  const std::string& name = arguments.text("NAME");
  const Transform& transform = chosen(kTransforms, name);
  const auto pattern = typedPattern(arguments, transform);
  const OpenDocument document = openDocument(arguments, session);
  const HexSelection range = requireBytes(arguments.range(document.bytes().size()));
  requireNone(name == "fill" ? refusalOfGenerating(range.length) : refusalOfEditing(range.length));
  requireNone(refusalOfSwapping(range.length, transform.groupSize));
  TaskProgress& progress = session.beginPart("Changing");
  const Bytes before = document.bytes().span(range.start, range.length);
  ByteBuffer changed = transformed(document.bytes().span(), range, transform, pattern, progress);
  const auto after = changed.span(range.start, range.length);
  const std::int64_t changedCount = differingByteCount(before, after, progress);
  if (changedCount == 0) changed = document.bytes();
  deliverBytes(arguments, session, document, std::move(changed),
               "Changed " + std::to_string(changedCount) + " byte(s)");
  if (const auto note = noteOnTrailingBytes(range.length, transform.groupSize)) session.note(*note);
  return Outcome::done;
}

}  // namespace quillmor::cli
