#include "zarlib/memory/pool_alloc.h"

#include "tests/memory/plain_pool.h"
#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"
#include "zarlib/frame/process_identity.h"
#include "zarlib/text/environment.h"

#include <gmock/gmock.h>

#include <new>
#include <random>

namespace {

struct open_pool : basePoolAlloc {
  using basePoolAlloc::begin_cell, basePoolAlloc::disjoin_big_cell, basePoolAlloc::end_cell,
      basePoolAlloc::is_valid_cell, basePoolAlloc::try_join_right_cell;
};

// A zeroed block with the allocator at its place, and the pool behind it.
class block {
public:
  explicit block(int size) : m_bytes(plain_pool::begin + size), m_pool(::new (at(plain_pool::object)) open_pool) {
    m_pool->init_pool(at(plain_pool::begin), size);
  }

  open_pool *operator->() { return m_pool; }
  unsigned char *at(std::uint32_t offset) { return m_bytes.data() + offset; }
  std::uint32_t offset_of(const void *p) { return p ? static_cast<const unsigned char *>(p) - m_bytes.data() : 0; }
  const std::vector<unsigned char> &bytes() const { return m_bytes; }

private:
  std::vector<unsigned char> m_bytes;
  open_pool *m_pool;
};

std::uint32_t cell_offset(block &b, pool_chain *cell) { return cell ? b.offset_of(cell->get_pData()) : 0; }

} // namespace

TEST(PoolAlloc, LeavesTheBytesOfTheWorkedExample) {
  block b(64);
  void *const first = b->alloc(8);
  void *const second = b->alloc(9);
  std::memcpy(first, "in use!", 8);
  std::memcpy(second, "was in use!", 12);
  b->free(second);
  const std::vector<unsigned char> expected{
      0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, // the object's first 8 bytes
      0x40, 0x00, 0x00, 0x00, 0x10, 0x00, 0x00, 0x00, // pool size 64, pool offset 16
      0x18, 0x00, 0x00, 0x00, 0x28, 0x00, 0x00, 0x00, // head: first free node at 40, last at 56
      0x0C, 0x00, 0x00, 0x00, 'i',  'n',  ' ',  'u',  // cell at 24, in use, 12 bytes
      's',  'e',  '!',  0x00, 0x10, 0x00, 0x00, 0x80, // cell at 36, free, 16 bytes
      0x10, 0x00, 0x00, 0x00, 0xE8, 0xFF, 0xFF, 0xFF, // its node at 40: next at 56, previous is the head
      's',  'e',  '!',  0x00, 0x24, 0x00, 0x00, 0x80, // cell at 52, free, 36 bytes
      0xD8, 0xFF, 0xFF, 0xFF, 0xF0, 0xFF, 0xFF, 0xFF, // its node at 56: next is the head, previous at 40
      0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, // never touched
      0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, //
      0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};
  EXPECT_EQ(b.bytes(), expected);
}

TEST(PoolAlloc, RoundsRequestsAndKeepsSmallRemainders) {
  const struct {
    int pool, asked, payload;
  } cases[] = {{8160, 8, 8}, {8160, 0, 8}, {8160, -1, 8}, {8160, 9, 12},     {8160, INT_MIN, 8},
               {28, 12, 24}, {32, 12, 12}, {20, 16, 16},  {8160, 8156, 8156}};
  for (const auto &c : cases) {
    block b(c.pool);
    void *const p = b->alloc(c.asked);
    EXPECT_EQ(b.offset_of(p), plain_pool::begin + 4);
    EXPECT_EQ(b->get_available_bytes(p), c.payload) << c.pool << " " << c.asked;
  }
  zarSetAppDocPath("no such folder");
  for (const int asked : {8157, 0x7FFFFFFC, INT_MAX}) EXPECT_EQ(block(8160)->alloc(asked), nullptr) << asked;
  for (const int size : {-1, 0, 11}) EXPECT_EQ(block(64)->init_pool(block(64).at(24), size), 1);
  block empty(64);
  empty->init_pool(empty.at(24), 11);
  EXPECT_EQ(empty->alloc(1), nullptr);
}

TEST(PoolAlloc, HoldsTheBytesOfThePlainPoolAfterAnyCalls) {
  for (const int size : {64, 301, 1200, 8160, 60000}) {
    std::mt19937 random(static_cast<unsigned>(size));
    block ours(size);
    plain_pool plain(size);
    std::vector<std::uint32_t> held;
    const auto draw = [&](int below) { return static_cast<int>(random() % static_cast<unsigned>(below)); };
    const auto hold = [&](std::uint32_t data, std::uint32_t theirs) {
      ASSERT_EQ(data, theirs);
      if (!data) return;
      held.push_back(data);
      const int filled = std::min<int>(plain.payload(data), 40);
      std::memset(ours.at(data), draw(256), static_cast<size_t>(filled));
      std::memcpy(&plain.bytes[data], ours.at(data), static_cast<size_t>(filled));
    };
    for (int step = 0; step < 6000; ++step) {
      const int asked = draw(8) ? draw(200) - 3 : draw(size);
      const int choice = draw(10);
      if (choice < 4 || held.empty()) {
        if (plain.find(asked))
          hold(ours.offset_of(ours->alloc(asked)), plain.alloc(asked));
        else
          ASSERT_EQ(ours->find_big_enough_cell(asked), nullptr);
      } else if (choice == 4) {
        ASSERT_EQ(cell_offset(ours, ours->find_big_enough_cell(asked)), plain.find(asked));
      } else {
        const size_t which = static_cast<size_t>(draw(static_cast<int>(held.size())));
        const std::uint32_t data = held[which];
        const bool move = choice == 5;
        if (move) {
          const std::uint32_t room = plain.find(asked);
          ASSERT_EQ(cell_offset(ours, ours->find_big_enough_cell(asked)), room);
          if (!room) continue;
        }
        held.erase(held.begin() + static_cast<long>(which));
        if (move)
          hold(ours.offset_of(ours->realloc(ours.at(data), asked)), plain.realloc(data, asked));
        else
          ours->free(ours.at(data)), plain.free(data);
      }
      ASSERT_EQ(ours.bytes(), plain.bytes) << size << ", step " << step;
    }
  }
}

