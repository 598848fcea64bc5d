// TraceOutputOption: up to which level lines are written, and where to.
#pragma once

/// The setting of a process, or of the whole system; two words of a storage format.
///
/// In a process option, -1 in either word defers that word to the system option. A line passes if its level is not
/// above `level`, so lower numbers are more important.
struct TraceOutputOption {
  int level = -1;
  int method = -1; ///< 0 none, 1 console, 2 log file, 3 line store
};

static_assert(sizeof(TraceOutputOption) == 8, "a storage format");
