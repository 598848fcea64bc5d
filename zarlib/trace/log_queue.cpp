#include "zarlib/trace/log_queue.h"

#include "zarlib/companion/qxstl.h"
#include "zarlib/frame/process_identity.h"
#include "zarlib/trace/spare_records.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdarg>
#include <cstring>
#include <memory>
#include <mutex>
#include <utility>

using namespace zar;

namespace {

constexpr int longest_wait = 10 * 24 * 60 * 60 * 1000;

/// Producers push onto a lock-free chain, newest record first. A consumer detaches the whole chain, reverses it and
/// appends it to the ready records.
class log_queue {
public:
  void put(TraceNode &record) {
    TraceNode *newest = m_newest.load(std::memory_order_relaxed);
    do link(record, newest);
    while (!m_newest.compare_exchange_weak(newest, &record, std::memory_order_seq_cst, std::memory_order_relaxed));
    if (m_asleep.load(std::memory_order_seq_cst) > 0) wake_one();
  }

  /// @return The oldest record, or null if there is none.
  TraceNode *take_one(int &left) {
    const std::lock_guard hold(m_taking);
    make_ready();
    if (!m_oldest) return nullptr;
    TraceNode *const record = &drop_oldest();
    left = m_ready;
    return record;
  }

  /// Replaces the contents of the list, reusing its nodes.
  void take_all(std::list<TraceNode *> &nodes) {
    const std::lock_guard hold(m_taking);
    make_ready();
    auto place = nodes.begin();
    for (; m_oldest && place != nodes.end(); ++place) *place = &drop_oldest();
    nodes.erase(place, nodes.end());
    while (m_oldest) {
      nodes.push_back(m_oldest);
      drop_oldest();
    }
  }

  /// Sleeps unless there is a record. A producer that sees no sleeper has pushed before this checks for records.
  void wait(int milliseconds) {
    std::unique_lock taking(m_taking);
    std::unique_lock sleeping(m_sleeping);
    ++m_sleepers;
    m_asleep.fetch_add(1, std::memory_order_seq_cst);
    const bool is_empty = !m_oldest && !m_newest.load(std::memory_order_seq_cst);
    taking.unlock();
    if (is_empty) m_wake.wait_for(sleeping, std::chrono::milliseconds(milliseconds));
    --m_sleepers;
    if (m_asleep > m_sleepers) m_asleep = m_sleepers;
  }

private:
  /// REQUIRES, like drop_oldest(): m_taking is held.
  void make_ready() {
    TraceNode *const newest = m_newest.exchange(nullptr, std::memory_order_acquire);
    if (!newest) return;
    TraceNode *newer = nullptr;
    for (TraceNode *record = newest; record; ++m_ready) {
      TraceNode *const older = linked_to(*record);
      link(*record, newer);
      newer = std::exchange(record, older);
    }
    if (m_oldest)
      link(*m_last, newer);
    else
      m_oldest = newer;
    m_last = newest;
  }

  TraceNode &drop_oldest() {
    TraceNode &record = *m_oldest;
    m_oldest = linked_to(record);
    record.sequence = ++m_count;
    --m_ready;
    return record;
  }

  void wake_one() {
    const std::lock_guard hold(m_sleeping);
    if (m_asleep == 0) return;
    --m_asleep;
    m_wake.notify_one();
  }

  // What producers touch is kept on other cache lines than the consumers' own data.
  alignas(64) std::atomic<TraceNode *> m_newest{nullptr};
  std::atomic<int> m_asleep{0}; ///< sleepers not yet woken by a producer; changed under m_sleeping
  int m_sleepers = 0;
  std::mutex m_sleeping; ///< held only for a few instructions, so a producer may take it

  alignas(64) std::mutex m_taking; ///< guards the four below; taken before m_sleeping
  TraceNode *m_oldest = nullptr, *m_last = nullptr;
  unsigned long long m_count = 0;
  int m_ready = 0;
  std::condition_variable m_wake;
};

/// Never destroyed: static destructors add and take records too.
struct facility {
  spare_records spare;
  log_queue queue;

  static facility &get() {
    static facility &made = *new facility;
    return made;
  }

  /// Adds a record with the current time and thread to the queue; `fill_texts` sets its texts.
  template <class Filler>
  void put(char letter, int number, Filler fill_texts) {
    const unsigned long thread = zarGetCurrentThreadId();
    auto record = spare.take(thread);
    record->number = std::max(number, 0);
    record->letter = letter;
    record->thread = thread;
    fill_texts(*record);
    zarGetLocalTime(&record->time);
    queue.put(*record.release());
  }
};

char letter_of(int level) {
  switch (level) {
  case 3:
    return 'E';
  case 4:
    return 'W';
  case 5:
    return 'N';
  case 7:
    return 'D';
  case 9:
    return 'T';
  default:
    return 'I';
  }
}

} // namespace

void qxTrace(char letter, const std::string &module, const std::string &text, int number) {
  facility::get().put(letter, number, [&](TraceNode &record) {
    record.module = module;
    record.text = text;
  });
}

int qxGetLog(TraceNode &node) {
  facility &log = facility::get();
  int left = -1;
  TraceNode *const record = log.queue.take_one(left);
  if (!record) return left;
  // Settled, callers rely on it: a text ends at its first NUL here, and nowhere else.
  for (std::string *const text : {&record->module, &record->text}) text->resize(std::strlen(text->c_str()));
  std::swap(node, *record); // a copy could fail, and the record has left the queue
  record->thread = node.thread;
  log.spare.give_back(*record);
  return left;
}

int qxGetLog(std::list<TraceNode *> &nodes, int milliseconds) {
  facility &log = facility::get();
  std::list<TraceNode *> places;
  places.swap(nodes);
  log.spare.give_back(places);
  if (milliseconds > 0) log.queue.wait(std::min(milliseconds, longest_wait));
  nodes.swap(places);
  log.queue.take_all(nodes);
  return static_cast<int>(nodes.size());
}

// Settled, callers rely on it: there is nothing to switch on.
void qxEnableDebugOutput() {}

void zarEncryptTrace(int level, int number, const char *module, const char *format, ...) {
  va_list args;
  va_start(args, format);
  facility::get().put(letter_of(level), number, [&](TraceNode &record) {
    record.module = module ? module : "";
    qx::format_string_v(record.text, format, args);
  });
  va_end(args);
}
