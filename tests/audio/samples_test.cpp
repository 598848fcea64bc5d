#include "zarlib/audio/samples.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>

namespace {

template <class Buffer>
auto code_of(double value) {
  Buffer one;
  one.AppendSample(value);
  return one.buffer().at(0);
}

/// A value half a step beyond the sample, so that truncation yields the sample.
double value_of(int sample) { return (sample < 0 ? sample - 0.5 : sample + 0.5) / 32767.0; }

/// The compressors of ITU-T G.191, on 16-bit samples.
int reference_a_law(int sample) {
  int ix = (sample < 0 ? ~sample : sample) >> 4, exponent = 1;
  if (ix > 15) {
    for (; ix > 16 + 15; ix >>= 1) ++exponent;
    ix += (exponent << 4) - 16;
  }
  return (sample < 0 ? ix : ix | 0x80) ^ 0x55;
}

int reference_mu_law(int sample) {
  const int size = std::min(((sample < 0 ? ~sample : sample) >> 2) + 33, 0x1FFF);
  int segment = 1;
  for (int rest = size >> 6; rest; rest >>= 1) ++segment;
  return (8 - segment) << 4 | (15 - (size >> segment & 15)) | (sample < 0 ? 0 : 0x80);
}

template <class Buffer>
class SampleBuffer : public testing::Test {};
using buffers = testing::Types<aLawSample, uLawSample, pcm16Sample>;
TYPED_TEST_SUITE(SampleBuffer, buffers);

} // namespace

TEST(Samples, DifferFromG711InTheSettledSamplesOnly) {
  std::set<int> a_law = {-32768}, mu_law = {-32768}; // and every step edge
  for (int step = 1; step < 128; ++step) {
    const int segment = step >> 4, edge = 16 + (step & 15);
    a_law.insert(segment ? -(edge << (segment + 3)) : -(step << 4));
    mu_law.insert(132 - (edge << (segment + 3)));
  }
  for (int sample = -32768; sample < 32768; ++sample) {
    const int a = code_of<aLawSample>(value_of(sample)), mu = code_of<uLawSample>(value_of(sample));
    ASSERT_TRUE((a != reference_a_law(sample)) == a_law.count(sample)) << sample;
    ASSERT_TRUE((mu != reference_mu_law(sample)) == mu_law.count(sample)) << sample;
    // A negative sample has the code that G.711 gives to the sample below it; there is none below the last.
    ASSERT_EQ(a, sample == -32768 ? 0x55 : reference_a_law(sample - (sample < 0))) << sample;
    ASSERT_EQ(mu, sample == -32768 ? 0x7F : reference_mu_law(sample - (sample < 0))) << sample;
    ASSERT_EQ(code_of<pcm16Sample>(value_of(sample)), sample);
    const volatile double value = sample / 32767.0, product = value * 32767.0; // rounded to double before truncation
    ASSERT_EQ(code_of<pcm16Sample>(value), static_cast<short>(product));
  }
}

TEST(Samples, AreCutAndWrapAround) {
  const double values[] = {0.5, -0.5, 1.0, -1.0, 1.0001, 3.0, 65538.0, 65539.0, -1e300, INFINITY, NAN};
  const int expected[] = {16383, -16383, 32767, -32767, -32766, 32765, -2, 0, 0, 0, 0};
  for (size_t i = 0; i < std::size(values); ++i) EXPECT_EQ(code_of<pcm16Sample>(values[i]), expected[i]) << values[i];
}

TYPED_TEST(SampleBuffer, KeepsRoomMuteAndValues) {
  TypeParam samples;
  samples.AllocSampleBuffer(1000);
  const auto *room = samples.buffer().data();
  for (int i = 0; i < 400; ++i) samples.AppendSample(i / 400.0);
  const auto first = samples.buffer();
  samples.AllocSampleBuffer(10);
  samples.AppendMuteSample(600);
  EXPECT_TRUE(samples.buffer() == first && samples.GetBufferSize() == int(400 * sizeof(first[0])));
  for (int i = 400; i < 1000; ++i) ASSERT_EQ(room[i], 0) << "zeros behind the samples";
  samples.AppendMuteSample(-400);
  EXPECT_THROW(samples.AppendMuteSample(-401), std::length_error);
  EXPECT_THROW(samples.AppendMuteSample(0x7FFFFFFF), std::length_error);
  EXPECT_THROW(samples.AllocSampleBuffer(-1), std::length_error);

  const TypeParam copy = samples;
  TypeParam moved = std::move(samples), target;
  EXPECT_TRUE(moved.buffer() == first && moved.buffer().data() == room && samples.buffer().empty());
  target = std::move(moved);
  EXPECT_TRUE(copy.buffer() == first && target.buffer().data() == room && moved.buffer().empty());
  target.Clear();
  for (int i = 0; i < 1000; ++i) target.AppendSample(0.0);
  EXPECT_EQ(target.buffer().data(), room) << "no allocation up to the old size";
  target.AppendMuteSample(5000);
  EXPECT_TRUE(target.buffer().capacity() >= 6000 && target.buffer().size() == 1000);
}
