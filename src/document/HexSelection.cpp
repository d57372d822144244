#include "document/HexSelection.h"

#include <algorithm>

#include "base/SaturatingMath.h"

namespace quillmor {

HexSelection HexSelection::normalized(std::int64_t maxCount) const {
  const std::int64_t newStart = std::max<std::int64_t>(std::min(start, maxCount), 0);
  if (length < 1) return {newStart, 0};
  // From the unclipped start, so that the part before 0 is cut off instead of moved.
  const std::int64_t end = std::min(maxCount, saturatingAdd(start, length));
  return {newStart, std::max(end, newStart) - newStart};
}

}  // namespace quillmor
