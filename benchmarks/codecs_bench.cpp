// The codecs against OpenSSL and modp. The library returns a new string or vector, so the peers fill a new one too;
// in the "buffer" rows they reuse one buffer.
#include "zarlib/text/codecs.h"

#include <benchmark/benchmark.h>
#include <modp_b16.h>
#include <modp_b64.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <random>
#include <string>
#include <vector>

namespace {

using bytes = std::vector<unsigned char>;

bytes random_bytes(size_t size) {
  std::mt19937 random(1);
  bytes data(size);
  for (auto &byte : data) byte = static_cast<unsigned char>(random());
  return data;
}

const char *text_at(const unsigned char *p) { return reinterpret_cast<const char *>(p); }
unsigned char *bytes_at(char *p) { return reinterpret_cast<unsigned char *>(p); }
const unsigned char *bytes_at(const std::string &s) { return reinterpret_cast<const unsigned char *>(s.data()); }
int length_of(const bytes &data) { return static_cast<int>(data.size()); }

/// Runs `work` on random bytes; the rate counts bytes, not characters, in both directions.
template <class Prepare, class Work>
void run(benchmark::State &state, Prepare prepare, Work work) {
  const bytes data = random_bytes(static_cast<size_t>(state.range(0)));
  const auto input = prepare(data);
  for (auto _ : state) {
    auto result = work(input);
    benchmark::DoNotOptimize(result);
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

bytes as_they_are(const bytes &data) { return data; }
std::string in_base16(const bytes &data) { return zarBin2Base16(data.data(), length_of(data)); }
std::string in_base64(const bytes &data) { return zarBin2Base64(data.data(), length_of(data)); }
std::string in_lines(const bytes &data) {
  std::string text = in_base64(data), lines;
  for (size_t i = 0; i < text.size(); i += 76) lines.append(text, i, 76).append("\r\n");
  return lines;
}
std::string in_text(const bytes &data) { return zarBin2Text(data.data(), length_of(data)); }

template <class Prepare, class Work>
void add(const char *name, Prepare prepare, Work work) {
  benchmark::RegisterBenchmark(name, [=](benchmark::State &state) { run(state, prepare, work); })
      ->Arg(16)
      ->Arg(1024)
      ->Arg(1 << 20);
}

std::vector<char> buffer(4 << 20);

void add_base64() {
  add("BM_ToBase64/ours", as_they_are, in_base64);
  add("BM_ToBase64/OpenSSL", as_they_are, [](const bytes &data) {
    std::string text(4 * ((data.size() + 2) / 3) + 1, '\0');
    text.resize(static_cast<size_t>(EVP_EncodeBlock(bytes_at(text.data()), data.data(), length_of(data))));
    return text;
  });
  add("BM_ToBase64/modp", as_they_are,
      [](const bytes &data) { return modp::b64_encode(text_at(data.data()), data.size()); });
  add("BM_ToBase64/OpenSSL_buffer", as_they_are,
      [](const bytes &data) { return EVP_EncodeBlock(bytes_at(buffer.data()), data.data(), length_of(data)); });
  add("BM_ToBase64/modp_buffer", as_they_are,
      [](const bytes &data) { return modp_b64_encode(buffer.data(), text_at(data.data()), data.size()); });

  add("BM_FromBase64/ours", in_base64, [](const std::string &text) { return zarBase642Bin(text); });
  add("BM_FromBase64/OpenSSL", in_base64, [](const std::string &text) {
    bytes data(text.size() / 4 * 3);
    EVP_DecodeBlock(data.data(), bytes_at(text), static_cast<int>(text.size()));
    return data;
  });
  add("BM_FromBase64/modp", in_base64,
      [](const std::string &text) { return modp::b64_decode(text.data(), text.size()); });
  add("BM_FromBase64/OpenSSL_buffer", in_base64, [](const std::string &text) {
    return EVP_DecodeBlock(bytes_at(buffer.data()), bytes_at(text), static_cast<int>(text.size()));
  });
  add("BM_FromBase64/modp_buffer", in_base64,
      [](const std::string &text) { return modp_b64_decode(buffer.data(), text.data(), text.size()); });
  // Lines of 76 characters, which modp rejects.
  add("BM_FromBase64Lines/ours", in_lines, [](const std::string &text) { return zarBase642Bin(text); });
  add("BM_FromBase64Lines/OpenSSL", in_lines, [](const std::string &text) {
    bytes data(text.size() / 4 * 3 + 3);
    EVP_ENCODE_CTX *const context = EVP_ENCODE_CTX_new();
    int count = 0, last = 0;
    EVP_DecodeInit(context);
    EVP_DecodeUpdate(context, data.data(), &count, bytes_at(text), static_cast<int>(text.size()));
    EVP_DecodeFinal(context, data.data() + count, &last);
    EVP_ENCODE_CTX_free(context);
    return data;
  });
}

void add_base16() {
  add("BM_ToBase16/ours", as_they_are, in_base16);
  add("BM_ToBase16/OpenSSL", as_they_are, [](const bytes &data) {
    std::string text(2 * data.size() + 1, '\0');
    OPENSSL_buf2hexstr_ex(text.data(), text.size(), nullptr, data.data(), data.size(), '\0');
    return text;
  });
  add("BM_ToBase16/modp", as_they_are,
      [](const bytes &data) { return modp::b16_encode(text_at(data.data()), data.size()); });
  add("BM_ToBase16/modp_buffer", as_they_are,
      [](const bytes &data) { return modp_b16_encode(buffer.data(), text_at(data.data()), data.size()); });

  add("BM_FromBase16/ours", in_base16, [](const std::string &text) { return zarBase162Bin(text); });
  add("BM_FromBase16/OpenSSL", in_base16, [](const std::string &text) {
    bytes data(text.size() / 2);
    size_t count;
    OPENSSL_hexstr2buf_ex(data.data(), data.size(), &count, text.c_str(), '\0');
    return data;
  });
  add("BM_FromBase16/modp", in_base16,
      [](const std::string &text) { return modp::b16_decode(text.data(), text.size()); });
  add("BM_FromBase16/modp_buffer", in_base16,
      [](const std::string &text) { return modp_b16_decode(buffer.data(), text.data(), text.size()); });

  add("BM_ToText/ours", as_they_are, in_text);
  add("BM_ToText/OpenSSL", as_they_are, [](const bytes &data) {
    std::string text(3 * data.size() + 1, '\0');
    OPENSSL_buf2hexstr_ex(text.data(), text.size(), nullptr, data.data(), data.size(), ' ');
    return text;
  });
  add("BM_FromText/ours", in_text, [](const std::string &text) { return zarText2Bin(text); });
}

} // namespace

int main(int argc, char **argv) {
  benchmark::Initialize(&argc, argv);
  add_base64();
  add_base16();
  benchmark::RunSpecifiedBenchmarks();
}
