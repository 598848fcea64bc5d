#include "zarlib/trace/scope_tracers.h"

#include "tests/support/harness/files.h"
#include "zarlib/frame/process_identity.h"
#include "zarlib/trace/tracer_manager.h"

#include <gmock/gmock.h>

#include <array>
#include <functional>
#include <map>
#include <thread>

using testing::ElementsAre;
using testing::EndsWith;

namespace {

/// What the calls write to the line store, by thread and without prefixes.
std::map<std::string, std::vector<std::string>> lines_by_thread(const std::function<void(uCTraceHelper &)> &calls) {
  uCTraceHelper &tracer = uCTraceHelper::getInstance();
  tracer.RedirectToShareMemory();
  calls(tracer);
  tracer.ResetTraceLevel(-1);
  std::map<std::string, std::vector<std::string>> result;
  for (std::string line; tracer.ReadShareMemoryString(line);) {
    const size_t thread = line.find(':', line.find('+')) + 1, thread_end = line.find(']');
    const size_t text = line.find(' ', line.find('.', line.find('.') + 1)) + 1;
    result[line.substr(thread, thread_end - thread)].push_back(line.substr(text));
  }
  return result;
}

std::vector<std::string> lines_of(const std::function<void(uCTraceHelper &)> &calls) {
  return lines_by_thread(calls)[std::to_string(zarGetCurrentThreadId())];
}

} // namespace

TEST(ScopeTracers, CutNamesOutOfSignatures) {
  const std::string at_limit(259, 'n'), arguments(300, 'a');
  const std::array<std::string, 3> cases[] = {{"void __cdecl ns::f(int)", "ns::f", "ns::f(int)"},
                                              {"std::map<int, char> c<int,0>::f(std::vector<int> &, long) const",
                                               "c<int,0>::f", "c<int,0>::f(std::vector<int> &, long)"},
                                              {"void c<unsigned int>::f() [with T = int]", "int>::f", "int>::f()"},
                                              {"int c::operator()(int)", "c::operator", "c::operator()"},
                                              {"auto __cdecl main::<lambda_1>::operator ()(int) const", "", "()"},
                                              {"void (* g(int))(char)", "", "(* g(int)"},
                                              {"f(int", "f", "f(int"},
                                              {"no parenthesis)", "", ""},
                                              {"void " + at_limit + "(int)", at_limit, at_limit},
                                              {"void f(" + arguments + ")", "f", ("f(" + arguments).substr(0, 259)}};
  const auto lines_for = [](const char *signature) {
    return lines_of(
        [signature](auto &) { chTraceStack(9, signature, nullptr), chTraceStack(9, signature, "%s", "!"); });
  };
  for (const auto &[signature, bare, full] : cases)
    EXPECT_THAT(lines_for(signature.c_str()),
                ElementsAre("{ " + full, "  { " + bare + "!", "  } " + bare, "} " + full));
  EXPECT_THAT(lines_for(nullptr), ElementsAre("{ ", "  { !", "  } ", "} "));
  const auto own = lines_for([](int) { return __PRETTY_FUNCTION__; }(1));
  EXPECT_THAT(own,
              ElementsAre(EndsWith("::TestBody()"), EndsWith("::TestBody!"), EndsWith("::TestBody"), EndsWith("()")));
}

TEST(ScopeTracers, IndentByDepthAndCloseWhatWasOpened) {
  const auto lines = lines_of([](uCTraceHelper &tracer) {
    tracer.ResetTraceLevel(5);
    const chTraceStack outer(5, "void outer(int)", "(%d)", 1), silent(6, "void silent()", "%d", 2);
    const chTraceStack middle(-3, "void middle()", "");
    tracer.ResetTraceLevel(9);
    const chTraceStack inner(9, "void inner()", nullptr);
    tracer.ResetTraceLevel(-5);
    const chTraceStack late(5, "void late()", nullptr);
  });
  EXPECT_THAT(lines,
              ElementsAre("{ outer(1)", "  { middle()", "    { inner()", "    } inner()", "  } middle()", "} outer"));
}

TEST(ScopeTracers, KeepTheDepthsOfThreadsApart) {
  constexpr int threads = 6, rounds = 200;
  const auto lines = lines_by_thread([](auto &) {
    std::vector<std::thread> running;
    for (int i = 0; i < threads; ++i)
      running.emplace_back([] {
        for (int round = 0; round < rounds; ++round) {
          const chTraceStack outer(9, "void outer()", "%d", round), inner(9, "void inner()", nullptr);
        }
      });
    for (auto &thread : running) thread.join();
  });
  std::vector<std::string> expected;
  for (int i = 0; i < rounds; ++i)
    expected.insert(expected.end(), {"{ outer" + std::to_string(i), "  { inner()", "  } inner()", "} outer"});
  for (const auto &[thread, written] : lines) EXPECT_EQ(written, expected) << thread;
}

TEST(ScopeTracers, SimpleOnesGoToTheConsoleWithTheDepthAsAByte) {
  testing::internal::CaptureStdout();
  {
    const simpStackTracer outer("void outer()", nullptr);
    EXPECT_EQ(simpStackTracer::getDepth(), 1);
    const simpStackTracer inner("void inner(int)", "=%d", 5);
    simpStackTracer::getDepth() = 129;
    simpStackTracer(("void " + std::string(300, 'x') + "()").c_str(), nullptr);
    simpStackTracer::getDepth() = 2;
  }
  EXPECT_EQ(simpStackTracer::getDepth(), 0);
  const std::string two(32, '\x02'), name(259, 'x');
  EXPECT_THAT(harness::lines_of(testing::internal::GetCapturedStdout()),
              ElementsAre("", two + "{ inner=5", two + "{ " + name, two + "} " + name, two + "} inner", ""));
}
