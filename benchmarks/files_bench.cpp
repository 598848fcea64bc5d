// Finding files in a tree of 20,000, and matching names, against the directory walkers of the system and the standard
// library, and std::regex.
#include "zarlib/text/file_filter.h"

#include <benchmark/benchmark.h>
#include <filesystem>
#include <fnmatch.h>
#include <fstream>
#include <fts.h>
#include <regex>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

/// 400 folders of 50 files on three levels, created once.
class tree {
public:
  tree() : m_path(fs::temp_directory_path() / ("files_bench-" + std::to_string(getpid()))) {
    for (int i = 0; i < 400; ++i) {
      const fs::path folder = m_path / ("group" + std::to_string(i % 20)) / ("folder" + std::to_string(i));
      fs::create_directories(folder);
      for (int k = 0; k < 50; ++k)
        std::ofstream(folder / ("name of file " + std::to_string(k * 7919 % 50) + (k % 2 ? ".log" : ".txt")));
    }
  }
  tree(const tree &) = delete;
  tree &operator=(const tree &) = delete;
  ~tree() { fs::remove_all(m_path); }
  std::string path() const { return m_path; }

private:
  fs::path m_path;
};

const std::string &root() {
  static const tree made;
  static const std::string path = made.path();
  return path;
}

void check(benchmark::State &state, const std::list<std::string> &files) {
  if (files.size() != 10000) state.SkipWithError("not all files were found");
}

void BM_FindFile_ours(benchmark::State &state) {
  root();
  for (auto _ : state) {
    std::list<std::string> files;
    zarFindFile(root(), "*.log", files, true);
    check(state, files);
  }
}

void find_by_fts(benchmark::State &state, bool sorted) {
  for (auto _ : state) {
    std::list<std::string> files;
    std::string path = root();
    char *const paths[] = {path.data(), nullptr};
    FTS *const walk = fts_open(paths, FTS_PHYSICAL | FTS_NOSTAT | FTS_NOCHDIR, nullptr);
    while (const FTSENT *const entry = fts_read(walk))
      if (entry->fts_info != FTS_D && entry->fts_info != FTS_DP && fnmatch("*.log", entry->fts_name, 0) == 0)
        files.emplace_back(entry->fts_path, entry->fts_pathlen);
    fts_close(walk);
    if (sorted) files.sort();
    check(state, files);
  }
}

void BM_FindFile_fts_unsorted(benchmark::State &state) { find_by_fts(state, false); }
void BM_FindFile_fts(benchmark::State &state) { find_by_fts(state, true); }

void find_by_iterator(benchmark::State &state, bool sorted) {
  for (auto _ : state) {
    std::list<std::string> files;
    for (const auto &entry : fs::recursive_directory_iterator(root()))
      if (!entry.is_directory() && fnmatch("*.log", entry.path().filename().c_str(), 0) == 0)
        files.push_back(entry.path());
    if (sorted) files.sort();
    check(state, files);
  }
}

void BM_FindFile_std_unsorted(benchmark::State &state) { find_by_iterator(state, false); }
void BM_FindFile_std(benchmark::State &state) { find_by_iterator(state, true); }

std::vector<std::string> thousand_names() {
  std::vector<std::string> names;
  for (int i = 0; i < 1000; ++i)
    names.push_back("name of file " + std::to_string(i * 7919 % 1000) + (i % 2 ? ".log" : ".txt"));
  return names;
}

void BM_ThousandNames_ours(benchmark::State &state) {
  const std::vector<std::string> names = thousand_names();
  const chFileFilter filter("*.log;file?.*;-debug*");
  for (auto _ : state) {
    int accepted = 0;
    for (const std::string &name : names) accepted += !filter.IsDenyFileName(name) && filter.IsAcceptFileName(name);
    if (accepted != 500) state.SkipWithError("wrong matches");
  }
}

void BM_ThousandNames_std_regex(benchmark::State &state) {
  const std::vector<std::string> names = thousand_names();
  const std::regex log(".*\\.log"), file("file.\\..*"), debug("debug.*");
  for (auto _ : state) {
    int accepted = 0;
    for (const std::string &name : names)
      accepted += !std::regex_match(name, debug) && (std::regex_match(name, log) || std::regex_match(name, file));
    if (accepted != 500) state.SkipWithError("wrong matches");
  }
}

BENCHMARK(BM_FindFile_ours)->Name("BM_FindFile/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FindFile_fts)->Name("BM_FindFile/fts-fnmatch-sorted")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FindFile_fts_unsorted)->Name("BM_FindFile/fts-fnmatch")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FindFile_std)->Name("BM_FindFile/std-iterator-sorted")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FindFile_std_unsorted)->Name("BM_FindFile/std-iterator")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ThousandNames_ours)->Name("BM_ThousandNames/ours");
BENCHMARK(BM_ThousandNames_std_regex)->Name("BM_ThousandNames/std-regex");

} // namespace

BENCHMARK_MAIN();
