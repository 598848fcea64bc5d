// Lines at the entry and at the end of a scope, indented by how deep the calls are.
//
//     int parser::read(const char *file, int limit) {
//       chTraceStack scope(9, __PRETTY_FUNCTION__, "(%s, %d)", file, limit);
//       ...                                                          // [D:Who?+...] ... { parser::read(a.xml, 5)
//     }                                                              // [D:Who?+...] ... } parser::read
//
// The signature is the function's whole one, as __PRETTY_FUNCTION__ and __FUNCSIG__ give it. What is shown of it starts behind the
// last blank in front of its first "(": with a format up to that "(", without one up to the first ")" behind it.
//
//     void __cdecl ns::f(int)              ns::f              ns::f(int)
//     T ns::g(T) [with T = int]            ns::g              ns::g(T)
//     int c::operator()(int) const         c::operator        c::operator()
//     void c<unsigned int>::h()            int>::h            int>::h()
//     no parenthesis                       (nothing)          (nothing)
//
// A name of more than 259 bytes is cut there. A format that is null or empty counts as none.
//
// An object ends on the thread that made it, in a scope of its own: copies write a closing line each.
#pragma once

#include "zarlib/export.h"
#include "zarlib/trace/level_test.h"

#include <cstdarg>

/// Writes through the tracer, at a level: "{ " and the name, and what the format gives right behind it; "} " and the name at the
/// end. Two blanks in front for each scope around it on this thread.
///
/// A scope whose opening line was written writes its closing line, whatever the level is by then; the others write nothing and
/// count for nothing. With GCC and optimisation one of those costs what a trace line does that is not written, two loads and a
/// comparison, and at its end a look at its flag; elsewhere it costs two calls.
class ZAR_API chTraceStack {
public:
#if defined(__GNUC__) && !defined(__clang__) && defined(__OPTIMIZE__) && !defined(ZARLIB_BUILDING)
  [[gnu::gnu_inline, gnu::always_inline, gnu::artificial]] inline chTraceStack(int level, const char *signature,
                                                                               const char *format, ...)
      : m_active(0) {
    if (!zarTraceLevelTest::fails(level)) open(level, signature, format, __builtin_va_arg_pack());
  }
  [[gnu::gnu_inline, gnu::always_inline, gnu::artificial]] inline ~chTraceStack() {
    if (m_active) close();
  }
#else
  chTraceStack(int level, const char *signature, const char *format, ...) ZAR_PRINTF(4, 5);
  ~chTraceStack();
#endif
  chTraceStack(const chTraceStack &) = default;
  chTraceStack &operator=(const chTraceStack &) = default;

private:
  void open(int level, const char *signature, const char *format, ...) ZAR_PRINTF(4, 5);
  void open_formatted(int level, const char *signature, const char *format, va_list args);
  void close();

  int m_active; ///< not 0 when the opening line was written
  char m_name[260];
};

/// Writes straight to standard output, as consoleWriteString() does, whatever the levels are.
///
/// In front of the brace stand 32 bytes of the value 2 times the depth. The console ends a line at its first NUL, so the lines of
/// the outermost scope are EMPTY there. The depth is one number for the whole process: with several threads it is no more than a
/// hint.
class ZAR_API simpStackTracer {
public:
  simpStackTracer(const char *signature, const char *format, ...) ZAR_PRINTF(3, 4);
  simpStackTracer(const simpStackTracer &) = default;
  simpStackTracer &operator=(const simpStackTracer &) = default;
  ~simpStackTracer();

  /// @return The number of scopes that are open.
  static int &getDepth();

private:
  char m_name[260];
};
