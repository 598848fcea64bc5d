#include "zarlib/trace/file_trace.h"

#include "zarlib/companion/qxstl.h"
#include "zarlib/platform/file_stream.h"
#include "zarlib/text/environment.h"
#include "zarlib/text/file_system.h"
#include "zarlib/trace/line_text.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace {

/// File numbers are ints that wrap, whatever number of files was set.
int number(long long value) { return static_cast<int>(value); }

/// Sizes saturate at the int limits: a larger limit still means a large file, and a count never wraps to a small one.
int size(long long value) {
  return static_cast<int>(
      std::clamp<long long>(value, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

} // namespace

// Settled, callers rely on it: the executable's name comes with its full path.
chFileTrace::chFileTrace()
    : m_baseName(zarGetAppDataRootPath() + "/log/" + zarGetExeFileName()), m_nMaxSize(400 * 1024), m_nMaxFiles(5),
      m_nCurrentIndex(0), m_nCurrentSize(0) {}

chFileTrace::chFileTrace(chFileTrace &&other) noexcept
    : baseDymicAlloc(other), m_file(other.m_file), m_baseName(std::exchange(other.m_baseName, {})),
      m_nMaxSize(other.m_nMaxSize), m_nMaxFiles(other.m_nMaxFiles), m_nCurrentIndex(other.m_nCurrentIndex),
      m_nCurrentSize(other.m_nCurrentSize) {}

chFileTrace &chFileTrace::operator=(chFileTrace &&other) noexcept {
  m_file = other.m_file;
  m_baseName = std::exchange(other.m_baseName, {});
  m_nMaxSize = other.m_nMaxSize;
  m_nMaxFiles = other.m_nMaxFiles;
  m_nCurrentIndex = other.m_nCurrentIndex;
  m_nCurrentSize = other.m_nCurrentSize;
  return *this;
}

int chFileTrace::OpenFileTrace(const std::string &name, int sizeKB, int count) {
  m_file.data().Close();
  if (!name.empty()) m_baseName = name;
  if (sizeKB != 0) m_nMaxSize = size(sizeKB * 1024LL);
  if (count != 0) m_nMaxFiles = count;

  const long long limit = m_nMaxFiles;
  int found = 0;
  for (; pathFileExist(GetFileName(found)); ++found)
    if (found >= limit) pathRemoveFile(GetFileName(number(found - limit)));

  if (found > limit) {
    for (int i = 0; i < limit; ++i) pathRenameFile(GetFileName(number(i - limit + found)), GetFileName(i));
    m_nCurrentIndex = number(limit - 1);
  } else if (found > 0) {
    m_nCurrentIndex = found - 1;
  } else {
    m_nCurrentIndex = 0;
    m_nCurrentSize = 0;
  }
  return 1;
}

int chFileTrace::WriteLogLine(const std::string &line) {
  zar::line_text text;
  text.append(line);
  if (std::FILE *const stream = PrepareForLine(text)) zar::platform::write_all(stream, text.view().data(), text.size());
  return 1;
}

[[gnu::hot]] std::FILE *chFileTrace::PrepareForLine(zar::line_text &line) {
  chFileStdio &file = m_file.data();
  if (!file.IsFileOpened() && OpenCurrentFile()) MeasureCurrentFile();
  if (m_nCurrentSize >= m_nMaxSize) Rotate();
  if (!file.IsFileOpened()) return nullptr;
  CountLine(line.size());
  line.append("\r\n");
  return file.UnbufferedStream();
}

int chFileTrace::WriteLogLine(const char *prefix, const std::string &line) {
  WriteLogLineRaw(prefix, line);
  return Flush();
}

int chFileTrace::WriteLogLineRaw(const char *prefix, const std::string &line) {
  if (!m_file.data().IsFileOpened()) {
    // Settled, callers rely on it: unlike in WriteLogLine(), the file is measured even if it could not be opened.
    OpenCurrentFile();
    MeasureCurrentFile();
  }
  if (m_nCurrentSize >= m_nMaxSize) Rotate();
  WriteRecord(prefix ? prefix : "", line);
  return 1;
}

int chFileTrace::Flush() {
  if (m_file.hasData()) m_file->Flush();
  return 1;
}

std::string chFileTrace::GetFileName(int index) const {
  return qx::format_astring("%s-%d.log", m_baseName.c_str(), index);
}

bool chFileTrace::OpenCurrentFile() { return m_file->Open(GetFileName(m_nCurrentIndex), chFileStdio::mode_append); }

void chFileTrace::MeasureCurrentFile() {
  const int measured = pathFileSize(GetFileName(m_nCurrentIndex));
  m_nCurrentSize = measured >= 0 ? measured : m_file->GetPosition();
}

void chFileTrace::Rotate() {
  m_file->Close();
  const int next = number(m_nCurrentIndex + 1LL);
  if (next < m_nMaxFiles) {
    m_nCurrentIndex = next;
  } else {
    pathRemoveFile(GetFileName(0));
    for (int i = 1; i < m_nMaxFiles; ++i) pathRenameFile(GetFileName(i), GetFileName(i - 1));
  }
  OpenCurrentFile();
  m_nCurrentSize = 0;
}

void chFileTrace::WriteRecord(std::string_view prefix, std::string_view line) {
  if (!m_file->IsFileOpened()) return;
  m_file->WriteRecord({prefix, line, "\r\n"});
  CountLine(prefix.size() + line.size());
}

// Settled, callers rely on it: the two bytes of the line end are not counted, but a failed write is.
void chFileTrace::CountLine(size_t bytes) { m_nCurrentSize = size(m_nCurrentSize + static_cast<long long>(bytes)); }
