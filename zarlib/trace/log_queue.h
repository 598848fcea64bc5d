// Log records in memory: any thread puts them in, the application takes them out and does with them what it likes.
//
//     qxTrace('W', "M:net", "slow answer", port);              // any thread
//     zarEncryptTrace(3, port, "M:net", "lost %s", name);      // the same with a format: letter E
//
//     std::list<TraceNode *> batch;                            // the application's own thread
//     while (running) {
//       qxGetLog(batch, 500);                                  // waits for records, frees the batch before
//       for (const TraceNode *record : batch) store(*record);
//     }
//     qxGetLog(batch, 0);                                      // what came last; qxGetLog() again, or the caller, frees it
//
// This is apart from trace.h: no level is tested here, no output written, no line made. There is one queue in a process, which
// serves until the process has ended; what nobody has taken by then is lost. It has no limit: records that nobody takes pile up.
//
// Any thread may call any function. A producer never waits for a consumer: putting a record in is one compare-and-swap, and where a
// consumer waits also what it takes to wake it. Consumers wait for each other.
#pragma once

#include "zarlib/export.h"
#include "zarlib/platform/types.h"

#include <list>
#include <string>

/// A log record. One that came by pointer belongs to whoever holds it, and goes with `delete`.
struct TraceNode {
  int number = 0; ///< the producer's own; never negative
  unsigned long long sequence =
      0; ///< its place among all records of the process: 1, 2, 3 and so on, in the order of the queue
  char letter = 0;
  std::string module; ///< who speaks
  std::string text;
  SYSTEMTIME time = {}; ///< local, when the record was made
  unsigned long thread = 0;
};

/// Puts a record of this moment and this thread into the queue, and wakes one consumer that waits.
/// @param letter  By convention E, W, N, D, T or I, as zarEncryptTrace() gives them.
/// @param number  Below 0 it is stored as 0.
ZAR_API void qxTrace(char letter, const std::string &module, const std::string &text, int number);

/// Takes the oldest record. Never waits for one.
/// @param node  Receives it, each text up to its first NUL; left as it is when the queue is empty.
/// @return How many records are left; -1 when the queue was empty.
ZAR_API int qxGetLog(TraceNode &node);

/// Takes all records, oldest first: a pass over them that sets links, and for each its place in the list, where the batch before has
/// not left one. Records and places of that batch serve again, so a steady flow allocates nothing.
/// @param nodes         DELETES the records that it holds, then receives the new ones: hand the batch before back in it.
///                      To keep a record, leave null in its place.
/// @param milliseconds  How long to wait for a first record, once and for no more than 10 days; 0 and below not at all. It may
///                      come back early without any, as where several consumers wait and another was faster.
/// @return How many there are, 0 included.
ZAR_API int qxGetLog(std::list<TraceNode *> &nodes, int milliseconds);

/// Has no effect.
ZAR_API void qxEnableDebugOutput();

/// Formats a text as printf does and puts it into the queue as qxTrace() does; nothing is encrypted, and every level passes.
/// @param level   3, 4, 5, 7 and 9 give the letters E, W, N, D and T, all others I.
/// @param module  null means an empty text.
ZAR_API void zarEncryptTrace(int level, int number, const char *module, const char *format, ...) ZAR_PRINTF(4, 5);
