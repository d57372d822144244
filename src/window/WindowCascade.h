#pragma once

#include <span>

#include "window/PanelPlacement.h"

/// Where further windows over one owner go. In logical points.
namespace quillmor::WindowCascade {

/// How far each window lies to the right of and below the one before.
inline constexpr std::int64_t kStep = 28;

/// The place over `owner` for a window of size `window`: centred, or as many steps to the right and
/// down as it takes to lie on none of the corners `taken`; always inside `visible`. When there is
/// no free place, the first one.
PanelPlacement::Origin originOver(const PanelPlacement::Frame& owner, PanelPlacement::Size window,
                                  const PanelPlacement::Frame& visible,
                                  std::span<const PanelPlacement::Origin> taken);

}  // namespace quillmor::WindowCascade
