#include "zarlib/memory/share_string.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

struct block {
  struct text : baseShareStringA {
    using baseShareStringA::set_Text;
  } strings[3];
  alignas(4) char records[3][16];

  void put(int i, const char *value) {
    auto *const record = reinterpret_cast<baseShareTextA *>(records[i]);
    record->length = static_cast<int>(std::strlen(value));
    std::strcpy(record->text(), value);
    strings[i].set_Text(record);
  }
};

} // namespace

TEST(ShareString, ReadsAndComparesTextsOfItsBlock) {
  block b;
  EXPECT_STREQ(b.strings[0].c_str(), "");
  EXPECT_TRUE(b.strings[0].length() == 0 && b.strings[0].empty() && b.strings[0] == b.strings[1]);
  b.put(0, "beta");
  b.put(1, "Beta");
  b.put(2, "");
  EXPECT_STREQ(b.strings[0].c_ptr(), "beta");
  EXPECT_EQ(b.strings[0].length(), 4);
  EXPECT_TRUE(!b.strings[0].empty() && b.strings[2].empty());
  EXPECT_TRUE(b.strings[0] != b.strings[1] && b.strings[0] > b.strings[1] && b.strings[2] < b.strings[1]);
  EXPECT_EQ(std::memcmp(b.records[0], "\4\0\0\0beta", 9), 0);
}

TEST(ShareString, AssignmentTakesTheStoredNumberAsItStands) {
  block b;
  b.put(0, "first");
  b.strings[1] = b.strings[0];
  EXPECT_EQ(std::memcmp(&b.strings[0], &b.strings[1], 4), 0);
  EXPECT_EQ(b.strings[1].c_str(), b.strings[0].c_str() + 4);
}
