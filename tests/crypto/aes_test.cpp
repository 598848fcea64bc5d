#define OPENSSL_SUPPRESS_DEPRECATED
#include "zarlib/crypto/aes.h"
#include "zarlib/crypto/aes_path.h"
#include "zarlib/text/codecs.h"
#include "zarlib/time/ticks.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <numeric>
#include <random>
#ifdef ZARLIB_TEST_OPENSSL
#include <openssl/aes.h>
#endif

using bytes = std::vector<unsigned char>;

static int length(const bytes &data) { return static_cast<int>(data.size()); }

static bytes counted(size_t size) {
  bytes out(size);
  std::iota(out.begin(), out.end(), static_cast<unsigned char>(1));
  return out;
}

/// Whole blocks through one implementation.
static bytes run(const zar::aes_path &path, bool encipher, const bytes &key, const bytes &data) {
  bytes out(data.size()), schedule = key;
  const int rounds = length(key) / 4 + 6;
  schedule.resize(static_cast<size_t>(rounds + 1) * 16);
  path.expand_key(schedule.data(), length(key), length(schedule));
  (encipher ? path.encipher : path.decipher)(schedule.data(), rounds, data.data(), out.data(), data.size() / 16);
  return out;
}

TEST(Aes, PublishedVectorsHoldOnEveryPath) {
  // FIPS 197, appendix C, and two blocks each of NIST SP 800-38A, F.1.
  const std::string example = "00112233445566778899aabbccddeeff", count = "000102030405060708090a0b0c0d0e0f";
  const std::string blocks = "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51";
  const std::string vectors[][3] = {
      {count, example, "69c4e0d86a7b0430d8cdb78070b4c55a"},
      {count + "1011121314151617", example, "dda97ca4864cdfe06eaf70a0ec0d7191"},
      {count + "101112131415161718191a1b1c1d1e1f", example, "8ea2b7ca516745bfeafc49904b496089"},
      {"2b7e151628aed2a6abf7158809cf4f3c", blocks, "3ad77bb40d7a3660a89ecaf32466ef97f5d3d58503b9699de785895a96fdbaaf"},
      {"603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4", blocks,
       "f3eed1bdb5d2a03c064b5a7e3db181f8591ccb10d410ed26dc5ba74a31362870"},
  };
  for (const auto &[k, p, c] : vectors) {
    const bytes key = zarBase162Bin(k), plain = zarBase162Bin(p), cipher = zarBase162Bin(c);
    for (const zar::aes_path *path : zar::aes_paths())
      EXPECT_TRUE(run(*path, true, key, plain) == cipher && run(*path, false, key, cipher) == plain) << path->name;
    EXPECT_EQ(aesEncrypt(key.data(), length(key)).Encrypt(plain.data(), length(plain), PaddingZeros), cipher);
  }
}

TEST(Aes, EveryPathGivesWhatOpenSslGives) {
  std::mt19937 random(197);
  std::uint32_t sum = 0;
  for (size_t i = 0; i < 300; ++i) {
    const bool encipher = i % 2 == 0;
    bytes key(16 + 8 * (i % 3)), data(i / 2 * 16);
    for (auto &byte : key) byte = static_cast<unsigned char>(random());
    for (auto &byte : data) byte = static_cast<unsigned char>(random());
    const bytes expected = run(zar::portable_aes_path, encipher, key, data);
    for (const unsigned char byte : expected) sum = (sum ^ byte) * 16777619;
    for (const auto *path : zar::aes_paths()) EXPECT_EQ(run(*path, encipher, key, data), expected) << path->name;
#ifdef ZARLIB_TEST_OPENSSL
    AES_KEY theirs;
    (encipher ? AES_set_encrypt_key : AES_set_decrypt_key)(key.data(), length(key) * 8, &theirs);
    const auto cipher = encipher ? AES_encrypt : AES_decrypt;
    for (size_t at = 0; at < data.size(); at += 16) cipher(&data[at], &data[at], &theirs);
    EXPECT_EQ(data, expected);
#endif
  }
  EXPECT_EQ(sum, 2821839130u) << "over all results, recorded where OpenSSL was asked too";
#ifndef ZARLIB_TEST_OPENSSL
  GTEST_SKIP() << "the recorded sum holds; no OpenSSL here to ask for the single blocks";
#endif
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
  for (int size = -1; size < 140; ++size)
    for (const int last : {0, 1, 15, 16, 17, 255}) {
      bytes plain = counted(static_cast<size_t>(std::max(size, 0)));
      if (size > 0) plain.back() = static_cast<unsigned char>(last);
      bytes data = aes.Encrypt(plain.data(), size - size % 16, PaddingZeros);
      data.insert(data.end(), plain.begin() + length(data), plain.end()); // a partial block is unchanged
      EXPECT_EQ(aes.Decrypt(data.data(), size, PaddingZeros), plain);
      plain.erase(plain.end() - std::min(length(plain), last <= 16 ? last : 0), plain.end());
      for (const int mode : {0, 1, 2, 3, 99}) EXPECT_EQ(aes.Decrypt(data.data(), size, PaddingMode(mode)), plain);
    }
}

TEST(Aes, AKeyThatIsNoneIsRefusedUntilTheNextAndWipesTheOneBefore) {
  const bytes key = counted(32), data = counted(16);
  const auto *const default_key = reinterpret_cast<const unsigned char *>("AmberHarborFjord");
  const aesEncrypt by_default(default_key, 16);
  for (const int bad : {-1, 0, 1, 15, 17, 20, 33, 1 << 30}) {
    aesEncrypt aes(key.data(), 32), shorter = aes;
    aes.SetKey(bad == 17 ? nullptr : key.data(), bad == 17 ? 16 : bad);
    EXPECT_EQ(std::memcmp(&aes, std::string(sizeof aes, '\0').data(), sizeof aes), 0);
    EXPECT_EQ(aes.Encrypt(data.data(), 16, PaddingPKCS7), aes.Decrypt(data.data(), 16, PaddingZeros)) << "both empty";
    shorter.SetKey(default_key, 16);
    for (const aesEncrypt &same : {aesEncrypt(nullptr, bad), shorter})
      EXPECT_EQ(std::memcmp(&same, &by_default, sizeof same), 0) << "nothing is left of the longer key";
  }
  alignas(aesEncrypt) unsigned char memory[sizeof(aesEncrypt)];
  (new (memory) aesEncrypt(key.data(), 32))->~aesEncrypt();
  EXPECT_EQ(std::count(std::begin(memory), std::end(memory), 0), static_cast<int>(sizeof memory));
}
