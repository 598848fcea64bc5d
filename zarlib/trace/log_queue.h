// Log records in memory: any thread adds them, and the application takes them out and does with them as it likes.
//
//     qxTrace('W', "M:net", "slow answer", port);              // any thread
//     zarEncryptTrace(3, port, "M:net", "lost %s", name);      // the same with a format: letter E
//
//     std::list<TraceNode *> batch;                            // the application's own thread
//     while (running) {
//       qxGetLog(batch, 500);                                  // waits for records, frees the previous batch
//       for (const TraceNode *record : batch) store(*record);
//     }
//     qxGetLog(batch, 0);                                      // the last ones; freed by the next call or the caller
//
// Independent of trace.h: no level is checked, no output written, no line formatted. The process has one queue, usable
// until the process ends; records not taken by then are lost. It is unbounded: records that nobody takes accumulate.
//
// Any thread may call any function. A producer never waits for a consumer: adding a record is one compare-and-swap,
// plus a wake-up if a consumer is waiting. Consumers are serialised.
#pragma once

#include "zarlib/export.h"
#include "zarlib/platform/types.h"

#include <list>
#include <string>

/// A log record. One received by pointer is owned by its holder, who frees it with `delete`.
struct TraceNode {
  int number = 0;                  ///< the producer's own number; never negative
  unsigned long long sequence = 0; ///< its position among all records of the process: 1, 2, 3 and so on, in queue order
  char letter = 0;
  std::string module; ///< the source of the message
  std::string text;
  SYSTEMTIME time = {}; ///< local time at which the record was made
  unsigned long thread = 0;
};

/// Adds a record with the current time and thread to the queue, and wakes one waiting consumer.
/// @param letter  By convention E, W, N, D, T or I, as zarEncryptTrace() sets them.
/// @param number  Stored as 0 if below 0.
ZAR_API void qxTrace(char letter, const std::string &module, const std::string &text, int number);

/// Takes the oldest record. Never waits for one to arrive.
/// @param node  Receives it, each text up to its first NUL; unchanged if the queue is empty.
/// @return The number of records left; -1 if the queue was empty.
ZAR_API int qxGetLog(TraceNode &node);

/// Takes all records, oldest first. Costs one pass that sets links, and a list node for each record that the previous
/// batch left none for: records and list nodes of that batch are reused, so a steady flow does not allocate.
/// @param nodes         DELETES the records that it holds, then receives the new ones: pass the previous batch back in
///                      it. To keep a record, set its pointer to null.
/// @param milliseconds  Time-out for the first record, at most 10 days; 0 and below do not wait. The call waits once
///                      and may return early with no record, for example if another waiting consumer was faster.
/// @return The number of records; may be 0.
ZAR_API int qxGetLog(std::list<TraceNode *> &nodes, int milliseconds);

/// Has no effect.
ZAR_API void qxEnableDebugOutput();

/// qxTrace() with a text formatted as printf does; nothing is encrypted, and every level passes.
/// @param level   3, 4, 5, 7 and 9 give the letters E, W, N, D and T; any other gives I.
/// @param module  Null counts as empty.
ZAR_API void zarEncryptTrace(int level, int number, const char *module, const char *format, ...) ZAR_PRINTF(4, 5);
