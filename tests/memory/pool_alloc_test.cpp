#include "zarlib/memory/pool_alloc.h"

#include "tests/support/harness/files.h"
#include "zarlib/text/environment.h"

#include <gmock/gmock.h>

#include <climits>
#include <cstring>
#include <new>
#include <random>

using word = std::uint32_t;

// A zeroed block: the object's first 8 bytes, the allocator, the pool. Offsets count from its start, 0 stands for null.
struct block {
  explicit block(int size) : words(6 + size / 4), pool(::new (at(8)) basePoolAlloc) { pool->init_pool(at(24), size); }
  char *at(word offset) { return reinterpret_cast<char *>(words.data()) + offset; }
  word offset_of(void *p) { return p ? static_cast<word>(static_cast<char *>(p) - at(0)) : 0; }
  std::vector<word> words;
  basePoolAlloc *pool;
};

// The simplest possible model of the same block.
struct plain_block {
  explicit plain_block(word size) : words((24 + size) / 4), end(24 + size) {
    at(8) = size, at(12) = 16, at(24) = size | free_flag;
    insert_before(16, 28);
  }
  word &at(word offset) { return words[offset / 4]; }
  word link(word offset) { return offset + at(offset); }
  word payload(word data) { return (at(data - 4) & ~free_flag) - 4; }

  void insert_before(word next, word node) {
    const word back = link(next + 4);
    at(next + 4) = node - next, at(node + 4) = back - node - 4, at(node) = next - node, at(back - 4) = node - back + 4;
  }
  void unlink(word node) {
    const word next = link(node), back = link(node + 4);
    at(next + 4) = back - next - 4, at(back - 4) = next - back + 4, at(node) = at(node + 4) = 0xFFFFFFFF;
  }
  void grow(word data, long long need) {
    for (word right; payload(data) < need && (right = data + payload(data)) < end && at(right) & free_flag;) {
      unlink(right + 4);
      at(data - 4) += at(right) & ~free_flag;
    }
  }
  word find(long long asked) {
    const word need = static_cast<word>((std::max(asked, 8LL) + 3) / 4 * 4);
    for (word node = link(16); node != 16; node = link(node)) {
      grow(node, need);
      if (payload(node) < need) continue;
      if (payload(node) <= need + 12) return node;
      const word rest = node + need + 4;
      at(rest - 4) = (payload(node) - need) | free_flag;
      at(node - 4) = (need + 4) | free_flag;
      insert_before(link(node), rest);
      return node;
    }
    return 0;
  }
  word alloc(int asked) {
    const word node = find(asked);
    at(node - 4) &= ~free_flag;
    unlink(node);
    return node;
  }
  void free(word data) {
    word right = data + payload(data);
    while (right < end && !(at(right) & free_flag)) right += at(right);
    at(data - 4) |= free_flag;
    insert_before(right < end ? right + 4 : 16, data);
  }
  word realloc(word data, int asked) {
    const word old_size = payload(data);
    grow(data, asked);
    if (static_cast<int>(payload(data)) >= asked) return data;
    const word moved = alloc(asked);
    std::memcpy(&at(moved), &at(data), old_size);
    free(data);
    return moved;
  }
  static constexpr word free_flag = 0x80000000;
  std::vector<word> words;
  const word end;
};

TEST(PoolAlloc, LeavesTheBytesOfTheWorkedExampleAlsoWhereItsBlockWasCopied) {
  block made(64), b(64);
  std::memset(made.pool->alloc(8), 0x11, 8);
  const word second = made.offset_of(std::memset(made.pool->alloc(9), 0x22, 12));
  std::memcpy(b.at(0), made.at(0), 88);
  b.pool->free(b.at(second));
  EXPECT_THAT(b.words, testing::ElementsAre(0, 0, 64, 16, 24, 40,             // size, offset, head: 16 -> 40, 20 -> 60
                                            12, 0x11111111, 0x11111111,       // 24: in use
                                            0x80000010, 16, -24u, 0x22222222, // 36: free, 40 -> 56, 44 -> 20
                                            0x80000024, -40u, -16u, 0, 0, 0, 0, 0, 0)); // 52: free, 56 -> 16, 60 -> 44
}

TEST(PoolAlloc, HoldsTheBytesOfThePlainPoolAfterAnyCalls) {
  for (const int size : {64, 1200, 8160, 60000}) {
    std::minstd_rand random(size);
    block ours(size);
    plain_block plain(size);
    std::vector<word> held(1, plain.alloc(ours.pool->get_available_bytes(ours.pool->alloc(8))));
    for (int step = 0; step < 6000; ++step) {
      const int sizes[] = {int(random() % 200) - 3, int(random() % size), INT_MAX, INT_MIN};
      const int asked = sizes[random() % 4 * (random() % 4 == 0)];
      const word room = plain.find(asked);
      pool_chain *const found = ours.pool->find_big_enough_cell(asked);
      ASSERT_EQ(found ? ours.offset_of(found->get_pData()) : 0, room);
      const word choice = random() % 8;
      if (room && choice < 4) held.push_back(0);
      word &data = choice < 4 ? held.back() : held[random() % held.size()];
      if (room && choice < 5) {
        void *const p = ours.pool->realloc(data ? ours.at(data) : nullptr, asked);
        data = data ? plain.realloc(data, asked) : plain.alloc(asked);
        ASSERT_EQ(ours.offset_of(p), data);
        ASSERT_EQ(ours.pool->get_available_bytes(p), int(plain.payload(data)));
        std::memset(p, step, plain.payload(data)), std::memset(&plain.at(data), step, plain.payload(data));
      } else if (held.size() > 1) {
        ours.pool->free(ours.at(data)), plain.free(data);
        data = held.back(), held.pop_back();
      }
      ASSERT_EQ(ours.words, plain.words) << size << ", step " << step;
    }
  }
}

TEST(PoolAlloc, DumpsItsObjectWhenNothingIsBigEnough) {
  const harness::temporary_directory folder;
  zarSetAppDocPath(folder.path());
  std::filesystem::create_directory(folder / "log");
  block b(64);
  EXPECT_TRUE(b.pool->alloc(60) && !b.pool->alloc(INT_MAX) && !b.pool->alloc(1));
  EXPECT_TRUE(b.pool->is_valid_pointer(b.at(28)) && !b.pool->is_valid_pointer(b.at(92)));
  const std::vector<std::string> dumps = harness::list_directory(folder / "log");
  ASSERT_THAT(dumps, testing::ElementsAre(testing::EndsWith(".data.dump")));
  EXPECT_EQ(harness::read_file(folder / "log/" + dumps[0]), std::string(b.at(0), 88));
}
