#define OPENSSL_SUPPRESS_DEPRECATED
#include "zarlib/crypto/password.h"
#include "zarlib/text/codecs.h"

#include <gtest/gtest.h>

#ifdef ZARLIB_TEST_OPENSSL
#include <openssl/aes.h>
#include <openssl/rc4.h>
#endif

using bytes = std::vector<unsigned char>;

static const bytes key = zarBase162Bin("000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f20");

TEST(Password, EnvelopesAreThoseRecordedFromOpenSslAlsoByTheDefaultKey) {
  const std::tuple<int, const char *, const char *> recorded[] = {
      {0, "secret", "vBLHGlpOaPul+sRFcewWdw=="},
      {0, "seventeen letters", "w8rx1ZMH1cTEhNVKzNCeoSpEFIMO9VAJPQhdqEseKT0="},
      {16, "secret", "47KrIuSaRscbHkFzJX8fsQ=="},
      {24, "secret", "LCEIo3XqDQlN/GBEYEQ54g=="}};
  for (const auto &[size, plain, envelope] : recorded) {
    EXPECT_EQ(size ? pswEncryptEx(plain, key.data(), size) : pswEncrypt(plain), envelope);
    EXPECT_EQ(size ? pswDecryptEx(envelope, key.data(), size) : pswDecrypt(envelope), plain);
  }

  const std::string plain = "a text of two blocks when filled";
  EXPECT_EQ(pswEncryptEx(plain, reinterpret_cast<const unsigned char *>("AmberHarborFjord"), 16), pswEncrypt(plain));
  for (const int length : {-1, 0, 16, 32}) {
    bytes data(plain.begin(), plain.end()), sealed = pswEncryptEx(data.data(), 32, nullptr, length);
    EXPECT_EQ(zarBin2Base64(sealed.data(), 32), pswEncrypt(plain));
    EXPECT_EQ(pswDecryptEx(sealed.data(), 32, nullptr, length), data);
  }
}

TEST(Password, EnvelopesAreAesThenRc4ThenBase64) {
#ifndef ZARLIB_TEST_OPENSSL
  GTEST_SKIP() << "no OpenSSL here to compose them from";
#else
  for (int size = 1; size < 200; ++size) {
    const int rounded = (size + 15) / 16 * 16, key_size = 16 + 8 * (size % 3);
    const std::string plain(static_cast<size_t>(size), static_cast<char>(size));
    bytes data(plain.begin(), plain.end()), sealed = data;
    sealed.resize(static_cast<size_t>(rounded));
    AES_KEY aes;
    RC4_KEY rc4;
    AES_set_encrypt_key(key.data(), key_size * 8, &aes);
    for (size_t at = 0; at < sealed.size(); at += 16) AES_encrypt(&sealed[at], &sealed[at], &aes);
    const bytes inner = sealed;
    RC4_set_key(&rc4, key_size, key.data());
    RC4(&rc4, sealed.size(), sealed.data(), sealed.data());

    EXPECT_EQ(pswEncryptEx(plain, key.data(), key_size), zarBin2Base64(sealed.data(), rounded));
    EXPECT_EQ(pswDecryptEx(zarBin2Base64(sealed.data(), rounded), key.data(), key_size), plain);
    EXPECT_EQ(pswEncryptEx(data.data(), size, key.data(), key_size), sealed);
    EXPECT_EQ(data, bytes(plain.begin(), plain.end())) << "the input stays";
    data.resize(sealed.size());
    EXPECT_EQ(pswDecryptEx(sealed.data(), rounded, key.data(), key_size), data);
    EXPECT_EQ(sealed, inner) << "the buffer keeps the inner stage";
  }
#endif
}

TEST(Password, WhatIsNoEnvelopeComesBackDecodedAndRefusalsAreEmpty) {
  const std::string sealed = pswEncrypt({"cut\0off", 7});
  for (const auto &[text, decoded] :
       {std::pair("", ""), {"QUJD", "ABC"}, {"Q U\nJ D=QUJD", "ABC"}, {"QUIAQQ==", "AB"}, {"*", ""}})
    EXPECT_TRUE(pswDecrypt(text) == decoded && pswDecryptEx(text, key.data(), 16) == decoded) << text;
  EXPECT_TRUE(pswDecrypt(sealed) == "cut" && pswDecryptEx(sealed, key.data(), 16) != "cut");

  bytes data(21, 7);
  for (const int length : {-1, 0, 1, 15, 17, 33}) {
    EXPECT_EQ(pswEncryptEx("secret", key.data(), length) + pswDecryptEx(sealed, key.data(), length), "") << length;
    EXPECT_EQ(pswEncryptEx(data.data(), 21, key.data(), length), pswDecryptEx(data.data(), 16, key.data(), length));
  }
  EXPECT_EQ(pswEncrypt("") + pswEncryptEx("", key.data(), 16) + pswEncryptEx("s", nullptr, 16), "");
  EXPECT_TRUE(pswDecryptEx(sealed, nullptr, 16).empty() && pswDecryptEx(data.data(), -1, nullptr, 0).empty());
  EXPECT_EQ(pswDecryptEx(data.data(), 21, key.data(), 16).size(), 21u) << "no whole blocks";
}
