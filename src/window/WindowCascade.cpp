#include "window/WindowCascade.h"

#include <algorithm>

namespace quillmor::WindowCascade {

namespace {

constexpr int kMostSteps = 10;

}  // namespace

PanelPlacement::Origin originOver(const PanelPlacement::Frame& owner, PanelPlacement::Size window,
                                  const PanelPlacement::Frame& visible,
                                  std::span<const PanelPlacement::Origin> taken) {
  PanelPlacement::Frame shifted = owner;
  for (int step = 0; step <= kMostSteps; ++step) {
    const auto origin = PanelPlacement::originOver(shifted, window, visible);
    if (std::ranges::find(taken, origin) == taken.end()) return origin;
    shifted.origin.x += kStep;
    shifted.origin.y += kStep;
  }
  return PanelPlacement::originOver(owner, window, visible);
}

}  // namespace quillmor::WindowCascade
