#pragma once

namespace quillmor {

/// A place in the document's coordinates: y grows downward, one unit is one device-independent
/// pixel. Doubles, because a large document is taller than any integer the toolkit draws with.
struct Point {
  double x = 0;
  double y = 0;
  bool operator==(const Point&) const = default;
};

/// A width and a height in device-independent pixels.
struct Size {
  double width = 0;
  double height = 0;
  bool operator==(const Size&) const = default;
};

/// An axis-aligned rectangle; its right and bottom edges lie outside of it.
struct Rect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
  bool operator==(const Rect&) const = default;

  double maxX() const { return x + width; }
  double maxY() const { return y + height; }

  /// The rectangle enlarged on every side, by `dx` left and right and `dy` above and below.
  Rect enlarged(double dx, double dy) const {
    return {x - dx, y - dy, width + 2 * dx, height + 2 * dy};
  }

  /// Whether the two rectangles share an area; touching edges do not count.
  bool meets(const Rect& other) const {
    return x < other.maxX() && other.x < maxX() && y < other.maxY() && other.y < maxY();
  }
};

}  // namespace quillmor
