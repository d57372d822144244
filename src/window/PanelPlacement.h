#pragma once

#include <cstdint>

/// The place of a panel on the screen. In logical points; y grows downward.
namespace quillmor::PanelPlacement {

struct Origin {
  std::int64_t x = 0;
  std::int64_t y = 0;

  bool operator==(const Origin&) const = default;
};

struct Size {
  std::int64_t width = 0;
  std::int64_t height = 0;
};

struct Frame {
  Origin origin = {};
  Size size = {};
};

/// The top left corner that centres a panel of size `panel` over `owner` and then moves it as
/// little as needed to lie inside `visible`. A panel too large for that keeps the top left corner
/// of `visible`, so that its title can be reached. Sizes are not negative.
Origin originOver(const Frame& owner, Size panel, const Frame& visible);

}  // namespace quillmor::PanelPlacement
