#include "zarlib/crypto/aes.h"

#include "zarlib/crypto/aes_path.h"
#include "zarlib/time/ticks.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <new>
#include <numeric>
#include <random>
#include <thread>

#ifdef ZARLIB_TEST_OPENSSL
#include <openssl/evp.h>
#endif

namespace {

using bytes = std::vector<unsigned char>;

bytes from_hex(const std::string &text) {
  bytes out;
  for (size_t i = 0; i < text.size(); i += 2)
    out.push_back(static_cast<unsigned char>(std::stoi(text.substr(i, 2), nullptr, 16)));
  return out;
}

/// One path as a user would have it: whole blocks, in place, between guards.
bytes run(const zar::aes_path &path, bool encipher, const bytes &key, const bytes &data) {
  unsigned char schedule[240] = {};
  std::copy(key.begin(), key.end(), schedule);
  const int rounds = static_cast<int>(key.size()) / 4 + 6;
  path.expand_key(schedule, static_cast<int>(key.size()), (rounds + 1) * 16);
  bytes apart(data.size() + 2, 0xA5), in_place = data;
  (encipher ? path.encipher : path.decipher)(schedule, rounds, data.data(), apart.data() + 1, data.size() / 16);
  (encipher ? path.encipher : path.decipher)(schedule, rounds, in_place.data(), in_place.data(), data.size() / 16);
  EXPECT_TRUE(apart.front() == 0xA5 && apart.back() == 0xA5);
  EXPECT_TRUE(std::equal(in_place.begin(), in_place.end(), apart.begin() + 1));
  return in_place;
}

bytes counted(size_t size) {
  bytes out(size);
  std::iota(out.begin(), out.end(), static_cast<unsigned char>(1));
  return out;
}

int length(const bytes &data) { return static_cast<int>(data.size()); }

} // namespace

TEST(Aes, PublishedVectorsHoldOnEveryPath) {
  // FIPS 197, appendix C, and NIST SP 800-38A, F.1.
  const std::string example = "00112233445566778899aabbccddeeff",
                    count = "000102030405060708090a0b0c0d0e0f1011121314151617";
  const std::string blocks = "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
                             "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710";
  const std::string vectors[][3] = {{count.substr(0, 32), example, "69c4e0d86a7b0430d8cdb78070b4c55a"},
                                    {count, example, "dda97ca4864cdfe06eaf70a0ec0d7191"},
                                    {count + "18191a1b1c1d1e1f", example, "8ea2b7ca516745bfeafc49904b496089"},
                                    {"2b7e151628aed2a6abf7158809cf4f3c", blocks,
                                     "3ad77bb40d7a3660a89ecaf32466ef97f5d3d58503b9699de785895a96fdbaaf"
                                     "43b1cd7f598ece23881b00e3ed0306887b0c785e27e8ad3f8223207104725dd4"},
                                    {"8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b", blocks,
                                     "bd334f1d6e45f25ff712a214571fa5cc974104846d0ad3ad7734ecb3ecee4eef"
                                     "ef7afd2270e2e60adce0ba2face6444e9a4b41ba738d6c72fb16691603c18e0e"},
                                    {"603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4", blocks,
                                     "f3eed1bdb5d2a03c064b5a7e3db181f8591ccb10d410ed26dc5ba74a31362870"
                                     "b6ed21b99ca6f4f9f153e7b1beafed1d23304b7a39f9f3ff067d8d8f9e24ecc7"}};
  for (const auto &[k, p, c] : vectors) {
    const bytes key = from_hex(k), plain = from_hex(p), cipher = from_hex(c);
    for (const zar::aes_path *path : zar::aes_paths()) {
      EXPECT_EQ(run(*path, true, key, plain), cipher) << path->name;
      EXPECT_EQ(run(*path, false, key, cipher), plain) << path->name;
    }
    const aesEncrypt aes(key.data(), length(key));
    EXPECT_EQ(aes.Encrypt(plain.data(), length(plain), PaddingZeros), cipher);
    EXPECT_EQ(aes.Decrypt(cipher.data(), length(cipher), PaddingZeros), plain);
  }
}

