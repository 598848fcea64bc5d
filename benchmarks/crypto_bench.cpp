// AES and the password envelope against OpenSSL. The library returns a new vector, so the peer fills a new one too; in
// the "buffer" rows it reuses one buffer.
//
// The rows named Portable do not use the processor's AES instructions; run them with
//   OPENSSL_ia32cap=~0x200000200000000 crypto_bench --benchmark_filter=Portable    OpenSSL with vector permutations (SSSE3)
//   OPENSSL_ia32cap=~0x200020200000000 crypto_bench --benchmark_filter=Portable    OpenSSL with tables
#define OPENSSL_SUPPRESS_DEPRECATED
#include "zarlib/crypto/aes.h"
#include "zarlib/crypto/aes_path.h"
#include "zarlib/crypto/password.h"

#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/rc4.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

using bytes = std::vector<unsigned char>;

const bytes key(32, 0x5A);
const std::string password = "sixteen letters!";

int length(const bytes &data) { return static_cast<int>(data.size()); }

/// OpenSSL's cipher with a key, without padding.
class evp_ecb {
public:
  evp_ecb(int key_bits, bool encipher) : m_context(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free) {
    set_key(key_bits, encipher);
  }
  void set_key(int key_bits, bool encipher) {
    const EVP_CIPHER *cipher = key_bits == 128 ? EVP_aes_128_ecb() : EVP_aes_256_ecb();
    EVP_CipherInit_ex(m_context.get(), cipher, nullptr, key.data(), nullptr, encipher);
    EVP_CIPHER_CTX_set_padding(m_context.get(), 0);
  }
  void run(const unsigned char *in, int size, unsigned char *out) {
    int written = 0;
    EVP_CipherUpdate(m_context.get(), out, &written, in, size);
  }

private:
  std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> m_context;
};

void for_sizes(const char *name, void (*run)(benchmark::State &)) {
  benchmark::RegisterBenchmark(name, run)->ArgsProduct({{128, 256}, {1024, 1 << 20}});
}

template <bool encipher>
void ours(benchmark::State &state) {
  const bytes data(static_cast<size_t>(state.range(1)), 7);
  const aesEncrypt aes(key.data(), static_cast<int>(state.range(0)) / 8);
  for (auto _ : state) {
    bytes out = encipher ? aes.Encrypt(data.data(), length(data), PaddingZeros)
                         : aes.Decrypt(data.data(), length(data), PaddingZeros);
    benchmark::DoNotOptimize(out);
  }
  state.SetBytesProcessed(state.iterations() * state.range(1));
}

template <bool encipher>
void fresh_peer(benchmark::State &state) {
  const bytes data(static_cast<size_t>(state.range(1)), 7);
  evp_ecb evp(static_cast<int>(state.range(0)), encipher);
  for (auto _ : state) {
    bytes out(data.size());
    evp.run(data.data(), length(data), out.data());
    benchmark::DoNotOptimize(out);
  }
  state.SetBytesProcessed(state.iterations() * state.range(1));
}

