#include "zarlib/crypto/aes.h"
#include "zarlib/crypto/password.h"
#include "zarlib/text/codecs.h"

#include <gtest/gtest.h>

using bytes = std::vector<unsigned char>;

static const bytes key = zarBase162Bin("0102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f2021");

TEST(Password, EnvelopesAreThoseRecordedFromOpenSslByTheDefaultKey) {
  const std::pair<std::string, std::string> recorded[] = {
      {"secret", "vBLHGlpOaPul+sRFcewWdw=="}, {"seventeen letters", "w8rx1ZMH1cTEhNVKzNCeoSpEFIMO9VAJPQhdqEseKT0="}};
  for (const auto &[plain, envelope] : recorded)
    EXPECT_TRUE(pswEncrypt(plain) == envelope && pswDecrypt(envelope) == plain) << plain;

  const std::string plain = "a text of two blocks when filled";
  EXPECT_EQ(pswEncryptEx(plain, reinterpret_cast<const unsigned char *>("AmberHarborFjord"), 16), pswEncrypt(plain));
  for (const int length : {-1, 0, 16, 32}) {
    bytes data(plain.begin(), plain.end()), sealed = pswEncryptEx(data.data(), 32, nullptr, length);
    EXPECT_EQ(zarBin2Base64(sealed.data(), 32), pswEncrypt(plain));
    EXPECT_EQ(pswDecryptEx(sealed.data(), 32, nullptr, length), data);
  }
}

TEST(Password, EnvelopesAreAesThenRc4ThenBase64) {
  // Bytes 0 to 15 and 240 to 255 of the streams of RFC 6229.
  const char *const streams[][2] = {{"9ac7cc9a609d1ef7b2932899cde41b97", "065902e4b620f6cc36c8589f66432f2b"},
                                    {"0595e57fe5f0bb3c706edac8a4b2db11", "b06b9b1e195d13d8f4a7995c4553ac05"},
                                    {"eaa6bd25880bf93d3f5d1e4ca2611d91", "114ae344ded71b35f2e60febad727fd8"}};
  for (int size = 1; size < 300; ++size) {
    const int rounded = (size + 15) / 16 * 16, key_size = 16 + 8 * (size % 3);
    const std::string plain(static_cast<size_t>(size), static_cast<char>(size | 1));
    bytes data(plain.begin(), plain.end()), sealed = pswEncryptEx(data.data(), size, key.data(), key_size);
    const bytes inner = aesEncrypt(key.data(), key_size).Encrypt(data.data(), size, PaddingZeros);
    EXPECT_EQ(data, bytes(plain.begin(), plain.end())) << "the input stays";
    for (const size_t at : {0u, 240u}) {
      bytes stream = zarBase162Bin(streams[size % 3][at > 0]);
      for (size_t i = 0; i < 16 && at < sealed.size(); ++i) EXPECT_EQ(sealed[at + i], inner[at + i] ^ stream[i]);
    }
    EXPECT_EQ(pswEncryptEx(plain, key.data(), key_size), zarBin2Base64(sealed.data(), rounded));
    EXPECT_EQ(pswDecryptEx(zarBin2Base64(sealed.data(), rounded), key.data(), key_size), plain);
    data.resize(sealed.size());
    EXPECT_EQ(pswDecryptEx(sealed.data(), rounded, key.data(), key_size), data);
    EXPECT_EQ(sealed, inner) << "the buffer keeps the inner stage";
  }
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
