#include "zarlib/time/geometry.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>

using zar::wrapping_add;
using zar::wrapping_subtract;

const double doubleMAX = std::bit_cast<double>(std::uint64_t{0x7FEFFFFFFFFFFFFF});
const double doubleMIN = std::bit_cast<double>(std::uint64_t{0xFFEFFFFFFFFFFFFF});
// Settled, callers rely on it: no infinity.
const double doubleINF = std::bit_cast<double>(std::uint64_t{0x3030780000000000});
const double doubleQNAN = std::bit_cast<double>(std::uint64_t{0xFFFFFFFFFFFFFFFF});

chRect &chRect::SetRect(int l, int t, int r, int b) { return *this = chRect(l, t, r, b); }

chRect &chRect::SetEmpty() { return *this = chRect(); }

chPoint chRect::CenterPoint() const {
  const auto half = [](long long sum) { return static_cast<int>(sum / 2); };
  return {half(0LL + left + right), half(0LL + top + bottom)};
}

int chRect::IsSameSize(const chRect &other) const {
  return 0LL + left + other.right == 0LL + right + other.left && 0LL + top + other.bottom == 0LL + bottom + other.top;
}

chRect &chRect::OffsetRect(int dx, int dy) {
  return InflateRect(wrapping_subtract(0, dx), wrapping_subtract(0, dy), dx, dy);
}

chRect &chRect::OffsetRect(const chSize &distance) { return OffsetRect(distance.width, distance.height); }

chRect chRect::operator+(const chPoint &distance) const { return ::OffsetRect(*this, distance.x, distance.y); }

chRect chRect::operator+(const chSize &growth) const { return ::InflateRect(*this, 0, 0, growth.width, growth.height); }

chRect &chRect::InflateRect(int cx, int cy) { return InflateRect(cx, cy, cx, cy); }

chRect &chRect::InflateRect(int l, int t, int r, int b) {
  return SetRect(wrapping_subtract(left, l), wrapping_subtract(top, t), wrapping_add(right, r),
                 wrapping_add(bottom, b));
}

chRect &chRect::DeflateRect(int cx, int cy) { return DeflateRect(cx, cy, cx, cy); }

chRect &chRect::DeflateRect(int l, int t, int r, int b) {
  return SetRect(wrapping_add(left, l), wrapping_add(top, t), wrapping_subtract(right, r),
                 wrapping_subtract(bottom, b));
}

chRect &chRect::Resize(int w, int h) { return *this = chRect(TopLeft(), chSize(w, h)); }

chRect &chRect::ResizeWidth(int w) { return Resize(w, Height()); }

chRect &chRect::ResizeHeight(int h) { return Resize(Width(), h); }

chRect chRect::operator&(const chRect &other) const {
  return {std::max(left, other.left), std::max(top, other.top), std::min(right, other.right),
          std::min(bottom, other.bottom)};
}

chRect &chRect::operator&=(const chRect &other) { return *this = *this & other; }

chRect chRect::operator|(const chRect &other) const {
  if (empty()) return other;
  if (other.empty()) return *this;
  return {std::min(left, other.left), std::min(top, other.top), std::max(right, other.right),
          std::max(bottom, other.bottom)};
}

chRect &chRect::operator|=(const chRect &other) { return *this = *this | other; }

chRect InflateRect(const chRect &rect, int l, int t, int r, int b) { return chRect(rect).InflateRect(l, t, r, b); }

chRect DeflateRect(const chRect &rect, int l, int t, int r, int b) { return chRect(rect).DeflateRect(l, t, r, b); }

chRect OffsetRect(const chRect &rect, int dx, int dy) { return chRect(rect).OffsetRect(dx, dy); }

chRect Resize(const chRect &rect, int w, int h) { return chRect(rect).Resize(w, h); }

chRect ResizeWidth(const chRect &rect, int w) { return chRect(rect).ResizeWidth(w); }

chRect ResizeHeight(const chRect &rect, int h) { return chRect(rect).ResizeHeight(h); }

chRect rectLTWH(int left, int top, int width, int height) { return {chPoint(left, top), chSize(width, height)}; }

namespace {

/// Truncates towards zero; what does not fit an int becomes INT_MIN, as in the processor's conversion.
int truncated(double x) { return x > INT_MIN - 1.0 && x < INT_MAX + 1.0 ? static_cast<int>(x) : INT_MIN; }

} // namespace

double mathCeil(double x) {
  const int t = truncated(x);
  return x > t ? t + 1.0 : t;
}

int mathFloor(double x) {
  const int t = truncated(x);
  return x >= t ? t : wrapping_subtract(t, 1);
}

double mathCeil(double x, double step) {
  const double r = x - std::fmod(x, step);
  return x > r ? r + step : r;
}

double mathFloor(double x, double step) {
  const double r = x - std::fmod(x, step);
  return x >= r ? r : r - step;
}

double mathNear(double x, double step, double threshold) {
  const double r = mathFloor(x, step);
  return x - r >= threshold ? r + step : r;
}

int mathRound(double x, double threshold) {
  const int f = mathFloor(x);
  return x - f >= threshold ? wrapping_add(f, 1) : f;
}

namespace {

/// The part of a line of `length` steps, copied from one position to another, that is legal in both.
struct clipped_line {
  long long first;
  long long count; ///< 0 or less when nothing is left
};

/// A step i is legal when 0 <= from + i < from_end, 0 <= to + i < to_end, and clip_start <= to + i < clip_end.
clipped_line clip_line(int length, int from, int from_end, int to, int to_end, int clip_start, int clip_end) {
  const long long first = std::max({0LL, -1LL * from, std::max(0LL, 0LL + clip_start) - to});
  const long long end = std::min({0LL + length, 0LL + from_end - from, 0LL + std::min(to_end, clip_end) - to});
  return {first, end - first};
}

} // namespace

int zarClipMemcpy2D(void *dst, const chSize &dst_size, const void *src, const chSize &src_size, const chPoint &dst_pos,
                    const chPoint &src_pos, const chSize &copy_size, const chRect &clip) {
  const clipped_line columns =
      clip_line(copy_size.width, src_pos.x, src_size.width, dst_pos.x, dst_size.width, clip.left, clip.right);
  const clipped_line rows =
      clip_line(copy_size.height, src_pos.y, src_size.height, dst_pos.y, dst_size.height, clip.top, clip.bottom);
  if (columns.count <= 0 || rows.count <= 0) return 0;

  const auto at = [&](const chSize &size, const chPoint &pos) {
    return static_cast<size_t>((pos.y + rows.first) * size.width + pos.x + columns.first);
  };
  auto *to = static_cast<unsigned char *>(dst) + at(dst_size, dst_pos);
  const auto *from = static_cast<const unsigned char *>(src) + at(src_size, src_pos);
  for (long long row = 0; row < rows.count; ++row) {
    std::memcpy(to, from, static_cast<size_t>(columns.count));
    to += dst_size.width;
    from += src_size.width;
  }
  return 1;
}

int zarMemcpy2D(void *dst, const chSize &dst_size, const void *src, const chSize &src_size, const chPoint &dst_pos) {
  return zarClipMemcpy2D(dst, dst_size, src, src_size, dst_pos, chPoint(), src_size,
                         chRect(0, 0, dst_size.width, dst_size.height));
}
