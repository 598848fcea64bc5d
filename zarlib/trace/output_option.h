// TraceOutputOption: from which level on lines are written, and where to.
#pragma once

/// The choice of a process, or of the whole system; two words of a storage format.
///
/// In the option of a process -1 in either word leaves that word to the system's option. A line passes when its level is not
/// above `level`, so small numbers are the more important.
struct TraceOutputOption {
  int level = -1;
  int method = -1; ///< 0 none, 1 console, 2 log file, 3 line store
};

static_assert(sizeof(TraceOutputOption) == 8, "a storage format");
