#include "zarlib/time/geometry.h"

#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace {

std::uint64_t bits(double x) { return std::bit_cast<std::uint64_t>(x); }

bool same(const chRect &a, const chRect &b) { return a == b && !(a != b); }

} // namespace

TEST(Geometry, ConstantsHaveTheirBits) {
  EXPECT_TRUE(bits(doubleMAX) == 0x7FEFFFFFFFFFFFFF && bits(doubleMIN) == 0xFFEFFFFFFFFFFFFF);
  EXPECT_TRUE(bits(doubleINF) == 0x3030780000000000 && bits(doubleQNAN) == 0xFFFFFFFFFFFFFFFF);
}

TEST(Geometry, RectanglesAreMovedGrownAndJoined) {
  const chRect r(1, 2, 6, 9), none;
  EXPECT_TRUE(same(chRect(chPoint(1, 2), chSize(5, 7)), r) && same(rectLTWH(1, 2, 5, 7), r));
  EXPECT_TRUE(same(chRect(0, 0, 5, 5) & chRect(10, 10, 20, 20), {10, 10, 5, 5}));
  EXPECT_TRUE(same(chRect(r) &= {2, 0, 9, 8}, {2, 2, 6, 8}) && same(chRect(r) |= {0, 5, 3, 11}, {0, 2, 6, 11}));
  EXPECT_TRUE(same(none | r, r) && same(r | chRect(3, 3, 3, 99), r) && same(chRect(5, 5, 5, 5) | none, none));
  EXPECT_TRUE(same(r + chSize(3, 4), {1, 2, 9, 13}) && same(r + chPoint(3, 4), {4, 6, 9, 13}));
  EXPECT_TRUE(same(chRect(r).OffsetRect(chSize(9, -9)), {10, -7, 15, 0}) && same(OffsetRect(r, 0, 1), {1, 3, 6, 10}));
  EXPECT_TRUE(same(OffsetRect({0, 0, 1, 1}, INT_MIN, INT_MAX), {INT_MIN, INT_MAX, INT_MIN + 1, INT_MIN})) << "wraps";
  EXPECT_TRUE(same(chRect(r).InflateRect(1, 2), {0, 0, 7, 11}) && same(InflateRect(r, 1, 2, 3, 4), {0, 0, 9, 13}));
  EXPECT_TRUE(same(chRect(r).DeflateRect(3, 1), {4, 3, 3, 8}) && same(DeflateRect(r, 1, 2, 3, 4), {2, 4, 3, 5}));
  EXPECT_TRUE(same(Resize(r, 1, -1), {1, 2, 2, 1}) && same(ResizeWidth(r, 0), {1, 2, 1, 9}));
  EXPECT_TRUE(same(ResizeHeight(r, INT_MAX), {1, 2, 6, INT_MIN + 1}) && same(chRect(r).SetEmpty(), none));
}

TEST(Geometry, AnswersAboutPointsAndRectangles) {
  const chRect r(1, 1, 3, 3), vast(INT_MIN, INT_MIN, INT_MAX, INT_MAX);
  EXPECT_TRUE(r.PtInRect({2, 2}) && r.PtInRect({1, 1}) && !r.PtInRect({3, 2}) && !r.PtInRect({2, 3}));
  EXPECT_TRUE(chRect(5, 0, 5, 9).empty() && chRect(9, 0, 5, 9).empty() && chRect(0, 9, 5, 8).empty() && !r.empty());
  EXPECT_TRUE(r.Size() == chSize(2, 2) && r.BottomRight() == chPoint(3, 3) && vast.Width() == -1);
  EXPECT_TRUE(chRect(-3, 0, 0, 0).CenterPoint() == chPoint(-1, 0));
  EXPECT_TRUE(chRect(INT_MAX, INT_MIN, INT_MAX, INT_MIN).CenterPoint() == chPoint(INT_MAX, INT_MIN));
  EXPECT_TRUE(r.IsSameSize({-2, 5, 0, 7}) && !r.IsSameSize({0, 0, 2, 3}) && !vast.IsSameSize({0, 0, -1, -1}));
  EXPECT_TRUE(-chPoint(1, INT_MIN) == chPoint(-1, INT_MIN) && -chSize(INT_MIN, 2) == chSize(INT_MIN, -2));
  const chPointF odd = -chPointF(0.0, doubleQNAN);
  EXPECT_TRUE(bits(odd.x) == 0x8000000000000000 && bits(odd.y) == 0x7FFFFFFFFFFFFFFF);
  EXPECT_TRUE(odd != odd && !(odd == odd) && chPointF(0.0, 1) == chPointF(-0.0, 1));
}

