#include "zarlib/text/codecs.h"

#include "zarlib/text/codec_loops.h"

#include <gtest/gtest.h>

#include <bitset>
#include <random>

namespace {

using bytes = std::vector<unsigned char>;

/// Bits left over at the end: four become a byte of their own, others are dropped.
bytes slow_decode(const std::string &text, const std::string &alphabet, size_t width) {
  std::string bits;
  for (const char c : text)
    if (const size_t value = alphabet.find(c); value != std::string::npos)
      bits += std::bitset<8>(width == 4 && value > 15 ? value - 6 : value).to_string().substr(8 - width);
  if (width == 4 && bits.size() % 8 != 0) bits.insert(bits.size() - 4, 4, '0');
  bytes out;
  for (size_t i = 0; i + 8 <= bits.size(); i += 8)
    out.push_back(static_cast<unsigned char>(std::bitset<8>(bits, i, 8).to_ulong()));
  return out;
}
const std::string sextets = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
bytes slow_base16(const std::string &text) { return slow_decode(text, "0123456789ABCDEFabcdef", 4); }
bytes slow_base64(const std::string &text) { return slow_decode(text.substr(0, text.find('=')), sextets, 6); }

/// With each vector instruction set of this processor, and without.
void expect_read_alike(const std::string &text) {
  const bytes base16 = slow_base16(text), base64 = slow_base64(text);
  const std::string code = zar::to_base64(zar::vector_level::none, base64.data(), base64.size());
  ASSERT_EQ(slow_base64(code), base64) << text;
  for (int i = 0; i <= static_cast<int>(zar::best_vector_level); ++i) {
    const auto level = static_cast<zar::vector_level>(i);
    ASSERT_TRUE(zar::from_base16(level, text) == base16 && zar::from_base64(level, text) == base64) << i << " " << text;
    ASSERT_EQ(slow_base16(zar::to_base16(level, base64.data(), base64.size())), base64) << i << " " << text;
    ASSERT_EQ(zar::to_base64(level, base64.data(), base64.size()), code) << i << " " << text;
  }
}

} // namespace

TEST(Codecs, AnswerTheKnownTexts) {
  for (const int size : {0, -1})
    EXPECT_EQ(zarBin2Base16(nullptr, size) + zarBin2Text(nullptr, size) + zarBin2Base64(nullptr, size), "");
  EXPECT_EQ(zarBin2Text("\x0A\x1B", 2), "0A 1B ");
  EXPECT_EQ(zarBin2Base64("M", 1) + zarBin2Base64("Ma", 2) + zarBin2Base64("Man", 3), "TQ==TWE=TWFu");
  EXPECT_EQ(zarText2Bin("A B 0a1B-C"), (bytes{0x0A, 0x0B, 0x0A, 0x1B}));
  EXPECT_EQ(zarText2Bin("ABC"), bytes{0xAB});
  unsigned char out[] = {7, 1, 2};
  EXPECT_FALSE(fetchBytesFromBase16("abc", out, 1) || fetchBytesFromBase16("", out, -1));
  EXPECT_TRUE(fetchBytesFromBase16("", out, 0) && out[0] == 7);
  for (const int size : {-1, 1, 3}) zarSwapBytes(out, size);
  EXPECT_EQ(bytes(out, out + 3), (bytes{2, 1, 7}));
}

TEST(Codecs, EveryPairOfCharactersAndEachAtEveryPlaceOfABlock) {
  for (unsigned i = 0; i < 65536; ++i) {
    const std::string text = {static_cast<char>(i >> 8), static_cast<char>(i)};
    const bytes value = slow_base16(text.substr(0, 1));
    EXPECT_EQ(zarA2HEX(text[0]), value.empty() ? 255 : value[0]);
    EXPECT_EQ(zarSwap8Bit(static_cast<unsigned char>(i)) >> (i >> 8 & 7) & 1, i >> (7 - (i >> 8 & 7)) & 1);
    expect_read_alike(text);
    std::string block(80, '7');
    block[i & 63] = text[0];
    if (i & 64) expect_read_alike(block);
    bytes fetched(40, 0);
    ASSERT_TRUE(fetchBytesFromBase16(block, fetched.data(), 40));
    ASSERT_EQ(fetched[(i & 63) / 2], (i & 1 ? 0x70 | zarA2HEX(text[0]) : zarA2HEX(text[0]) << 4 | 7) & 0xFF);
  }
}

TEST(Codecs, AllLengthsComeBackWithAnythingBetweenTheCharacters) {
  std::mt19937 random(1);
  // 0 to 100, then around the boundaries of the pieces in which long texts are processed.
  for (size_t size = 0; size < 9300; size += size <= 100 || (size + 1) % 3072 < 3 ? 1 : 3072 - (size + 1) % 3072) {
    bytes data(size);
    for (auto &byte : data) byte = static_cast<unsigned char>(random());
    const int count = static_cast<int>(size);
    EXPECT_EQ(zarText2Bin(zarBin2Text(data.data(), count)), data);
    EXPECT_EQ(zarBin2Base64(data.data(), count).substr((size * 4 + 2) / 3), std::string((3 - size % 3) % 3, '='));
    for (std::string code : {zarBin2Base16(data.data(), count), zarBin2Base64(data.data(), count)})
      for (unsigned gap = 100; gap > 1; gap /= 3) {
        for (size_t i = random() % gap; i < code.size(); i += 1 + random() % gap)
          code.insert(i, 1, "\r\n -"[random() % 4]);
        expect_read_alike(code);
      }
  }
}
