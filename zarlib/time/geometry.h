// Geometry values (chPoint, chPointF, chSize, chRect), rounding to integers and to multiples, clipped copies of byte
// rectangles, and four constants.
//
// Everything here is a plain value or a pure function: nothing locks, allocates or fails. 32-bit arithmetic wraps.
#pragma once

#include "zarlib/export.h"
#include "zarlib/time/wrapping.h"

/// A point of two ints; y grows downward where it matters.
class ZAR_API chPoint {
public:
  constexpr chPoint() : x(0), y(0) {}
  constexpr chPoint(int px, int py) : x(px), y(py) {}

  /// @return 1 or 0, like all comparisons here.
  constexpr int operator==(const chPoint &other) const { return x == other.x && y == other.y; }
  constexpr int operator!=(const chPoint &other) const { return !(*this == other); }

  constexpr chPoint operator-() const { return {zar::wrapping_subtract(0, x), zar::wrapping_subtract(0, y)}; }

  constexpr void OffsetPoint(int dx, int dy) {
    x = zar::wrapping_add(x, dx);
    y = zar::wrapping_add(y, dy);
  }

  int x;
  int y;
};

/// A width and a height, either of which may be negative.
class ZAR_API chSize {
public:
  constexpr chSize() : width(0), height(0) {}
  constexpr chSize(int w, int h) : width(w), height(h) {}

  constexpr int operator==(const chSize &other) const { return width == other.width && height == other.height; }
  constexpr int operator!=(const chSize &other) const { return !(*this == other); }

  constexpr chSize operator-() const { return {zar::wrapping_subtract(0, width), zar::wrapping_subtract(0, height)}; }

  int width;
  int height;
};

/// A point of two doubles.
class ZAR_API chPointF {
public:
  constexpr chPointF() : x(0), y(0) {}
  constexpr chPointF(double px, double py) : x(px), y(py) {}

  /// Exact, without a tolerance: a NaN equals nothing, 0.0 and -0.0 are equal.
  constexpr int operator==(const chPointF &other) const { return x == other.x && y == other.y; }
  constexpr int operator!=(const chPointF &other) const { return !(*this == other); }

  /// Both signs flipped, those of zeros and NaNs too.
  constexpr chPointF operator-() const { return {-x, -y}; }

  constexpr void OffsetPoint(double dx, double dy) {
    x += dx;
    y += dy;
  }

  double x;
  double y;
};

/// A half-open rectangle: points at x = right or y = bottom lie outside. It is empty when right <= left or bottom <=
/// top; an inverted rectangle is a legal, empty value that no operation here normalises.
///
/// Operations that change the rectangle return it, for chaining.
class ZAR_API chRect {
public:
  constexpr chRect() : left(0), top(0), right(0), bottom(0) {}
  constexpr chRect(int l, int t, int r, int b) : left(l), top(t), right(r), bottom(b) {}
  constexpr chRect(const chPoint &topLeft, const chSize &size)
      : left(topLeft.x), top(topLeft.y), right(zar::wrapping_add(topLeft.x, size.width)),
        bottom(zar::wrapping_add(topLeft.y, size.height)) {}

  chRect &SetRect(int l, int t, int r, int b);
  chRect &SetEmpty();

  /// right - left; negative when inverted.
  constexpr int Width() const { return zar::wrapping_subtract(right, left); }
  constexpr int Height() const { return zar::wrapping_subtract(bottom, top); }
  constexpr chSize Size() const { return {Width(), Height()}; }
  constexpr chPoint TopLeft() const { return {left, top}; }
  constexpr chPoint BottomRight() const { return {right, bottom}; }

  /// Half of left + right and of top + bottom, truncated towards zero; the sums do not wrap.
  chPoint CenterPoint() const;

  /// @return 1 or 0.
  constexpr int empty() const { return right <= left || bottom <= top; }
  /// @return 1 when left <= x < right and top <= y < bottom, else 0.
  constexpr int PtInRect(const chPoint &point) const {
    return left <= point.x && point.x < right && top <= point.y && point.y < bottom;
  }
  /// @return 1 when widths and heights are equal, compared without wrapping, else 0.
  int IsSameSize(const chRect &other) const;

  constexpr int operator==(const chRect &other) const {
    return left == other.left && top == other.top && right == other.right && bottom == other.bottom;
  }
  constexpr int operator!=(const chRect &other) const { return !(*this == other); }

  /// Moves the rectangle.
  chRect &OffsetRect(int dx, int dy);
  chRect &OffsetRect(const chSize &distance);

