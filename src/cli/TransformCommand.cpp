// Rewriting a range of a file in place.

#include <algorithm>
#include <array>
#include <bit>

#include "cli/Choice.h"
#include "cli/Commands.h"
#include "cli/Delivery.h"
#include "cli/Requirements.h"
#include "search/HexParser.h"
#include "search/TypedInput.h"
#include "tools/ByteDifferences.h"
#include "tools/ByteTransforms.h"
#include "tools/RepeatedBytes.h"

namespace quillmor::cli {

namespace {

using Bytes = std::span<const std::uint8_t>;

struct Transform {
  bool takesPattern;
  std::int64_t groupSize;  ///< of a swap, else 1
  ByteBuffer (*apply)(Bytes bytes, Bytes pattern, TaskProgress& progress);
};

constexpr std::array<Choice<Transform>, 8> kTransforms = {{
    {"invert",
     {false, 1,
      [](Bytes bytes, Bytes, TaskProgress& progress) {
        return ByteTransforms::inverted(bytes, progress);
      }}},
    {"reverse",
     {false, 1,
      [](Bytes bytes, Bytes, TaskProgress& progress) {
        return ByteTransforms::reversed(bytes, progress);
      }}},
    {"swap16",
     {false, 2,
      [](Bytes bytes, Bytes, TaskProgress& progress) {
        return ByteTransforms::groupsSwapped(bytes, 2, progress);
      }}},
    {"swap32",
     {false, 4,
      [](Bytes bytes, Bytes, TaskProgress& progress) {
        return ByteTransforms::groupsSwapped(bytes, 4, progress);
      }}},
    {"xor",
     {true, 1,
      [](Bytes bytes, Bytes pattern, TaskProgress& progress) {
        return ByteTransforms::combined(bytes, ByteOperation::exclusiveOr, pattern, progress);
      }}},
    {"and",
     {true, 1,
      [](Bytes bytes, Bytes pattern, TaskProgress& progress) {
        return ByteTransforms::combined(bytes, ByteOperation::bitwiseAnd, pattern, progress);
      }}},
    {"or",
     {true, 1,
      [](Bytes bytes, Bytes pattern, TaskProgress& progress) {
        return ByteTransforms::combined(bytes, ByteOperation::bitwiseOr, pattern, progress);
      }}},
    {"fill",
     {true, 1,
      [](Bytes bytes, Bytes pattern, TaskProgress& progress) {
        return repeatedBytes(pattern, std::ssize(bytes), maxGeneratedInputBytes, progress);
      }}},
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
  const ByteBuffer after = transform.apply(before, pattern, progress);
  const std::int64_t changedCount = differingByteCount(before, after.span(), progress);
  ByteBuffer changed = document.bytes();
  if (changedCount > 0) changed.replace(range.start, range.length, after.span());
  deliverBytes(arguments, session, document, std::move(changed),
               "Changed " + std::to_string(changedCount) + " byte(s)");
  if (const auto note = noteOnTrailingBytes(range.length, transform.groupSize)) session.note(*note);
  return Outcome::done;
}

}  // namespace quillmor::cli
