#include "zarlib/crypto/password.h"

#include "zarlib/text/codecs.h"

#include <gtest/gtest.h>

#include <random>

#ifdef ZARLIB_TEST_OPENSSL
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/aes.h>
#include <openssl/evp.h>
#include <openssl/rc4.h>
#endif

namespace {

using bytes = std::vector<unsigned char>;

const unsigned char *bytes_of(const char *text) { return reinterpret_cast<const unsigned char *>(text); }

/// The counting key of the examples of FIPS 197.
bytes counting_key(int size) {
  bytes key;
  for (int i = 0; i < size; ++i) key.push_back(static_cast<unsigned char>(i));
  return key;
}

} // namespace

TEST(Password, EnvelopesAreThoseThatWereRecordedFromOpenSsl) {
  const std::tuple<int, const char *, const char *> recorded[] = {
      {0, "secret", "vBLHGlpOaPul+sRFcewWdw=="},
      {0, "sixteen letters!", "q2o0CH6tdzmKyQQMe2JCww=="},
      {0, "seventeen letters", "w8rx1ZMH1cTEhNVKzNCeoSpEFIMO9VAJPQhdqEseKT0="},
      {16, "secret", "47KrIuSaRscbHkFzJX8fsQ=="},
      {24, "secret", "LCEIo3XqDQlN/GBEYEQ54g=="},
      {32, "a longer pass phrase, of more than two blocks",
       "CRBwJERgyVcKZy3aci/6htqkap8U8N7FyW9PPzAFB9GQKeMT6sPNcK4KYgsJx/Jc"}};
  for (const auto &[size, plain, envelope] : recorded) {
    const bytes key = counting_key(size);
    EXPECT_EQ(size ? pswEncryptEx(plain, key.data(), size) : pswEncrypt(plain), envelope);
    EXPECT_EQ(size ? pswDecryptEx(envelope, key.data(), size) : pswDecrypt(envelope), plain);
  }
}

TEST(Password, EnvelopesAreAesThenRc4ThenBase64) {
#ifndef ZARLIB_TEST_OPENSSL
  GTEST_SKIP() << "no OpenSSL here to compose them from";
#else
  std::mt19937 random(1994);
  for (size_t size = 1; size < 200; ++size) {
    bytes key(16 + 8 * (size % 3)), sealed((size + 15) / 16 * 16), opened(sealed.size());
    std::string plain(size, '\0');
    for (auto &byte : key) byte = static_cast<unsigned char>(random());
    for (auto &byte : plain) byte = static_cast<char>(random() % 255 + 1);
    std::copy(plain.begin(), plain.end(), sealed.begin());
    AES_KEY aes;
    RC4_KEY rc4;
    AES_set_encrypt_key(key.data(), static_cast<int>(key.size()) * 8, &aes);
    for (size_t at = 0; at < sealed.size(); at += 16) AES_encrypt(&sealed[at], &sealed[at], &aes);
    const bytes inner = sealed;
    RC4_set_key(&rc4, static_cast<int>(key.size()), key.data());
    RC4(&rc4, sealed.size(), sealed.data(), sealed.data());
    std::string text(sealed.size() * 2, '\0');
    text.resize(static_cast<size_t>(EVP_EncodeBlock(reinterpret_cast<unsigned char *>(text.data()), sealed.data(),
                                                    static_cast<int>(sealed.size()))));

    const int key_size = static_cast<int>(key.size());
    EXPECT_EQ(pswEncryptEx(plain, key.data(), key_size), text);
    EXPECT_EQ(pswDecryptEx(text, key.data(), key_size), plain);
    bytes data(plain.begin(), plain.end());
    EXPECT_EQ(pswEncryptEx(data.data(), static_cast<int>(size), key.data(), key_size), sealed);
    EXPECT_EQ(data, bytes(plain.begin(), plain.end())) << "the input stays";
    data.resize(sealed.size());
    EXPECT_EQ(pswDecryptEx(sealed.data(), static_cast<int>(sealed.size()), key.data(), key_size), data);
    EXPECT_EQ(sealed, inner) << "the buffer keeps the inner stage";
  }
#endif
}

TEST(Password, ADefaultKeyStandsInWhereNoneIsGiven) {
  const std::string plain = "a text of more than one block";
  const unsigned char *key = bytes_of("AmberHarborFjord");
  EXPECT_EQ(pswEncryptEx(plain, key, 16), pswEncrypt(plain));
  EXPECT_EQ(pswDecryptEx(pswEncrypt(plain), key, 16), plain);
  bytes data(plain.begin(), plain.end()), filled = data;
  filled.resize(32);
  for (const int length : {-1, 0, 16, 32}) {
    bytes sealed = pswEncryptEx(data.data(), static_cast<int>(data.size()), nullptr, length);
    EXPECT_EQ(zarBin2Base64(sealed.data(), static_cast<int>(sealed.size())), pswEncrypt(plain));
    EXPECT_EQ(pswDecryptEx(sealed.data(), 32, nullptr, length), filled);
  }
}

TEST(Password, WhatIsNoEnvelopeComesBackDecodedAndRefusalsAreEmpty) {
  const bytes key = counting_key(32);
  const std::pair<const char *, const char *> texts[] = {
      {"", ""}, {"QUJD", "ABC"}, {"Q U\nJ D=QUJD", "ABC"}, {"QUIAQQ==", "AB"}, {"****", ""}};
  for (const auto &[text, decoded] : texts) {
    EXPECT_EQ(pswDecrypt(text), decoded);
    EXPECT_EQ(pswDecryptEx(text, key.data(), 16), decoded);
  }
  EXPECT_EQ(pswDecrypt(pswEncrypt(std::string("cut\0off", 7))), "cut");
  EXPECT_NE(pswDecryptEx(pswEncrypt("secret"), key.data(), 16), "secret");

  const std::string sealed = pswEncrypt("secret");
  for (const int length : {-1, 0, 1, 15, 17, 33}) {
    EXPECT_EQ(pswEncryptEx("secret", key.data(), length) + pswDecryptEx(sealed, key.data(), length), "") << length;
    bytes data(48, 7);
    EXPECT_TRUE(pswEncryptEx(data.data(), 48, key.data(), length).empty() &&
                pswDecryptEx(data.data(), 48, key.data(), length).empty());
  }
  EXPECT_EQ(pswEncrypt("") + pswEncryptEx("", key.data(), 16) + pswEncryptEx("secret", nullptr, 16) +
                pswDecryptEx(sealed, nullptr, 16),
            "");
  bytes odd(21, 7);
  EXPECT_TRUE(pswEncryptEx(odd.data(), 0, key.data(), 16).empty() &&
              pswDecryptEx(odd.data(), -1, key.data(), 16).empty());
  EXPECT_EQ(pswDecryptEx(odd.data(), 21, key.data(), 16).size(), 21u);
}
