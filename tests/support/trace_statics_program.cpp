// Trace calls of static objects: trace_statics_program FOLDER, where its log file is "statics". Objects are destroyed
// in reverse order of construction, and the tracer is constructed between these two.
#include "zarlib/trace/trace.h"
#include "zarlib/trace/tracer_manager.h"

#include <filesystem>

static struct outlives_the_tracer {
  ~outlives_the_tracer() {
    uCTraceHelper &tracer = uCTraceHelper::getInstance();
    zarTrace(5, "late, nested %d", tracer.push_trace_level() + tracer.pop_trace_level());
    tracer.TraceToFileTrace("late for the file");
  }
} g_outlives;

static struct outlived_by_the_tracer {
  outlived_by_the_tracer() { zarTrace(5, "constructed"); }
  ~outlived_by_the_tracer() { zarTrace(5, "destroyed"); }
} g_outlived;

int main(int, char **argv) {
  std::filesystem::current_path(argv[1]);
  uCTraceHelper::getInstance().RedirectToFileTrace("statics", 100, 3);
  zarTrace(5, "main");
}