  /// A moved copy.
  chRect operator+(const chPoint &distance) const;
  /// A copy with right and bottom moved; left and top stay. Settled: the two operators differ on purpose.
  chRect operator+(const chSize &growth) const;

  /// Moves the edges outward: by cx left and right, by cy top and bottom, or each by its own amount.
  chRect &InflateRect(int cx, int cy);
  chRect &InflateRect(int l, int t, int r, int b);
  /// Moves the edges inward; a rectangle too small for that becomes inverted.
  chRect &DeflateRect(int cx, int cy);
  chRect &DeflateRect(int l, int t, int r, int b);

  /// Sets width and height, or one of them; left and top stay.
  chRect &Resize(int w, int h);
  chRect &ResizeWidth(int w);
  chRect &ResizeHeight(int h);

  /// The intersection: the greater left and top, the lesser right and bottom. An empty result stays as computed,
  /// possibly inverted: chRect(0, 0, 5, 5) & chRect(10, 10, 20, 20) is (10, 10, 5, 5).
  chRect operator&(const chRect &other) const;
  chRect &operator&=(const chRect &other);

  /// The smallest rectangle around both; when one of them is empty, the other. When both are, `other`.
  chRect operator|(const chRect &other) const;
  chRect &operator|=(const chRect &other);

  int left;
  int top;
  int right;
  int bottom;
};

/// Modified copies; see the members of the same names.
ZAR_API chRect InflateRect(const chRect &rect, int l, int t, int r, int b);
ZAR_API chRect DeflateRect(const chRect &rect, int l, int t, int r, int b);
ZAR_API chRect OffsetRect(const chRect &rect, int dx, int dy);
ZAR_API chRect Resize(const chRect &rect, int w, int h);
ZAR_API chRect ResizeWidth(const chRect &rect, int w);
ZAR_API chRect ResizeHeight(const chRect &rect, int h);

/// A rectangle from its left and top edges, width and height.
ZAR_API chRect rectLTWH(int left, int top, int width, int height);

/// The least integer not below `x`; a value just below zero gives 0.0, not -0.0.
/// REQUIRES: x truncated fits an int.
ZAR_API double mathCeil(double x);
/// The greatest integer not above `x`. REQUIRES: it fits an int.
ZAR_API int mathFloor(double x);

/// The least multiple of `step` not below `x`, and the greatest not above it, computed with fmod().
/// REQUIRES: step is positive.
ZAR_API double mathCeil(double x, double step);
ZAR_API double mathFloor(double x, double step);

/// Rounds to a multiple of `step`: to the lower one while `x` is less than `threshold` above it, else to the upper one.
/// mathNear(x, s, s / 2) is ordinary rounding, with halves going up. REQUIRES: step is positive.
ZAR_API double mathNear(double x, double step, double threshold);

/// The same for integers: mathRound(x, 0.5) is ordinary rounding, with halves going up, for negative numbers too
/// (mathRound(-2.5, 0.5) is -2). REQUIRES: the result fits an int.
ZAR_API int mathRound(double x, double threshold);

/// Copies a rectangle of bytes from one grid to another, clipped to both grids and to `clip`.
///
/// A grid is rows of bytes; its width is also its stride. For wider pixels scale widths and x coordinates.
/// All rectangles are legal, even far outside the grids; positions are exact and do not wrap. One memcpy()
/// per row, top to bottom.
/// @param dst_pos    Where the rectangle's top left corner goes, in the destination.
/// @param src_pos    Where it comes from, in the source.
/// @param copy_size  Width in bytes and height in rows; a negative one copies nothing.
/// @param clip       In destination coordinates.
/// @return 1; 0 when nothing was left to copy, and no byte was written.
/// REQUIRES: grids of width times height bytes that do not overlap.
ZAR_API int zarClipMemcpy2D(void *dst, const chSize &dst_size, const void *src, const chSize &src_size,
                            const chPoint &dst_pos, const chPoint &src_pos, const chSize &copy_size,
                            const chRect &clip);

/// The same for the whole source, clipped to the whole destination.
ZAR_API int zarMemcpy2D(void *dst, const chSize &dst_size, const void *src, const chSize &src_size,
                        const chPoint &dst_pos);

extern ZAR_API const double doubleMAX; ///< the greatest finite double
extern ZAR_API const double doubleMIN; ///< the most negative finite double, not the smallest positive one
/// Settled: the bits 0x3030780000000000, about 1.42e-76, and no infinity; std::numeric_limits has one.
extern ZAR_API const double doubleINF;
extern ZAR_API const double doubleQNAN; ///< a quiet NaN with all bits set
