#include "zarlib/crypto/aes.h"
#include "zarlib/crypto/aes_path.h"
#include "zarlib/text/codecs.h"
#include "zarlib/time/ticks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <new>
#include <numeric>
#include <random>

using bytes = std::vector<unsigned char>;

static int length(const bytes &data) { return static_cast<int>(data.size()); }

static bytes counted(size_t size) {
  bytes out(size);
  std::iota(out.begin(), out.end(), static_cast<unsigned char>(1));
  return out;
}

/// Whole blocks through one path.
static bytes run(const zar::aes_path &path, bool encipher, const bytes &key, const bytes &data) {
  bytes out(data.size()), schedule = key;
  const int rounds = length(key) / 4 + 6;
  schedule.resize(static_cast<size_t>(rounds + 1) * 16);
  path.expand_key(schedule.data(), length(key), length(schedule));
  (encipher ? path.encipher : path.decipher)(schedule.data(), rounds, data.data(), out.data(), data.size() / 16);
  return out;
}

TEST(Aes, PublishedVectorsHold) {
  // FIPS 197, appendix C.
  const bytes plain = zarBase162Bin("00112233445566778899aabbccddeeff");
  const std::string key = "000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f";
  const std::string ciphers[] = {"69c4e0d86a7b0430d8cdb78070b4c55a", "dda97ca4864cdfe06eaf70a0ec0d7191",
                                 "8ea2b7ca516745bfeafc49904b496089"};
  for (int i = 0; i < 3; ++i) {
    const aesEncrypt aes(zarBase162Bin(key).data(), 16 + 8 * i);
    EXPECT_EQ(aes.Encrypt(plain.data(), 16, PaddingZeros), zarBase162Bin(ciphers[i]));
  }
}

TEST(Aes, EveryPathGivesWhatOpenSslGave) {
  std::mt19937 random(197);
  std::uint32_t sum = 0;
  for (size_t i = 0; i < 300; ++i) {
    const bool encipher = i % 2 == 0;
    bytes key(16 + 8 * (i % 3)), data(i / 2 * 16);
    for (auto *const input : {&key, &data}) std::generate(input->begin(), input->end(), std::ref(random));
    const bytes expected = run(zar::portable_aes_path, encipher, key, data);
    for (const unsigned char byte : expected) sum = (sum ^ byte) * 16777619;
    for (const auto *path : zar::aes_paths()) EXPECT_EQ(run(*path, encipher, key, data), expected) << path->name;
  }
  EXPECT_EQ(sum, 2821839130u) << "over all results, recorded where OpenSSL gave each of them too";
}

TEST(Aes, PaddingIsWrittenAndTakenAwayByItsMode) {
  const aesEncrypt aes(counted(24).data(), 24);
  for (int i = 0; i < 65 * 7; ++i) {
    const int size = i / 7;
    const auto mode = static_cast<PaddingMode>(i % 7);
    const auto count = static_cast<unsigned char>(16 - size % 16 - (mode == PaddingZeros && size % 16 == 0 ? 16 : 0));
    const bool counting = mode >= PaddingISO10126 && mode <= PaddingPKCS7;
    const bytes plain = counted(static_cast<size_t>(size));
    const auto before = zarGetTickCount();
    const bytes cipher = aes.Encrypt(plain.data(), size, mode);
    bytes padded = aes.Decrypt(cipher.data(), length(cipher), PaddingZeros), expected = plain;
    expected.resize(plain.size() + count, mode == PaddingPKCS7 ? count : 0);
    if (counting) expected.back() = count;
    for (size_t at = plain.size(); mode == PaddingISO10126 && at + 1 < padded.size(); padded[at++] = 0)
      EXPECT_LE(static_cast<unsigned char>(padded[at] - before), zarGetTickCount() - before);
    EXPECT_EQ(padded, expected) << mode;
    EXPECT_TRUE(!counting || aes.Decrypt(cipher.data(), length(cipher), mode) == plain) << mode;
  }
}

TEST(Aes, DecryptGoesByTheLastByteAloneAndStaysInsideItsMemory) {
  const aesEncrypt aes;
  for (int size = -1; size < 140; ++size) {
    for (const int last : {0, 1, 15, 16, 17, 255}) {
      bytes plain = counted(static_cast<size_t>(std::max(size, 0)));
      if (size > 0) plain.back() = static_cast<unsigned char>(last);
      bytes data = aes.Encrypt(plain.data(), size - size % 16, PaddingZeros);
      data.insert(data.end(), plain.begin() + length(data), plain.end()); // what is no whole block stays as it is
      EXPECT_EQ(aes.Decrypt(data.data(), size, PaddingZeros), plain);
      plain.erase(plain.end() - std::min(length(plain), last <= 16 ? last : 0), plain.end());
      for (const int mode : {0, 1, 2, 3, 99}) EXPECT_EQ(aes.Decrypt(data.data(), size, PaddingMode(mode)), plain);
    }
  }
}

TEST(Aes, AKeyThatIsNoneIsRefusedUntilTheNextAndWipesTheOneBefore) {
  const bytes key = counted(32), data = counted(16);
  const aesEncrypt by_default(reinterpret_cast<const unsigned char *>("AmberHarborFjord"), 16);
  for (const int bad : {-1, 0, 1, 15, 17, 20, 33, 1 << 30}) {
    aesEncrypt aes(key.data(), 32);
    aes.SetKey(bad == 17 ? nullptr : key.data(), bad == 17 ? 16 : bad);
    EXPECT_EQ(std::memcmp(&aes, std::string(sizeof aes, '\0').data(), sizeof aes), 0);
    EXPECT_EQ(aes.Encrypt(data.data(), 16, PaddingPKCS7), aes.Decrypt(data.data(), 16, PaddingZeros)) << "both empty";
    aes = aesEncrypt(nullptr, bad);
    EXPECT_EQ(aes.Encrypt(data.data(), 16, PaddingZeros), by_default.Encrypt(data.data(), 16, PaddingZeros));
  }
  bytes memory(sizeof(aesEncrypt));
  (new (memory.data()) aesEncrypt(key.data(), 32))->~aesEncrypt();
  EXPECT_EQ(memory, bytes(sizeof(aesEncrypt))) << "wiped";
}