template <bool encipher>
void buffer_peer(benchmark::State &state) {
  const bytes data(static_cast<size_t>(state.range(1)), 7);
  bytes out(data.size());
  evp_ecb evp(static_cast<int>(state.range(0)), encipher);
  for (auto _ : state) {
    evp.run(data.data(), length(data), out.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(1));
}

template <bool encipher>
void portable(benchmark::State &state) {
  const bytes data(static_cast<size_t>(state.range(1)), 7);
  bytes out(data.size());
  const int key_length = static_cast<int>(state.range(0)) / 8, rounds = key_length / 4 + 6;
  unsigned char schedule[240];
  std::memcpy(schedule, key.data(), static_cast<size_t>(key_length));
  const zar::aes_path &path = zar::portable_aes_path;
  path.expand_key(schedule, key_length, (rounds + 1) * 16);
  for (auto _ : state) {
    (encipher ? path.encipher : path.decipher)(schedule, rounds, data.data(), out.data(), data.size() / 16);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(1));
}

void ours_fresh_key(benchmark::State &state) {
  const bytes data(16, 7);
  for (auto _ : state) {
    bytes out = aesEncrypt(key.data(), static_cast<int>(state.range(0)) / 8).Encrypt(data.data(), 16, PaddingZeros);
    benchmark::DoNotOptimize(out);
  }
}

/// The peer reuses its context and only sets the new key.
void peer_fresh_key(benchmark::State &state) {
  const bytes data(16, 7);
  evp_ecb evp(static_cast<int>(state.range(0)), true);
  for (auto _ : state) {
    evp.set_key(static_cast<int>(state.range(0)), true);
    bytes out(16);
    evp.run(data.data(), 16, out.data());
    benchmark::DoNotOptimize(out);
  }
}

void portable_fresh_key(benchmark::State &state) {
  const bytes data(16, 7);
  const int key_length = static_cast<int>(state.range(0)) / 8, rounds = key_length / 4 + 6;
  for (auto _ : state) {
    unsigned char schedule[240];
    std::memcpy(schedule, key.data(), static_cast<size_t>(key_length));
    zar::portable_aes_path.expand_key(schedule, key_length, (rounds + 1) * 16);
    bytes out(16);
    zar::portable_aes_path.encipher(schedule, rounds, data.data(), out.data(), 1);
    benchmark::DoNotOptimize(out);
  }
}

std::string composed_envelope(evp_ecb &evp, const std::string &plain) {
  bytes data((plain.size() + 15) / 16 * 16);
  std::memcpy(data.data(), plain.data(), plain.size());
  evp.set_key(128, true);
  evp.run(data.data(), length(data), data.data());
  RC4_KEY rc4;
  RC4_set_key(&rc4, 16, key.data());
  RC4(&rc4, data.size(), data.data(), data.data());
  std::string text(4 * ((data.size() + 2) / 3) + 1, '\0');
  auto *out = reinterpret_cast<unsigned char *>(text.data());
  text.resize(static_cast<size_t>(EVP_EncodeBlock(out, data.data(), length(data))));
  return text;
}

std::string composed_opening(evp_ecb &evp, const std::string &text) {
  bytes data(text.size() / 4 * 3);
  EVP_DecodeBlock(data.data(), reinterpret_cast<const unsigned char *>(text.data()), static_cast<int>(text.size()));
  data.resize(data.size() / 16 * 16);
  RC4_KEY rc4;
  RC4_set_key(&rc4, 16, key.data());
  RC4(&rc4, data.size(), data.data(), data.data());
  evp.set_key(128, false);
  evp.run(data.data(), length(data), data.data());
  data.push_back(0);
  return reinterpret_cast<const char *>(data.data());
}

template <class Work>
void envelope(const char *name, Work work) {
  benchmark::RegisterBenchmark(name, [work](benchmark::State &state) {
    evp_ecb evp(128, true);
    const std::string sealed = pswEncryptEx(password, key.data(), 16), by_default = pswEncrypt(password);
    for (auto _ : state) {
      std::string text = work(evp, sealed, by_default);
      benchmark::DoNotOptimize(text);
    }
  });
}

using text = const std::string &;

void add_envelopes() {
  envelope("BM_Seal/ours", [](evp_ecb &, text, text) { return pswEncryptEx(password, key.data(), 16); });
  envelope("BM_Seal/OpenSSL", [](evp_ecb &evp, text, text) { return composed_envelope(evp, password); });
  envelope("BM_SealByDefaultKey/ours", [](evp_ecb &, text, text) { return pswEncrypt(password); });
  envelope("BM_SealByDefaultKey/OpenSSL", [](evp_ecb &evp, text, text) { return composed_envelope(evp, password); });
  envelope("BM_Open/ours", [](evp_ecb &, text sealed, text) { return pswDecryptEx(sealed, key.data(), 16); });
  envelope("BM_Open/OpenSSL", [](evp_ecb &evp, text sealed, text) { return composed_opening(evp, sealed); });
  envelope("BM_OpenByDefaultKey/ours", [](evp_ecb &, text, text by_default) { return pswDecrypt(by_default); });
}

} // namespace

int main(int argc, char **argv) {
  for_sizes("BM_Encrypt/ours", ours<true>);
  for_sizes("BM_Encrypt/OpenSSL", fresh_peer<true>);
  for_sizes("BM_Encrypt/OpenSSL_buffer", buffer_peer<true>);
  for_sizes("BM_Decrypt/ours", ours<false>);
  for_sizes("BM_Decrypt/OpenSSL", fresh_peer<false>);
  for_sizes("BM_Decrypt/OpenSSL_buffer", buffer_peer<false>);
  for_sizes("BM_PortableEncrypt/ours", portable<true>);
  for_sizes("BM_PortableEncrypt/OpenSSL", buffer_peer<true>);
  for_sizes("BM_PortableDecrypt/ours", portable<false>);
  for_sizes("BM_PortableDecrypt/OpenSSL", buffer_peer<false>);
  benchmark::RegisterBenchmark("BM_FreshKey/ours", ours_fresh_key)->Arg(128)->Arg(256);
  benchmark::RegisterBenchmark("BM_FreshKey/OpenSSL", peer_fresh_key)->Arg(128)->Arg(256);
  benchmark::RegisterBenchmark("BM_PortableFreshKey/ours", portable_fresh_key)->Arg(128)->Arg(256);
  benchmark::RegisterBenchmark("BM_PortableFreshKey/OpenSSL", peer_fresh_key)->Arg(128)->Arg(256);
  add_envelopes();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
