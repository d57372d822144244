#include "editor/ScrollAxis.h"

#include <algorithm>
#include <cmath>

namespace quillmor {

void ScrollAxis::setExtent(double content, double viewport) {
  content_ = content;
  viewport_ = viewport;
  setPosition(position_);
}

double ScrollAxis::maximum() const {
  return std::max(content_ - viewport_, 0.0);
}

bool ScrollAxis::setPosition(double position) {
  const double clamped = std::clamp(position, 0.0, maximum());
  if (clamped == position_) return false;
  position_ = clamped;
  return true;
}

bool ScrollAxis::reveal(double from, double to) {
  if (to - from > viewport_ || from < position_) return setPosition(from);
  if (to > position_ + viewport_) return setPosition(to - viewport_);
  return false;
}

double ScrollAxis::pixelsPerBarStep() const {
  return std::max(maximum() / double{kMaximumBarSteps}, 1.0);
}

int ScrollAxis::barMaximum() const {
  return static_cast<int>(std::min(std::ceil(maximum()), double{kMaximumBarSteps}));
}

int ScrollAxis::barValue() const {
  if (position_ >= maximum()) return barMaximum();
  return std::min(static_cast<int>(std::lround(position_ / pixelsPerBarStep())), barMaximum());
}

double ScrollAxis::positionForBar(int value) const {
  if (value >= barMaximum()) return maximum();
  return std::clamp(value * pixelsPerBarStep(), 0.0, maximum());
}

int ScrollAxis::barSteps(double length) const {
  const double steps = std::round(length / pixelsPerBarStep());
  return static_cast<int>(std::clamp(steps, 1.0, double{kMaximumBarSteps}));
}

}  // namespace quillmor
