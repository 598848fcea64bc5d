#include "zarlib/text/codecs.h"

#include "zarlib/text/codec_loops.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bitset>
#include <random>

namespace {

using bytes = std::vector<unsigned char>;
using zar::vector_level;

/// Those that this processor has; the library takes the last.
std::vector<vector_level> levels() {
  std::vector<vector_level> all = {vector_level::none, vector_level::ssse3, vector_level::avx2};
  all.resize(static_cast<size_t>(zar::best_vector_level) + 1);
  return all;
}

const std::string digits = "0123456789ABCDEFabcdef";
const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

bytes slow_base16(const std::string &text) {
  std::string taken;
  for (const char c : text) taken.append(digits.find(c) != std::string::npos, c);
  bytes out;
  for (size_t i = 0; i < taken.size(); i += 2)
    out.push_back(static_cast<unsigned char>(std::stoul(taken.substr(i, 2), nullptr, 16)));
  return out;
}

bytes slow_base64(const std::string &text) {
  std::string bits;
  for (const char c : text.substr(0, text.find('=')))
    if (alphabet.find(c) != std::string::npos) bits += std::bitset<6>(alphabet.find(c)).to_string();
  bytes out;
  for (size_t i = 0; i + 8 <= bits.size(); i += 8)
    out.push_back(static_cast<unsigned char>(std::bitset<8>(bits, i, 8).to_ulong()));
  return out;
}

/// A digit alone keeps its value; one at the very end is not there.
bytes slow_text(std::string text) {
  bytes out;
  for (size_t i = 0; i + 1 < text.size(); ++i) {
    if (digits.find(text[i]) == std::string::npos) continue;
    const bool is_pair = digits.find(text[i + 1]) != std::string::npos;
    out.push_back(static_cast<unsigned char>(std::stoul(text.substr(i++, is_pair ? 2 : 1), nullptr, 16)));
  }
  return out;
}

void expect_read_alike(const std::string &text) {
  const bytes base16 = slow_base16(text), base64 = slow_base64(text);
  for (const vector_level level : levels()) {
    ASSERT_EQ(zar::from_base16(level, text), base16) << text << "\nlevel " << static_cast<int>(level);
    ASSERT_EQ(zar::from_base64(level, text), base64) << text << "\nlevel " << static_cast<int>(level);
  }
}

unsigned char pair_value(char high, char low) {
  return static_cast<unsigned char>(zarA2HEX(high) << 4 | zarA2HEX(low));
}

int length_of(const bytes &data) { return static_cast<int>(data.size()); }

} // namespace

TEST(Codecs, AnswerTheKnownTexts) {
  const bytes data = {0x00, 0x1B, 0xFF};
  EXPECT_EQ(zarBin2Base16(data.data(), 3), "001BFF");
  EXPECT_EQ(zarBin2Text(data.data(), 3), "00 1B FF ");
  for (const int size : {0, -1})
    EXPECT_EQ(zarBin2Base16(nullptr, size) + zarBin2Text(nullptr, size) + zarBin2Base64(nullptr, size), "");
  const std::pair<const char *, const char *> base64[] = {{"M", "TQ=="}, {"Ma", "TWE="}, {"Man", "TWFu"}};
  for (const auto &[text, code] : base64) {
    EXPECT_EQ(zarBin2Base64(text, static_cast<int>(std::string(text).size())), code);
    EXPECT_EQ(zarBase642Bin(code), bytes(text, text + std::string(text).size()));
  }
  EXPECT_EQ(zarBase642Bin("T\r\nQ"), bytes{'M'});
  EXPECT_EQ(zarBase642Bin("TWFu=TWFu"), (bytes{'M', 'a', 'n'}));
  EXPECT_EQ(zarBase162Bin("0x1F, A B"), (bytes{0x01, 0xFA, 0x0B}));
  EXPECT_EQ(zarText2Bin("A B 0A1B C"), (bytes{0x0A, 0x0B, 0x0A, 0x1B}));
  unsigned char out[2] = {7, 7};
  EXPECT_FALSE(fetchBytesFromBase16("abc", out, 1) || fetchBytesFromBase16("", out, -1));
  EXPECT_EQ(out[0], 7);
  EXPECT_TRUE(fetchBytesFromBase16("1F", out, 1) && fetchBytesFromBase16("", out, 0));
  EXPECT_TRUE(out[0] == 0x1F && out[1] == 7);
  zarSwapBytes(out, 1);
  zarSwapBytes(out, -1);
  zarSwapBytes(out, 2);
  EXPECT_TRUE(out[0] == 7 && out[1] == 0x1F);
}