TEST(Geometry, RoundsAtHalvesBelowZeroAndAtTheEnds) {
  std::mt19937 random(1);
  for (int i = 0; i < 100000; ++i) {
    const double x = static_cast<int>(random()) / (i % 3 ? 8.0 : 8e6);
    ASSERT_TRUE(mathCeil(x) == std::ceil(x) && mathFloor(x) == std::floor(x)) << x;
    ASSERT_TRUE(mathCeil(x, 0.25) == std::ceil(x * 4) / 4 && mathFloor(x, 8) == std::floor(x / 8) * 8) << x;
    ASSERT_TRUE(mathNear(x, 2, 1) == std::floor((x + 1) / 2) * 2 && mathRound(x, 0.5) == std::floor(x + 0.5)) << x;
  }
  EXPECT_TRUE(mathCeil(2147483646.5) == 2147483647.0 && mathCeil(2147483647.5) == 2147483648.0);
  EXPECT_TRUE(mathFloor(-2147483647.5) == INT_MIN && mathRound(2147483646.5, 0.5) == INT_MAX);
  EXPECT_TRUE(mathRound(2.75, 0.8) == 2 && mathRound(2.85, 0.8) == 3 && mathNear(4.9, 2.0, 1.0) == 4.0);
  EXPECT_TRUE(bits(mathCeil(-0.5)) == 0 && mathFloor(799.5, 0.21) < 799.47) << "no negative zero; rounded once";
}

TEST(Geometry, CopiesWhatAByteByByteCopyDoes) {
  std::mt19937 random(1);
  const int extremes[] = {INT_MIN, INT_MIN + 3, -1000000, 1000000, INT_MAX - 3, INT_MAX};
  const auto any = [&] { return random() % 16 ? static_cast<int>(random() % 14) - 4 : extremes[random() % 6]; };
  const auto side = [&] { return static_cast<int>(random() % 11) - 1; };
  std::vector<unsigned char> src(200), dst(200);
  for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<unsigned char>(i + 1);
  int copies = 0;
  for (int i = 0; i < 50000; ++i) {
    const bool whole = i % 4 == 0; // the shorter overload
    const chSize src_size(side(), side()), dst_size(side(), side()), size(whole ? src_size : chSize(any(), any()));
    const chPoint to(any(), any()), from(whole ? chPoint() : chPoint(any(), any()));
    const chRect clip = whole ? chRect({}, dst_size) : chRect(side(), any(), any(), any());
    auto expected = dst = std::vector<unsigned char>(200);
    int result = 0;
    for (long long y = 0; y < dst_size.height; ++y)
      for (long long x = 0; x < dst_size.width; ++x) {
        const long long column = x - to.x, row = y - to.y, sx = from.x + column, sy = from.y + row;
        if (!clip.PtInRect({int(x), int(y)}) || column < 0 || column >= size.width || row < 0 || row >= size.height)
          continue;
        if (sx < 0 || sx >= src_size.width || sy < 0 || sy >= src_size.height) continue;
        expected[50 + y * dst_size.width + x] = src[50 + sy * src_size.width + sx];
        result = 1;
      }
    ASSERT_EQ(whole ? zarMemcpy2D(&dst[50], dst_size, &src[50], src_size, to)
                    : zarClipMemcpy2D(&dst[50], dst_size, &src[50], src_size, to, from, size, clip),
              result);
    ASSERT_EQ(dst, expected);
    copies += result;
  }
  EXPECT_GT(copies, 1000);
}
