#include "window/PanelPlacement.h"

#include <algorithm>

namespace quillmor::PanelPlacement {

namespace {

std::int64_t positionOver(std::int64_t ownerStart, std::int64_t ownerLength,
                          std::int64_t panelLength, std::int64_t visibleStart,
                          std::int64_t visibleLength) {
  const std::int64_t centred = ownerStart + (ownerLength - panelLength) / 2;
  const std::int64_t last = visibleStart + visibleLength - panelLength;
  return std::min(std::max(centred, visibleStart), std::max(last, visibleStart));
}

}  // namespace

Origin originOver(const Frame& owner, Size panel, const Frame& visible) {
  return {positionOver(owner.origin.x, owner.size.width, panel.width, visible.origin.x,
                       visible.size.width),
          positionOver(owner.origin.y, owner.size.height, panel.height, visible.origin.y,
                       visible.size.height)};
}

}  // namespace quillmor::PanelPlacement
