#pragma once

#include <span>

#include "window/PanelPlacement.h"

/// The places of further windows over one owner. In logical points.
namespace quillmor::WindowCascade {

/// How far each window lies to the right of and below the one before.
inline constexpr std::int64_t kStep = 28;

/// The place over `owner` for a window of size `window`: centred, then moved right and down in
/// steps until none of the corners `taken` is hit. Always inside `visible`; the first place when
/// none is free.
PanelPlacement::Origin originOver(const PanelPlacement::Frame& owner, PanelPlacement::Size window,
                                  const PanelPlacement::Frame& visible,
                                  std::span<const PanelPlacement::Origin> taken);

}  // namespace quillmor::WindowCascade
