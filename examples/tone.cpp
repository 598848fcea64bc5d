// Telephone sound as a G.711 WAV file:
//   tone keys KEYS OUT.wav [alaw|ulaw]       the tones of the keys 0 to 9, *, # and A to D, at 8000 samples per second
//   tone convert IN.wav OUT.wav [alaw|ulaw]  a file of 16-bit linear samples, at its own sample rate
// The default is A-law. Exit code 0; 1 with a line on standard error if a file cannot be read or written, or a key is
// unknown; 2 for a wrong command line.
#include <zarlib/audio/samples.h>
#include <zarlib/companion/morfile.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace {

struct sound {
  unsigned rate = 8000;
  unsigned channels = 1;
  std::vector<double> values; ///< -1.0 to 1.0, channels interleaved
};

int fail(const std::string &why) {
  std::fprintf(stderr, "tone: %s\n", why.c_str());
  return 1;
}

/// Each key is the sum of a row's and a column's tone (ITU-T Q.23), 100 ms long, followed by 100 ms of silence.
bool add_key(char key, sound &out) {
  static const std::string keys = "123A456B789C*0#D";
  static constexpr double rows[] = {697, 770, 852, 941}, columns[] = {1209, 1336, 1477, 1633};
  const size_t place = keys.find(key);
  if (place == std::string::npos) return false;
  const double step = 2 * std::acos(-1.0) / out.rate;
  const unsigned length = out.rate / 10;
  for (unsigned i = 0; i < length; ++i)
    out.values.push_back(0.4 * std::sin(rows[place / 4] * step * i) + 0.4 * std::sin(columns[place % 4] * step * i));
  out.values.resize(out.values.size() + length);
  return true;
}

std::uint32_t little_endian(const std::string &bytes, size_t at, unsigned count) {
  std::uint32_t number = 0;
  for (unsigned i = count; i-- > 0;) number = number << 8 | static_cast<unsigned char>(bytes[at + i]);
  return number;
}

/// Half a step farther from zero, so that the buffers' truncation yields the sample again; -32768 would wrap.
double value_of(int sample) { return sample < 0 ? (std::max(sample, -32767) - 0.5) / 32767 : (sample + 0.5) / 32767; }

/// Reads a WAV file of 16-bit linear samples; from a truncated one as much as there is.
bool read_wav(const std::string &bytes, sound &in) {
  if (bytes.size() < 12 || bytes.compare(0, 4, "RIFF") != 0 || bytes.compare(8, 4, "WAVE") != 0) return false;
  bool known = false;
  for (size_t at = 12; at + 8 <= bytes.size();) {
    const std::string name = bytes.substr(at, 4);
    const size_t size = std::min<size_t>(little_endian(bytes, at + 4, 4), bytes.size() - at - 8);
    at += 8;
    if (name == "fmt " && size >= 16) {
      known = little_endian(bytes, at, 2) == 1 && little_endian(bytes, at + 14, 2) == 16;
      in.channels = little_endian(bytes, at + 2, 2);
      in.rate = little_endian(bytes, at + 4, 4);
    } else if (name == "data") {
      for (size_t i = 0; i + 2 <= size; i += 2)
        in.values.push_back(value_of(static_cast<std::int16_t>(little_endian(bytes, at + i, 2))));
      return known;
    }
    at += size + size % 2;
  }
  return false;
}

void put(std::string &bytes, size_t number, unsigned count) {
  for (unsigned i = 0; i < count; ++i) bytes += static_cast<char>(number >> 8 * i & 0xFF);
}

/// The codes as a WAV file. Formats 6 and 7 are A-law and mu-law; non-PCM files need a "fact" chunk with the length.
std::string wav_of(const std::vector<unsigned char> &codes, unsigned format, const sound &like) {
  std::string bytes = "RIFF";
  put(bytes, 50 + codes.size() + codes.size() % 2, 4);
  bytes += "WAVEfmt ";
  put(bytes, 18, 4);
  put(bytes, format, 2);
  put(bytes, like.channels, 2);
  put(bytes, like.rate, 4);
  put(bytes, size_t{like.rate} * like.channels, 4);
  put(bytes, like.channels, 2);
  put(bytes, 8, 2);
  put(bytes, 0, 2);
  bytes += "fact";
  put(bytes, 4, 4);
  put(bytes, codes.size() / std::max(like.channels, 1U), 4);
  bytes += "data";
  put(bytes, codes.size(), 4);
  bytes.append(codes.begin(), codes.end());
  return bytes.append(codes.size() % 2, '\0');
}

template <class Buffer>
std::vector<unsigned char> encode(const std::vector<double> &values) {
  Buffer samples;
  samples.AllocSampleBuffer(static_cast<int>(values.size())); // a single allocation
  for (const double value : values) samples.AppendSample(value);
  return samples.buffer();
}

} // namespace

int main(int argc, char **argv) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  const std::string law = words.size() == 4 ? words[3] : "alaw";
  if (words.size() < 3 || words.size() > 4 || (words[0] != "keys" && words[0] != "convert") ||
      (law != "alaw" && law != "ulaw")) {
    std::fprintf(stderr, "usage: tone keys KEYS OUT.wav [alaw|ulaw] | tone convert IN.wav OUT.wav [alaw|ulaw]\n");
    return 2;
  }
  sound all;
  if (words[0] == "keys") {
    for (const char key : words[1])
      if (!add_key(key, all)) return fail(std::string("there is no key ") + key);
  } else if (!read_wav(zarDumpTextFileA(words[1]), all)) {
    return fail(words[1] + " cannot be read as a WAV file of 16-bit samples");
  }
  const bool a_law = law == "alaw";
  const std::vector<unsigned char> codes = a_law ? encode<aLawSample>(all.values) : encode<uLawSample>(all.values);
  const std::string wav = wav_of(codes, a_law ? 6 : 7, all);
  if (!zarWriteBinFile(words[2], wav.data(), static_cast<int>(wav.size())))
    return fail(words[2] + " could not be written");
  return 0;
}
