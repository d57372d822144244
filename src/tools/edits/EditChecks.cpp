#include "tools/edits/EditChecks.h"

#include <algorithm>

#include "base/SaturatingMath.h"
#include "search/typed/TypedInput.h"
#include "tools/edits/ToolLimits.h"

namespace quillmor {

Refusal refusalOfEditing(std::int64_t length) {
  if (length <= maxGeneratedInputBytes) return std::nullopt;
  return "Selected range is " + std::to_string(length) +
         " byte(s). The in-memory edit safety limit is " + std::to_string(maxGeneratedInputBytes) +
         " bytes to avoid memory pressure.";
}

Refusal refusalOfGenerating(std::int64_t count) {
  if (count >= 0 && count <= maxGeneratedInputBytes) return std::nullopt;
  return "Requested operation would generate " + std::to_string(count) +
         " byte(s). The safety limit is " + std::to_string(maxGeneratedInputBytes) +
         " bytes to avoid memory pressure.";
}

Refusal refusalOfResult(std::int64_t byteCount, std::int64_t removing, std::int64_t inserting,
                        std::int64_t limit) {
  const std::int64_t kept = byteCount - clampedToCount(removing, byteCount);
  std::int64_t resulting = 0;
  const bool overflows =
      __builtin_add_overflow(kept, std::max<std::int64_t>(inserting, 0), &resulting);
  if (!overflows && resulting <= limit) return std::nullopt;
  return "The resulting document would exceed Quillmor's safe in-memory document limit of " +
         std::to_string(limit) + " bytes.";
}

Refusal refusalOfCopying(std::int64_t length) {
  if (length <= maxClipboardTextSourceBytes) return std::nullopt;
  return "The selected range is too large to place on the pasteboard safely. Export the selection "
         "to a file instead.";
}

Refusal refusalOfClipboardText(std::int64_t length) {
  if (length <= maxClipboardTextSourceBytes) return std::nullopt;
  return "The selected range is too large to convert into clipboard text safely. Export the range "
         "to a file instead.";
}

Refusal refusalOfHexPatch(std::int64_t length) {
  if (length <= maxPatchDataBytes) return std::nullopt;
  return "The selected range is too large to export as one text patch safely. Export the raw "
         "selection or split the patch into smaller ranges.";
}

Refusal refusalOfSwapping(std::int64_t length, std::int64_t groupSize) {
  if (length >= groupSize) return std::nullopt;
  return "Selection must contain at least " + std::to_string(groupSize) + " bytes.";
}

std::optional<std::string> noteOnTrailingBytes(std::int64_t length, std::int64_t groupSize) {
  const std::int64_t trailing = length % groupSize;
  if (trailing == 0) return std::nullopt;
  return "Completed. " + std::to_string(trailing) +
         " trailing byte(s) were left unchanged because the selection length is not divisible by " +
         std::to_string(groupSize) + ".";
}

}  // namespace quillmor