TEST(Aes, EveryPathGivesWhatOpenSslGives) {
  // The sum over all results was recorded from OpenSSL, which itself is asked where it is at hand.
  std::mt19937 random(197);
  std::uint32_t sum = 0;
  for (size_t blocks = 0; blocks < 150; ++blocks) {
    bytes key(16 + 8 * (blocks % 3)), data(blocks * 16);
    for (auto *filled : {&key, &data})
      for (auto &byte : *filled) byte = static_cast<unsigned char>(random());
    for (const bool encipher : {true, false}) {
      const bytes expected = run(zar::portable_aes_path, encipher, key, data);
      for (const unsigned char byte : expected) sum = (sum ^ byte) * 16777619;
      for (const zar::aes_path *path : zar::aes_paths())
        EXPECT_EQ(run(*path, encipher, key, data), expected) << path->name;
#ifdef ZARLIB_TEST_OPENSSL
      const EVP_CIPHER *ciphers[] = {EVP_aes_128_ecb(), EVP_aes_192_ecb(), EVP_aes_256_ecb()};
      const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> evp(EVP_CIPHER_CTX_new(),
                                                                                EVP_CIPHER_CTX_free);
      EVP_CipherInit_ex(evp.get(), ciphers[blocks % 3], nullptr, key.data(), nullptr, encipher);
      EVP_CIPHER_CTX_set_padding(evp.get(), 0);
      bytes theirs(data.size() + 16);
      int written = 0;
      EVP_CipherUpdate(evp.get(), theirs.data(), &written, data.data(), length(data));
      theirs.resize(data.size());
      EXPECT_EQ(theirs, expected) << blocks;
#endif
    }
  }
  EXPECT_EQ(sum, 3945060078u);
#ifndef ZARLIB_TEST_OPENSSL
  GTEST_SKIP() << "the sum holds; no OpenSSL here to ask for the single blocks";
#endif
}

TEST(Aes, PaddingIsWrittenAndTakenAwayByItsMode) {
  const aesEncrypt aes(counted(24).data(), 24);
  for (int size = 0; size <= 64; ++size) {
    const bytes plain = counted(static_cast<size_t>(size));
    for (const int mode : {0, 1, 2, 3, 4, 5, -1}) {
      const auto padding = static_cast<PaddingMode>(mode);
      const auto before = zarGetTickCount();
      const bytes cipher = aes.Encrypt(plain.data(), size, padding);
      const auto elapsed = zarGetTickCount() - before;
      const bytes padded = aes.Decrypt(cipher.data(), length(cipher), PaddingZeros);
      const int count = mode == PaddingZeros ? (16 - size % 16) % 16 : 16 - size % 16;
      ASSERT_EQ(length(padded), size + count) << mode;
      EXPECT_TRUE(std::equal(plain.begin(), plain.end(), padded.begin()));
      for (int i = 0; i < count; ++i) {
        const int byte = padded[static_cast<size_t>(size + i)];
        const bool counting =
            mode == PaddingPKCS7 || (i == count - 1 && mode >= PaddingISO10126 && mode <= PaddingPKCS7);
        if (mode == PaddingISO10126 && !counting)
          EXPECT_LE(static_cast<unsigned char>(static_cast<unsigned>(byte) - before), elapsed);
        else
          EXPECT_EQ(byte, counting ? count : 0) << mode << ", " << size;
      }
      if (mode < PaddingISO10126 || mode > PaddingPKCS7) continue;
      EXPECT_EQ(aes.Decrypt(cipher.data(), length(cipher), padding), plain);
    }
  }
}

