#include "zarlib/memory/var_args.h"

#include <gtest/gtest.h>

TEST(VarArgs, ViewsAndPrintsBytes) {
  const std::vector<unsigned char> bytes{1, 2, 3, 4, 5, 6};
  std::vector<unsigned char> out(6, 9);
  EXPECT_EQ(print(out.data(), chVarArgs(bytes.data() + 1, 4)), 4);
  EXPECT_EQ(out, (std::vector<unsigned char>{2, 3, 4, 5, 9, 9}));
  EXPECT_TRUE(byteof(chVarArgs(bytes)) == 6 && print(nullptr, chVarArgs(std::vector<unsigned char>())) == 0);
}
