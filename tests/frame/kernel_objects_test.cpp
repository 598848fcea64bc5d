#include "zarlib/frame/kernel_objects.h"
#include "zarlib/frame/process_identity.h"
#include "zarlib/time/ticks.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"
#include "tests/support/kernel_ledger.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <thread>

#ifndef _WIN32
#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace {

using harness::child_process;

/// A name that no other process uses.
std::string own_name(const std::string &part) { return "zt" + std::to_string(zarGetCurrentProcessId()) + part; }

bool comes_true(const std::function<bool()> &condition) {
  for (const chTimeout limit(30000); !condition();) {
    if (limit.IsTimeout()) return false;
    std::this_thread::yield();
  }
  return true;
}

/// What an open of that name finds: whether it was the creator, and the last of 100 bytes.
std::pair<int, char> look_at(const std::string &name) {
  chMapFile map;
  auto *const bytes = static_cast<char *>(map.OpenMapFile(name, 100));
  const std::pair<int, char> result(map.IsCreateByMe(), bytes ? bytes[99] : '?');
  map.CloseMapFile();
  return result;
}

const std::pair<int, char> as_new(1, '\0');

template <class Action>
std::string warnings_of(Action action) {
  testing::internal::CaptureStderr();
  action();
  return testing::internal::GetCapturedStderr();
}

} // namespace

TEST(Event, LetsOneWaiterThroughPerSignal) {
  chEvent event, twin;
  EXPECT_EQ(event.SetEvent() + event.WaitEvent(-1), 0) << "closed";
  ASSERT_EQ(event.OpenEventA("x\\y/" + own_name("e") + "//"), 1);
  ASSERT_EQ(twin.OpenEventA(own_name("e")), 1);
  EXPECT_EQ(event.IsCreateByMe(), 1);
  EXPECT_EQ(twin.IsCreateByMe(), 0) << "only the last part of a name counts";
  EXPECT_EQ(twin.WaitEvent(0), 0);
  EXPECT_EQ(event.SetEvent() + event.SetEvent(), 2);
  EXPECT_EQ(twin.WaitEvent(10), 1);
  EXPECT_EQ(event.WaitEvent(10), 0) << "two signals at rest are one, and taken";
  event.SetEvent();
  twin.ResetEvent();
  EXPECT_EQ(event.WaitEvent(0), 0);

  std::atomic<int> through{0};
  std::vector<std::thread> waiters;
  for (int i = 0; i < 3; ++i) waiters.emplace_back([&, i] { through += event.WaitEvent(i % 2 ? -1 : -2); });
  for (int i = 1; i <= 3; ++i) {
    twin.SetEvent();
    EXPECT_TRUE(comes_true([&] { return through == i; }));
  }
  for (auto &waiter : waiters) waiter.join();

  chEvent copy(event);
  copy = event;
  EXPECT_EQ(copy.SetEvent(), 0) << "a handle is never copied";
  twin.CloseEvent();
  event.DestroyEvent();
  event.CloseEvent();
  EXPECT_EQ(copy.OpenEventA(own_name("e")), 1);
  EXPECT_EQ(copy.IsCreateByMe(), 1) << "gone with its last handle";
}

TEST(Mutex, ExcludesThreadsAndBelongsToOne) {
  chMutex mutex, twin;
  const std::string failed = "Lock Mutex fail for ";
  EXPECT_NE(warnings_of([&] { EXPECT_EQ(mutex.Lock(0), 0); }).find(" ffffffff\n"), std::string::npos) << "closed";
  ASSERT_EQ(mutex.OpenMutexA(own_name("m")), 1);
  ASSERT_EQ(twin.OpenMutexA("a/" + own_name("m")), 1);
  EXPECT_EQ(mutex.IsCreateByMe() * 10 + twin.IsCreateByMe(), 10);

  EXPECT_EQ(mutex.Lock(-1) + twin.Lock(0), 2) << "its thread may take it again";
  twin.Unlock();
  std::thread([&] {
    for (const int milliseconds : {0, 30}) {
      const std::string warning = warnings_of([&] { EXPECT_EQ(twin.Lock(milliseconds), 0); });
      EXPECT_NE(warning.find(failed), std::string::npos);
      EXPECT_NE(warning.find(" 102\n"), std::string::npos) << warning;
    }
    EXPECT_EQ(mutex.IsLockedByThisThread() + twin.IsLockedByThisThread(), 0);
    mutex.Unlock(); // a stranger's: forgotten by the object, kept by the system
    EXPECT_EQ(twin.Lock(0), 0);
  }).join();
  EXPECT_NE(warnings_of([&] { mutex.Unlock(); }).find("Try to unlock a NOLOCKED Mutex.\n"), std::string::npos);
  EXPECT_EQ(mutex.Lock(0), 1);
  mutex.Unlock(); // once of twice
  EXPECT_EQ(twin.Lock(0), 1);
  mutex.CloseMutex();
  EXPECT_EQ(twin.IsLockedByThisThread(), 1);
  twin.CloseMutex();
}

