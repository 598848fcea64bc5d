#include "zarlib/memory/var_args.h"

#include <gtest/gtest.h>

TEST(VarArgs, ViewsAndPrintsBytes) {
  const std::vector<unsigned char> bytes{1, 2, 3, 4, 5, 6};
  chVarArgs view(bytes);
  EXPECT_TRUE(view.c_data() == bytes.data() && byteof(view) == 6);
  view = chVarArgs(bytes.data() + 1, 4);
  std::vector<unsigned char> out(6, 9);
  EXPECT_EQ(print(out.data(), view), 4);
  EXPECT_EQ(out, (std::vector<unsigned char>{2, 3, 4, 5, 9, 9}));
  EXPECT_EQ(print(nullptr, chVarArgs(std::vector<unsigned char>())), 0);
}
