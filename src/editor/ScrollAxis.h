#pragma once

namespace quillmor {

/// One direction of scrolling: an exact position in a document of any length, and its value on a
/// scroll bar that counts in `int`. Long documents get a coarser bar, never a coarser position. All
/// lengths are in device-independent pixels.
class ScrollAxis {
 public:
  /// The most steps a bar gets; leaves the toolkit room to add page steps in `int`.
  static constexpr int kMaximumBarSteps = 1 << 30;

  /// Sets the lengths of the document and of its visible part; the position changes as little as
  /// possible.
  void setExtent(double content, double viewport);

  /// The document coordinate at the viewport's beginning, 0...`maximum`.
  double position() const { return position_; }
  double maximum() const;

  /// Clamped to 0...`maximum`. Returns whether the position changed.
  bool setPosition(double position);

  /// Scrolls as little as needed to show `from`...`to`; the beginning wins when both do not fit.
  /// Returns whether the position changed.
  bool reveal(double from, double to);

  int barMaximum() const;
  int barValue() const;
  /// The position that the bar shows as `value`.
  double positionForBar(int value) const;
  /// `length` in steps of the bar, at least one.
  int barSteps(double length) const;

 private:
  double pixelsPerBarStep() const;

  double content_ = 0;
  double viewport_ = 0;
  double position_ = 0;
};

}  // namespace quillmor
