// Sample buffers against spandsp's encoder and a plain table look-up, on the samples of a spoken word, if installed,
// and on noise.
#include "zarlib/audio/samples.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#if __has_include(<spandsp.h>)
#include <spandsp.h>
#endif

namespace {

std::vector<double> speech() {
  std::vector<double> values;
  if (std::FILE *file = std::fopen("/usr/share/sounds/alsa/Front_Center.wav", "rb")) {
    std::fseek(file, 44, SEEK_SET);
    for (std::int16_t sample; std::fread(&sample, sizeof sample, 1, file) == 1;) values.push_back(sample / 32768.0);
    std::fclose(file);
  }
  return values;
}

std::vector<double> noise() {
  std::mt19937 random(1);
  std::vector<double> values(68000);
  for (double &value : values) value = std::uniform_real_distribution<double>(-1, 1)(random);
  return values;
}

std::vector<double> signal(benchmark::State &state) {
  const std::vector<double> values = state.range(0) ? noise() : speech();
  if (values.empty()) state.SkipWithError("no speech file");
  return values;
}

short linear(double value) { return static_cast<short>(static_cast<int>(value * 32767.0)); }

template <class Buffer>
void BM_ours(benchmark::State &state) {
  const std::vector<double> values = signal(state);
  Buffer samples;
  samples.AllocSampleBuffer(static_cast<int>(values.size()));
  for (auto _ : state) {
    samples.Clear();
    for (const double value : values) samples.AppendSample(value);
    benchmark::DoNotOptimize(samples.buffer().data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<long>(values.size()));
}

/// A vector filled in the obvious way.
template <class Sample, class Encoder>
void append_all(benchmark::State &state, Encoder encode) {
  const std::vector<double> values = signal(state);
  std::vector<Sample> samples;
  samples.reserve(values.size());
  for (auto _ : state) {
    samples.clear();
    for (const double value : values) samples.push_back(encode(linear(value)));
    benchmark::DoNotOptimize(samples.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<long>(values.size()));
}

template <class Buffer>
std::vector<unsigned char> table_of() {
  std::vector<unsigned char> table(65536);
  for (int sample = -32768; sample < 32768; ++sample) {
    Buffer one;
    one.AppendSample((sample < 0 ? sample - 0.5 : sample + 0.5) / 32767.0);
    table[static_cast<unsigned short>(sample)] = one.buffer()[0];
  }
  return table;
}

template <class Buffer>
void BM_table(benchmark::State &state) {
  static const std::vector<unsigned char> table = table_of<Buffer>();
  const unsigned char *codes = table.data();
  append_all<unsigned char>(state, [codes](short sample) { return codes[static_cast<unsigned short>(sample)]; });
}

void BM_vector(benchmark::State &state) {
  append_all<short>(state, [](short sample) { return sample; });
}

#if __has_include(<spandsp.h>)
void BM_a_law_spandsp(benchmark::State &state) {
  append_all<unsigned char>(state, [](short sample) { return linear_to_alaw(sample); });
}

void BM_mu_law_spandsp(benchmark::State &state) {
  append_all<unsigned char>(state, [](short sample) { return linear_to_ulaw(sample); });
}

BENCHMARK(BM_a_law_spandsp)->Name("BM_ALaw/spandsp")->Arg(0)->Arg(1);
BENCHMARK(BM_mu_law_spandsp)->Name("BM_MuLaw/spandsp")->Arg(0)->Arg(1);
#endif

} // namespace

// Argument 0 is speech, 1 is noise.
BENCHMARK(BM_ours<aLawSample>)->Name("BM_ALaw/ours")->Arg(0)->Arg(1);
BENCHMARK(BM_table<aLawSample>)->Name("BM_ALaw/table")->Arg(0)->Arg(1);
BENCHMARK(BM_ours<uLawSample>)->Name("BM_MuLaw/ours")->Arg(0)->Arg(1);
BENCHMARK(BM_table<uLawSample>)->Name("BM_MuLaw/table")->Arg(0)->Arg(1);
BENCHMARK(BM_ours<pcm16Sample>)->Name("BM_Pcm16/ours")->Arg(0)->Arg(1);
BENCHMARK(BM_vector)->Name("BM_Pcm16/vector")->Arg(0)->Arg(1);
BENCHMARK_MAIN();