TEST(Mutex, ReportsADeadHolderOnce) {
  chMutex mutex;
  ASSERT_EQ(mutex.OpenMutexA(own_name("d")), 1);
  const auto expect_abandoned = [&](const char *by) {
    EXPECT_EQ(mutex.Lock(20000), 0) << by;
    EXPECT_EQ(mutex.IsLockedByThisThread(), 1) << by;
    mutex.Unlock();
    EXPECT_EQ(mutex.Lock(20000), 1) << "only the first heir is told";
    mutex.Unlock();
  };
  std::thread([&] { mutex.Lock(-1); }).join();
  expect_abandoned("a thread");
  child_process child("kernel_objects_program", {"hold", own_name("d")});
  EXPECT_EQ(child.read_line(), "2 created, locked 1");
  child.kill();
  expect_abandoned("a process");

  // Closed by its holder: others still find it held, and the holder's other locks work on.
  chMutex other;
  other.OpenMutexA(own_name("o"));
  std::thread([&] {
    chMutex closed;
    closed.OpenMutexA(own_name("c"));
    closed.Lock(-1);
    closed.CloseMutex();
    EXPECT_EQ(closed.OpenMutexA(own_name("c")), 1);
    EXPECT_EQ(closed.IsCreateByMe(), 1) << "a mutex without a handle is gone, held or not";
    closed.CloseMutex();
    for (int i = 0; i < 3; ++i) EXPECT_EQ(other.Lock(-1), 1), other.Unlock();
    chMutex(mutex).Lock(-1);
  }).join();
  expect_abandoned("a thread that also closed one");
  mutex.CloseMutex();
  other.CloseMutex();
}

TEST(MapFile, IsOneZeroFilledBlockPerName) {
  const std::string name = own_name("f");
  chMapFile first, second;
  EXPECT_EQ(first.OpenMapFile(name), nullptr) << "nothing to open";
  for (const int size : {0, -5}) EXPECT_EQ(first.OpenMapFile(name, size), nullptr) << size;
  EXPECT_EQ(first.IsCreateByMe(), 0);
  auto *const bytes = static_cast<char *>(first.OpenMapFile("p/" + name, 70000));
  ASSERT_NE(bytes, nullptr);
  EXPECT_EQ(first.IsCreateByMe(), 1);
  EXPECT_TRUE(std::all_of(bytes, bytes + 70000, [](char c) { return c == 0; }));
  bytes[69999] = 'z';
  for (const int size : {-1, 1, 1 << 20, -5}) {
    auto *const again = static_cast<char *>(second.OpenMapFile(name, size));
    ASSERT_NE(again, nullptr) << size;
    EXPECT_EQ(again[69999], 'z') << "the whole block, whatever is asked for";
    EXPECT_EQ(second.IsCreateByMe(), 0);
    if (size != -5) second.CloseMapFile();
  }
  first.DestroyMapFile();
  EXPECT_EQ(first.getData(), nullptr);
  EXPECT_EQ(first.IsCreateByMe(), 1) << "closing does not change it";
  EXPECT_EQ(static_cast<char *>(second.getData())[69999], 'z');
  second.CloseMapFile();
  EXPECT_EQ(look_at(name), as_new);
}

