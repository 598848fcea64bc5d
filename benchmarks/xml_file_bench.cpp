// A safe save against hand-written code: the same text written to a temporary file, flushed to the disk and renamed
// over the original; and overwriting in place, neither safe nor flushed, to show what the safety costs.
#include "zarlib/text/file_system.h"
#include "zarlib/xml/xml_file.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

/// A document of about `state.range(0)` kilobytes in a file in a new folder, on the program's own disk.
class saved_document {
public:
  explicit saved_document(const benchmark::State &state) {
    char folder[] = "zarlib-bench-XXXXXX";
    if (!mkdtemp(folder)) std::abort();
    m_folder = folder;
    chXmlElement root = m_document.AddChildElement("settings");
    for (int i = 0; i < state.range(0) * 20; ++i)
      root.AddChildElement("option").AddChildObject(xmlTypeText, "a value of some twenty");
    m_document.SaveToFile(path());
  }
  ~saved_document() { pathRemoveDirectory(m_folder); }

  const chXmlFile &document() const { return m_document; }
  const std::string &folder() const { return m_folder; }
  std::string path() const { return m_folder + "/settings.xml"; }

private:
  std::string m_folder;
  chXmlFile m_document;
};

void write_and_force(const std::string &path, const std::string &text) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (write(file, text.data(), text.size()) != static_cast<ssize_t>(text.size()) || fsync(file) != 0) std::abort();
  close(file);
}

void BM_SafeSave_ours(benchmark::State &state) {
  const saved_document saved(state);
  for (auto _ : state) saved.document().SaveToFile(saved.path());
}

void BM_SafeSave_by_hand(benchmark::State &state) {
  const saved_document saved(state);
  const std::string path = saved.path(), aside = path + ".aside";
  const int folder = open(saved.folder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  for (auto _ : state) {
    write_and_force(aside, saved.document().ExportToText(false));
    if (std::rename(aside.c_str(), path.c_str()) != 0 || fsync(folder) != 0) std::abort();
  }
  close(folder);
}

void BM_SafeSave_overwriting(benchmark::State &state) {
  const saved_document saved(state);
  for (auto _ : state) std::ofstream(saved.path(), std::ios::binary) << saved.document().ExportToText(false);
}

} // namespace

BENCHMARK(BM_SafeSave_ours)->Name("BM_SafeSave/ours")->Arg(10)->Arg(50)->UseRealTime();
BENCHMARK(BM_SafeSave_by_hand)->Name("BM_SafeSave/by-hand")->Arg(10)->Arg(50)->UseRealTime();
BENCHMARK(BM_SafeSave_overwriting)->Name("BM_SafeSave/overwriting")->Arg(10)->Arg(50)->UseRealTime();

BENCHMARK_MAIN();