TEST(PoolAlloc, GoesOnWhereItsBlockWasCopied) {
  block b(256), elsewhere(256);
  const std::uint32_t first = b.offset_of(b->alloc(16));
  const std::uint32_t second = b.offset_of(b->alloc(16));
  std::memcpy(elsewhere.at(0), b.at(0), b.bytes().size());
  elsewhere->free(elsewhere.at(first));
  EXPECT_EQ(elsewhere.offset_of(elsewhere->alloc(10)), first);
  EXPECT_TRUE(elsewhere->is_valid_pointer(elsewhere.at(second)) &&
              elsewhere->is_valid_pointer(elsewhere.at(second + 3)));
  EXPECT_FALSE(elsewhere->is_valid_pointer(b.at(second)) || elsewhere->is_valid_pointer(nullptr));
  EXPECT_TRUE(elsewhere->is_valid_pointer(elsewhere.at(28)) && elsewhere->is_valid_pointer(elsewhere.at(24 + 256 + 3)));
  EXPECT_FALSE(elsewhere->is_valid_pointer(elsewhere.at(27)) ||
               elsewhere->is_valid_pointer(elsewhere.at(24 + 256 + 4)));
}

TEST(PoolAlloc, CutsAndJoinsCellsAndWarnsOfBrokenOnes) {
  block b(64);
  pool_chain *const cell = b->begin_cell();
  b->disjoin_big_cell(cell, 49);
  EXPECT_EQ(cell->get_pRight(), b->end_cell());
  b->disjoin_big_cell(cell, 48);
  EXPECT_EQ(cell->get_nPoolSize(), 48);
  EXPECT_TRUE(b->is_valid_cell(cell) && b->is_valid_cell(cell->get_pRight()));
  EXPECT_TRUE(b->try_join_right_cell(cell));
  EXPECT_FALSE(b->try_join_right_cell(cell));
  EXPECT_TRUE(cell->is_free_cell() && cell->get_iOffsetRightCell() == 64);

  testing::internal::CaptureStderr();
  EXPECT_FALSE(b->is_valid_cell(b->end_cell()));
  for (const unsigned distance : {0u, 68u}) {
    cell->set_iOffsetRightCell(distance);
    EXPECT_FALSE(b->is_valid_cell(cell));
  }
  const auto lines = harness::lines_of(testing::internal::GetCapturedStderr());
  const auto text = [](const char *format, auto... cells) {
    char line[200];
    std::snprintf(line, sizeof line, format, static_cast<void *>(cells)...);
    return testing::EndsWith(line);
  };
  EXPECT_THAT(lines, testing::ElementsAre(
                         text(") pCell %p not in [%p %p]", b->end_cell(), cell, b->end_cell()),
                         text(") pRight %p not in [%p %p %p]", cell, cell, cell, b->end_cell()),
                         text(") pRight %p not in [%p %p %p]", cell->get_pRight(), cell, cell, b->end_cell())));
}

TEST(PoolAlloc, DumpsItsObjectWhenNothingIsBigEnough) {
  const harness::temporary_directory folder;
  zarSetAppDocPath(folder.path());
  block b(64);
  EXPECT_EQ(b->alloc(100), nullptr);
  EXPECT_TRUE(harness::list_directory(folder.path()).empty()) << "no folder for it";
  std::filesystem::create_directory(folder / "log");
  std::memcpy(b->alloc(8), "live", 4);
  EXPECT_EQ(b->find_big_enough_cell(100), nullptr);
  EXPECT_EQ(b->alloc(100), nullptr);
  char name[100];
  std::snprintf(name, sizeof name, "%d-%p.data.dump", static_cast<int>(zarGetCurrentProcessId()),
                static_cast<void *>(b.at(0)));
  EXPECT_THAT(harness::list_directory(folder / "log"), testing::ElementsAre(name));
  EXPECT_EQ(harness::read_file(folder / "log/" + name), std::string(b.bytes().begin(), b.bytes().end()));
}

TEST(PoolAlloc, FaultsWhenAFullPoolIsToMoveABlock) {
  const harness::child_result result = harness::run("memory_program", {"overfill"});
  EXPECT_FALSE(result.timed_out);
  EXPECT_NE(result.exit_code, 0);
}