TEST(Aes, TheLastByteAloneSaysWhatDecryptTakesAway) {
  const aesEncrypt aes;
  for (const auto &[last, left] : {std::pair(0, 32), {1, 31}, {15, 17}, {16, 16}, {17, 32}, {255, 32}}) {
    bytes plain = counted(32);
    plain.back() = static_cast<unsigned char>(last);
    const bytes cipher = aes.Encrypt(plain.data(), 32, PaddingZeros);
    for (const int mode : {0, 1, 2, 3, 99})
      EXPECT_EQ(aes.Decrypt(cipher.data(), 32, static_cast<PaddingMode>(mode)),
                bytes(plain.begin(), plain.begin() + left));
    EXPECT_EQ(aes.Decrypt(cipher.data(), 32, PaddingZeros), plain);
  }
}

TEST(Aes, LengthsThatAreNoWholeBlocksStayInsideTheirMemory) {
  const aesEncrypt aes;
  for (int size = -1; size < 140; ++size) {
    const size_t used = static_cast<size_t>(std::max(size, 0)), whole = used - used % 16;
    const bytes plain = counted(used), cipher = aes.Encrypt(plain.data(), static_cast<int>(whole), PaddingZeros);
    const std::unique_ptr<unsigned char[]> exact(new unsigned char[used]);
    std::copy(cipher.begin(), cipher.end(), exact.get());
    std::copy(plain.begin() + static_cast<int>(whole), plain.end(), exact.get() + whole);
    EXPECT_EQ(aes.Decrypt(exact.get(), size, PaddingZeros), plain);
    if (whole == used) continue;
    exact[used - 1] = 16;
    EXPECT_EQ(length(aes.Decrypt(exact.get(), size, PaddingPKCS7)), std::max(size - 16, 0));
  }
  EXPECT_TRUE(aes.Encrypt(nullptr, -1, PaddingPKCS7).empty());
}

TEST(Aes, AKeyThatIsNoneIsRefusedUntilTheNext) {
  const bytes key = counted(32), data = counted(16);
  aesEncrypt aes, by_default(reinterpret_cast<const unsigned char *>("AmberHarborFjord"), 16);
  const bytes expected = by_default.Encrypt(data.data(), 16, PaddingPKCS7);
  for (const int bad : {-1, 0, 1, 15, 17, 20, 33, 1 << 30}) {
    aes.SetKey(key.data(), bad);
    EXPECT_TRUE(aes.Encrypt(data.data(), 16, PaddingPKCS7).empty() &&
                aes.Decrypt(data.data(), 16, PaddingZeros).empty());
    EXPECT_TRUE(aesEncrypt(aes).Encrypt(data.data(), 16, PaddingPKCS7).empty());
    aes = aesEncrypt(nullptr, bad);
    EXPECT_EQ(aesEncrypt(aes).Encrypt(data.data(), 16, PaddingPKCS7), expected);
  }
  aes.SetKey(nullptr, 16);
  EXPECT_TRUE(aes.Encrypt(data.data(), 16, PaddingPKCS7).empty());
}

TEST(Aes, NothingOfTheKeyIsLeftBehind) {
  const bytes key = counted(32);
  for (const bool destroyed : {true, false}) {
    alignas(aesEncrypt) unsigned char memory[sizeof(aesEncrypt)];
    auto *aes = new (memory) aesEncrypt(key.data(), 32);
    EXPECT_EQ(std::memcmp(memory, key.data(), 32), 0);
    if (destroyed)
      aes->~aesEncrypt();
    else
      aes->SetKey(key.data(), 5);
    EXPECT_EQ(std::count(std::begin(memory), std::end(memory), 0), static_cast<int>(sizeof memory));
  }
}

TEST(Aes, OneObjectServesManyThreads) {
  const aesEncrypt aes(counted(16).data(), 16);
  const auto use = [&] {
    for (int size = 900; size < 1000; ++size) {
      const bytes plain = counted(static_cast<size_t>(size)), cipher = aes.Encrypt(plain.data(), size, PaddingPKCS7);
      EXPECT_EQ(aes.Decrypt(cipher.data(), length(cipher), PaddingPKCS7), plain);
    }
  };
  std::thread beside(use);
  use();
  beside.join();
}
