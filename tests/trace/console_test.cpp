#include "zarlib/trace/console.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"

#include <gmock/gmock.h>

TEST(Console, WritesToItsStreamUpToTheFirstNul) {
  const auto child = harness::run("trace_program", {".", "streams"});
  EXPECT_THAT(harness::lines_of(child.output), testing::ElementsAre("out", std::string(9000, 'y')));
  EXPECT_THAT(harness::lines_of(child.error),
              testing::ElementsAre(std::string(4095, 'x'), testing::MatchesRegex(R"(\[W:\] .*\..* \(.*:.*\) misuse)")));
}