TEST(KernelObjects, NamesOfAnyBytesAreKeptApart) {
  std::vector<std::string> names = {"", "%", "%41", "A", "a", "~", ".", "..", "\xC3\xA4 \n\x7F", "name*?<>|:"};
#ifndef _WIN32 // a name ends at its first NUL there, and may not be long
  for (const char *end : {"", "1", "2"})
    names.push_back(std::string("nul\0", 4) + end), names.push_back(std::string(10000, 'l') + end);
#endif
  std::vector<chMapFile> maps(names.size());
  for (size_t i = 0; i < names.size(); ++i) {
    const std::string name = names[i].empty() ? "" : own_name(names[i]);
    ASSERT_NE(maps[i].OpenMapFile(name, 8), nullptr) << names[i];
    EXPECT_EQ(maps[i].IsCreateByMe(), 1) << names[i];
  }
  chMutex same_name_other_class;
  EXPECT_EQ(same_name_other_class.OpenMutexA(own_name("A")), 1);
  EXPECT_EQ(same_name_other_class.IsCreateByMe(), 1);
  same_name_other_class.CloseMutex();
  for (auto &map : maps) map.CloseMapFile();
}

TEST(KernelObjects, OutliveAKilledHolderAndGoWithTheLast) {
  const std::string name = own_name("k");
  auto first = std::make_unique<child_process>("kernel_objects_program", std::vector<std::string>{"hold", name});
  EXPECT_EQ(first->read_line(), "3 created, locked 1");
  chMapFile map;
  ASSERT_NE(map.OpenMapFile(name), nullptr);
  first.reset(); // killed
  EXPECT_EQ(static_cast<char *>(map.getData())[99], 'h');
  child_process second("kernel_objects_program", {"hold", name});
  EXPECT_EQ(second.read_line(), "2 created, locked 1") << "event and mutex went with the first";
  map.CloseMapFile();
  second.kill();
  second.wait();
  EXPECT_EQ(look_at(name), as_new);
}

TEST(KernelObjects, ASignalReachesTheLivingWhenWaitersAreKilled) {
  const std::string name = own_name("w");
  chEvent event;
  chMapFile map;
  event.OpenEventA(name);
  kernel_ledger &ledger = *static_cast<kernel_ledger *>(map.OpenMapFile(name, sizeof(kernel_ledger)));
  std::unique_ptr<child_process> waiters[2];
  const auto start = [&](int i) {
    waiters[i] = std::make_unique<child_process>("kernel_objects_program", std::vector<std::string>{"take", name});
    EXPECT_EQ(waiters[i]->read_line(), "waiting");
  };
  start(0), start(1);
  for (int round = 0; round < 20; ++round) {
    event.SetEvent();
    waiters[round % 2].reset(); // it may take this signal with it, but no other
    const int before = ledger.rounds;
    event.SetEvent();
    EXPECT_TRUE(comes_true([&] { return ledger.rounds != before; })) << round;
    start(round % 2);
  }
  map.CloseMapFile();
}

TEST(KernelObjects, SurviveKillsOfRandomHolders) {
#if defined(_WIN32) || defined(__SANITIZE_THREAD__) // where a process takes long to start
  constexpr int kills = 60;
#else
  constexpr int kills = 200;
#endif
  const std::string name = own_name("s");
  chMapFile book;
  chMutex guard;
  chEvent bell;
  auto &ledger = *static_cast<kernel_ledger *>(book.OpenMapFile(name + "-ledger", sizeof(kernel_ledger)));
  guard.OpenMutexA(name + "-guard");
  bell.OpenEventA(name + "-bell");
  std::unique_ptr<child_process> workers[kernel_ledger::workers];
  const auto start = [&](int i) {
    const std::vector<std::string> arguments = {"churn", name, std::to_string(i)};
    workers[i] = std::make_unique<child_process>("kernel_objects_program", arguments);
  };
  for (int i = 0; i < kernel_ledger::workers; ++i) start(i);

  std::mt19937 random(20240229);
  for (int killed = 0; killed < kills && ledger.faults == 0; ++killed) {
    const int rounds = ledger.rounds + static_cast<int>(random() % 20);
    ASSERT_TRUE(comes_true([&] { return ledger.rounds >= rounds || ledger.faults; })) << "hangs after " << killed;
    const int victim = static_cast<int>(random() % kernel_ledger::workers);
    workers[victim].reset();
    ledger.holders[victim] = 0;
    start(victim);
  }
  ledger.stop = 1;
  for (auto &worker : workers) {
    const harness::child_result result = worker->wait();
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.exit_code, 0);
  }
  EXPECT_EQ(ledger.faults, 0);
  book.CloseMapFile();
  guard.CloseMutex();
  bell.CloseEvent();
  EXPECT_EQ(look_at(name), as_new);
  EXPECT_EQ(look_at(name + "-ledger"), as_new);
}

