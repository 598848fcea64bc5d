#include "zarlib/trace/tracer_block.h"

#include "zarlib/frame/process_identity.h"
#include "zarlib/trace/option_text.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <utility>

void chSystemTracerManager::check_layout() {
  using block = chSystemTracerManager;
  static_assert(sizeof(block) == pool_offset && sizeof(process_record) == 20 && sizeof(line_record) == 12);
  static_assert(offsetof(block, m_header) == 0 && offsetof(block, m_pool) == 8 &&
                offsetof(block, m_systemOption) == 24);
  static_assert(offsetof(block, m_processCount) == 32 && offsetof(block, m_processes) == 36 &&
                offsetof(block, m_unused) == 44);
  static_assert(offsetof(block, m_lineCount) == 48 && offsetof(block, m_lines) == 52);
  static_assert(offsetof(block, m_spilledBytes) == 60 && offsetof(block, m_pSpilled) == 64);
  static_assert(pool_size == 2097064);
}

chSystemTracerManager::chSystemTracerManager()
    : m_processCount(0), m_lineCount(0), m_spilledBytes(0), m_pSpilled(nullptr) {
  m_header.InitHeader(block_size, block_version);
  m_pool.init_pool(reinterpret_cast<unsigned char *>(this) + pool_offset, pool_size);
  m_systemOption = {std::numeric_limits<int>::max(), zar::output_console};
  zar::read_option_text(std::getenv("systrace"), m_systemOption, nullptr);
}

void chSystemTracerManager::drop_dead_processes() {
  for (list_chain_offset *node = m_processes.get_pNext(); node != &m_processes;) {
    auto *const record = static_cast<process_record *>(node);
    node = node->get_pNext();
    if (zarIsValidProcessID(record->process)) continue;
    chain_unlink(*record);
    --m_processCount;
    m_pool.free(record);
  }
}

TraceOutputOption *chSystemTracerManager::renew_process_option(unsigned long process) {
  list_chain_offset *node = m_processes.get_pNext();
  while (node != &m_processes && static_cast<process_record *>(node)->process < process) node = node->get_pNext();
  auto *record = static_cast<process_record *>(node);
  if (node == &m_processes || record->process != process) {
    if (!make_room(sizeof(process_record))) return nullptr;
    record = new (m_pool.alloc(sizeof(process_record))) process_record;
    record->process = static_cast<unsigned>(process);
    chain_insert_before(*node, *record);
    ++m_processCount;
  }
  zar::store_word(record->option.level, zar::from_system);
  zar::store_word(record->option.method, zar::from_system);
  return &record->option;
}

bool chSystemTracerManager::store_line(std::string_view text) {
  // A request for the pool's full size always fails, so a longer one can be clamped to it.
  const auto bytes = static_cast<int>(std::min(text.size() + sizeof(line_record), size_t{pool_size}));
  if (!make_room(bytes)) return false;
  auto *const record = new (m_pool.alloc(bytes)) line_record;
  record->length = static_cast<int>(text.size());
  std::memcpy(record->text(), text.data(), text.size());
  chain_insert_before(m_lines, *record);
  ++m_lineCount;
  return true;
}

bool chSystemTracerManager::take_spilled(std::string &text, int &bytes) {
  if (m_spilledBytes == 0) return false;
  const std::unique_ptr<std::string> spilled(std::exchange(m_pSpilled, nullptr));
  text = std::move(*spilled);
  bytes = std::exchange(m_spilledBytes, 0);
  return true;
}

bool chSystemTracerManager::take_line(std::string &text) {
  if (m_lines.empty()) return false;
  line_record &line = oldest_line();
  text.assign(line.text(), static_cast<size_t>(line.length));
  drop_line(line);
  return true;
}

/// Spills the oldest lines until the pool has a cell large enough. @return Whether it has one.
bool chSystemTracerManager::make_room(int bytes) {
  while (!m_pool.find_big_enough_cell(bytes)) {
    if (m_lines.empty()) return false;
    spill_oldest_line();
  }
  return true;
}

void chSystemTracerManager::spill_oldest_line() {
  line_record &line = oldest_line();
  if (!m_pSpilled) m_pSpilled = new std::string;
  m_pSpilled->append(line.text(), static_cast<size_t>(line.length)) += '\n';
  m_spilledBytes = static_cast<int>(static_cast<unsigned>(m_spilledBytes) + static_cast<unsigned>(line.length));
  drop_line(line);
}

chSystemTracerManager::line_record &chSystemTracerManager::oldest_line() {
  return static_cast<line_record &>(*m_lines.get_pNext());
}

void chSystemTracerManager::drop_line(line_record &line) {
  chain_unlink(line);
  --m_lineCount;
  m_pool.free(&line);
}