TEST(Codecs, EveryByteAndEveryPairOfCharacters) {
  for (unsigned i = 0; i < 256; ++i) {
    const std::bitset<8> bits(i), back(zarSwap8Bit(static_cast<unsigned char>(i)));
    for (size_t bit = 0; bit < 8; ++bit) EXPECT_EQ(bits[bit], back[7 - bit]);
    const std::string one(1, static_cast<char>(i));
    EXPECT_EQ(zarA2HEX(one[0]), digits.find(one) == std::string::npos ? 255 : std::stoul(one, nullptr, 16));
    for (unsigned k = 0; k < 256; ++k) {
      const std::string text = one + static_cast<char>(k);
      expect_read_alike(text);
      ASSERT_EQ(zarText2Bin(text), slow_text(text)) << text;
      unsigned char fetched;
      ASSERT_TRUE(fetchBytesFromBase16(text, &fetched, 1));
      ASSERT_EQ(fetched, pair_value(text[0], text[1]));
    }
  }
}

// A character that is skipped, ends the text or changes its range is noticed in each lane of the vectors.
TEST(Codecs, EveryCharacterAtEveryPlaceOfABlock) {
  for (size_t place = 0; place < 64; ++place)
    for (unsigned i = 0; i < 256; ++i) {
      std::string text = digits + digits + digits + digits;
      text[place] = static_cast<char>(i);
      expect_read_alike(text);
      bytes fetched(44);
      ASSERT_TRUE(fetchBytesFromBase16(text, fetched.data(), 44));
      ASSERT_EQ(fetched[place / 2], pair_value(text[place & ~size_t{1}], text[place | 1]));
    }
}

TEST(Codecs, AllLengthsComeBackWithAnythingBetweenTheCharacters) {
  std::mt19937 random(1);
  std::vector<size_t> sizes = {3071, 3072, 3073, 6143, 6144, 6145, 13000};
  for (size_t size = 0; size <= 100; ++size) sizes.push_back(size);
  for (const size_t size : sizes) {
    bytes data(size);
    for (auto &byte : data) byte = static_cast<unsigned char>(random());
    const std::string base16 = zarBin2Base16(data.data(), length_of(data)),
                      text = zarBin2Text(data.data(), length_of(data));
    const std::string base64 = zarBin2Base64(data.data(), length_of(data));
    EXPECT_EQ(base64.size(), (size + 2) / 3 * 4);
    EXPECT_EQ(text.size(), 3 * size);
    EXPECT_EQ(zarText2Bin(text), data);
    for (const vector_level level : levels()) {
      EXPECT_EQ(zar::to_base16(level, data.data(), size), base16);
      EXPECT_EQ(zar::to_base64(level, data.data(), size), base64);
    }
    for (std::string code : {base16, base64}) {
      EXPECT_EQ(code == base16 ? slow_base16(code) : slow_base64(code), data);
      for (unsigned gap = 100; gap > 1; gap /= 3) {
        for (size_t at = random() % gap; at < code.size(); at += 1 + random() % gap)
          code.insert(at, 1, "\r\n -"[random() % 4]);
        expect_read_alike(code);
      }
      EXPECT_EQ(zarText2Bin(code), slow_text(code));
    }
  }
}