#ifndef _WIN32

namespace {

const std::string folder = "/dev/shm/zarlib-" + std::to_string(geteuid());

std::string file_of(const std::string &name) { return folder + "/Local%5Cmapfile_" + name; }

int files_with(const std::string &text) {
  if (!std::filesystem::exists(folder)) return 0;
  const auto names = harness::list_directory(folder);
  return static_cast<int>(
      std::count_if(names.begin(), names.end(), [&](const std::string &n) { return n.find(text) != n.npos; }));
}

} // namespace

TEST(KernelObjectsOnLinux, AKillAtAnySystemCallLeavesThemWhole) {
  chEvent event;
  chMutex mutex;
  chMapFile map;
  for (const char *as_guest : {"0", "1"}) {
    if (*as_guest == '1') {
      event.OpenEventA(own_name("c"));
      mutex.OpenMutexA(own_name("c"));
      map.OpenMapFile(own_name("c"), 100);
    }
    const harness::child_result result = harness::run("kernel_objects_program", {"kill-at", own_name("c"), as_guest});
    if (result.exit_code == 2) GTEST_SKIP() << "processes may not be traced here";
    EXPECT_EQ(result.exit_code, 0) << result.output << result.error;
    EXPECT_GT(std::atoi(result.output.c_str()), 50) << "stopped at so many calls";
  }
  event.CloseEvent();
  mutex.CloseMutex();
  map.CloseMapFile();
  EXPECT_EQ(files_with(own_name("c")), 0);
}

TEST(KernelObjectsOnLinux, DeadFilesAreSweptAndStrangersRefused) {
  const std::string name = own_name("x"), path = file_of(name);
  chMapFile anchor; // keeps the folder
  ASSERT_NE(anchor.OpenMapFile(own_name("anchor"), 8), nullptr);
  const auto opens = [&] { return look_at(name) == as_new; };
  struct stat status;
  ASSERT_EQ(stat(file_of(own_name("anchor")).c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
  ASSERT_EQ(stat(folder.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0700u);

  harness::write_file(path, std::string(100, 'j'));
  chmod(path.c_str(), 0600);
  EXPECT_TRUE(opens()) << "junk that nobody holds";
  harness::write_file(file_of(name + "-other"), "left by the dead");
  EXPECT_TRUE(comes_true([&] { return opens() && files_with(name) == 0; })) << "swept on the way";

  // Each is held, as if a program of another make had it open.
  std::string image = harness::read_file(file_of(own_name("anchor")));
  const auto refused = [&](const std::string &bytes, mode_t mode) {
    harness::write_file(path, bytes);
    chmod(path.c_str(), mode);
    const int file = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    flock(file, LOCK_SH);
    const bool result = look_at(name) == std::pair<int, char>(0, '?');
    close(file);
    unlink(path.c_str());
    return result;
  };
  for (const size_t offset :
       {0, 8, 12, 16, 20, 24, 64}) { // magic, layout, word, kind, name's length, data's place, name
    std::string other = image;
    other[offset] ^= 1;
    EXPECT_TRUE(refused(other, 0600)) << offset;
  }
  EXPECT_TRUE(refused(image.substr(0, 4096), 0600)) << "cut short";
  EXPECT_TRUE(refused(image, 0644)) << "open to others";
  EXPECT_FALSE(refused(std::string(100, '\0'), 0600)) << "half made by a creator that died: made anew";
  ASSERT_EQ(symlink(file_of(own_name("anchor")).c_str(), path.c_str()), 0);
  EXPECT_FALSE(opens());
  unlink(path.c_str());
  anchor.CloseMapFile();
  EXPECT_EQ(files_with(own_name("")), 0);
}

TEST(KernelObjectsOnLinux, AMappingWithoutRoomIsRefusedAtOnce) {
  const rlimit small = {1 << 20, RLIM_INFINITY};
  rlimit before;
  getrlimit(RLIMIT_FSIZE, &before);
  signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &small);
  chMapFile map;
  EXPECT_EQ(map.OpenMapFile(own_name("r"), 4 << 20), nullptr);
  setrlimit(RLIMIT_FSIZE, &before);
  EXPECT_EQ(files_with(own_name("r")), 0);
}

#endif
