// The heaps: a pool in a block against the two allocators of Boost.Interprocess, without their locks; and the counting
// heap.
#include "zarlib/memory/dymic_alloc.h"
#include "zarlib/memory/node_alloc.h"
#include "zarlib/memory/polymorphic_frame.h"
#include "zarlib/memory/pool_alloc.h"

#include <benchmark/benchmark.h>
#include <boost/interprocess/indexes/iset_index.hpp>
#include <boost/interprocess/managed_external_buffer.hpp>
#include <boost/interprocess/mem_algo/rbtree_best_fit.hpp>
#include <boost/interprocess/mem_algo/simple_seq_fit.hpp>

#include <cstdlib>
#include <deque>
#include <memory>
#include <new>
#include <random>
#include <vector>

namespace {

namespace ipc = boost::interprocess;
using best_fit = ipc::rbtree_best_fit<ipc::null_mutex_family>;
using seq_fit = ipc::simple_seq_fit<ipc::null_mutex_family>;

// A block with a heap in it.
class pool_block {
public:
  explicit pool_block(int bytes) : m_block(new char[static_cast<size_t>(bytes)]) {
    m_pool = ::new (m_block.get() + 8) basePoolAlloc;
    m_pool->init_pool(m_block.get() + 24, bytes - 24);
  }
  void *alloc(int bytes) { return m_pool->alloc(bytes); }
  // Checked before allocations that are likely to fail, because a failed one writes a dump.
  void *try_alloc(int bytes) { return m_pool->find_big_enough_cell(bytes) ? m_pool->alloc(bytes) : nullptr; }
  void free(void *p) { m_pool->free(p); }

private:
  std::unique_ptr<char[]> m_block;
  basePoolAlloc *m_pool;
};

template <class Algorithm>
class peer_block {
public:
  explicit peer_block(int bytes)
      : m_block(::operator new(static_cast<size_t>(bytes))),
        m_heap(ipc::create_only, m_block.get(), static_cast<size_t>(bytes)) {}
  void *alloc(int bytes) { return m_heap.allocate(static_cast<size_t>(bytes), std::nothrow); }
  void *try_alloc(int bytes) { return alloc(bytes); }
  void free(void *p) { m_heap.deallocate(p); }

private:
  struct give_back {
    void operator()(void *p) const { ::operator delete(p); }
  };
  std::unique_ptr<void, give_back> m_block;
  ipc::basic_managed_external_buffer<char, Algorithm, ipc::iset_index> m_heap;
};

constexpr int large = 2097152, small = 8192;

// Sizes generated in advance, the same for all.
std::vector<int> sizes(int from, int to) {
  std::mt19937 random(1);
  std::uniform_int_distribution<int> size(from, to);
  std::vector<int> drawn(4096);
  for (int &n : drawn) n = size(random);
  return drawn;
}

// A full block in which the oldest records are freed to make room for the next one.
template <class Block>
void first_in_first_out(benchmark::State &state) {
  Block block(large);
  const std::vector<int> record = sizes(40, 200);
  std::deque<void *> held;
  size_t next = 0;
  const auto add = [&] {
    void *p;
    while (!(p = block.try_alloc(record[next % record.size()]))) {
      block.free(held.front());
      held.pop_front();
    }
    held.push_back(p);
    ++next;
  };
  for (int i = 0; i < 100000; ++i) add();
  for (auto _ : state) add();
}

// Records of random size and lifetime: each step replaces one of the slots, which together fill most of the block.
template <class Block>
void random_sizes(benchmark::State &state) {
  Block block(small);
  const std::vector<int> record = sizes(8, 200), which = sizes(0, 47);
  std::vector<void *> slots(48, nullptr);
  size_t next = 0;
  for (auto _ : state) {
    void *&slot = slots[static_cast<size_t>(which[next % which.size()])];
    if (slot) block.free(slot);
    slot = block.alloc(record[next * 7 % record.size()]);
    ++next;
  }
}

// A nearly full block in which thousands of random records are freed, and then as many added: half of the steps
// each.
template <class Block>
void many_holes(benchmark::State &state) {
  Block block(large);
  const std::vector<int> record = sizes(40, 200);
  std::vector<void *> held(14000);
  for (size_t i = 0; i < held.size(); ++i) held[i] = block.alloc(record[i % record.size()]);
  std::minstd_rand random;
  size_t dropped = 0;
  bool dropping = true;
  const auto step = [&] {
    if (dropping) {
      std::swap(held[dropped], held[dropped + random() % (held.size() - dropped)]);
      block.free(held[dropped++]);
    } else {
      held[--dropped] = block.alloc(record[random() % record.size()]);
    }
    if (dropped == 0 || dropped == 7000) dropping = dropped == 0;
  };
  for (int i = 0; i < 70000; ++i) step();
  for (auto _ : state) step();
}

void counted_heap(benchmark::State &state) {
  baseDymicAlloc heap;
  for (auto _ : state) {
    void *p = heap.alloc(48);
    benchmark::DoNotOptimize(p);
    heap.free(p);
  }
}

void plain_heap(benchmark::State &state) {
  for (auto _ : state) {
    void *p = std::malloc(48);
    benchmark::DoNotOptimize(p);
    std::free(p);
  }
}

struct node_pool : baseDynamicNodeAlloc_block {
  void *borrow() { return borrow_node(48, 100); }
  using baseDynamicNodeAlloc_block::return_node;
};

void nodes(benchmark::State &state) {
  node_pool pool;
  for (auto _ : state) {
    void *p = pool.borrow();
    benchmark::DoNotOptimize(p);
    pool.return_node(p);
  }
}

void copied_handle(benchmark::State &state) {
  polymorphic_frame<int> handle;
  handle.data() = 1;
  for (auto _ : state) {
    polymorphic_frame<int> copy(handle);
    benchmark::DoNotOptimize(copy);
  }
}

void copied_shared_ptr(benchmark::State &state) {
  const auto handle = std::make_shared<int>(1);
  for (auto _ : state) {
    std::shared_ptr<int> copy(handle);
    benchmark::DoNotOptimize(copy);
  }
}

BENCHMARK(first_in_first_out<pool_block>)->Name("BM_PoolFirstInFirstOut/ours");
BENCHMARK(first_in_first_out<peer_block<best_fit>>)->Name("BM_PoolFirstInFirstOut/boost-rbtree-best-fit");
BENCHMARK(first_in_first_out<peer_block<seq_fit>>)->Name("BM_PoolFirstInFirstOut/boost-simple-seq-fit");
BENCHMARK(random_sizes<pool_block>)->Name("BM_PoolRandomSizes/ours");
BENCHMARK(random_sizes<peer_block<best_fit>>)->Name("BM_PoolRandomSizes/boost-rbtree-best-fit");
BENCHMARK(random_sizes<peer_block<seq_fit>>)->Name("BM_PoolRandomSizes/boost-simple-seq-fit");
BENCHMARK(many_holes<pool_block>)->Name("BM_PoolManyHoles/ours");
BENCHMARK(many_holes<peer_block<best_fit>>)->Name("BM_PoolManyHoles/boost-rbtree-best-fit");
BENCHMARK(many_holes<peer_block<seq_fit>>)->Name("BM_PoolManyHoles/boost-simple-seq-fit");
BENCHMARK(counted_heap)->Name("BM_HeapBlock/ours");
BENCHMARK(plain_heap)->Name("BM_HeapBlock/malloc");
BENCHMARK(nodes)->Name("BM_Node/ours");
BENCHMARK(plain_heap)->Name("BM_Node/malloc");
BENCHMARK(copied_handle)->Name("BM_HandleCopy/ours");
BENCHMARK(copied_shared_ptr)->Name("BM_HandleCopy/std-shared_ptr");

} // namespace

BENCHMARK_MAIN();
