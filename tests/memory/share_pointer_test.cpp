#include "zarlib/memory/share_pointer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

namespace {
std::uint32_t stored(const share_pointer &p) {
  std::uint32_t value;
  std::memcpy(&value, &p, sizeof value);
  return value;
}
} // namespace

TEST(SharePointer, StoresTheDistanceAndKeepsTheTargetWhenCopied) {
  share_pointer words[4];
  EXPECT_EQ(stored(words[0]), 0xFFFFFFFFu);
  EXPECT_TRUE(!words[0].hasData() && words[0].pointer() == nullptr && words[0] == words[1]);

  const struct {
    int at, target;
    std::uint32_t value;
  } cases[] = {{0, 0, 0}, {0, 3, 12}, {3, 0, 0xFFFFFFF4}};
  for (const auto &c : cases) {
    words[c.at].setPointer(&words[c.target]);
    EXPECT_EQ(stored(words[c.at]), c.value);
    EXPECT_TRUE(words[c.at].hasData());
    EXPECT_EQ(words[c.at].pointer(), &words[c.target]);
  }
  words[1] = words[3];
  EXPECT_EQ(stored(words[1]), 0xFFFFFFFCu);
  EXPECT_TRUE(words[1] == words[3]);
  EXPECT_FALSE(words[1] == words[2]);
  words[1] = share_pointer();
  EXPECT_FALSE(words[1].hasData());
}

TEST(SharePointer, RefusesATargetThatItsWordCannotReach) {
  share_pointer pointer;
  const std::uintptr_t far = reinterpret_cast<std::uintptr_t>(&pointer) + 0x80000000u;
  pointer.setPointer(reinterpret_cast<void *>(far));
  EXPECT_EQ(pointer.pointer(), sizeof(void *) == 4 ? reinterpret_cast<void *>(far) : nullptr);
}
