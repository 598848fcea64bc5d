#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"
#include "tests/support/kernel_objects_program.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <thread>

#ifndef _WIN32
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace {

using child = std::unique_ptr<harness::child_process>;

child start(const std::vector<std::string> &arguments) {
  return std::make_unique<harness::child_process>("kernel_objects_program", arguments);
}

/// A name that no other process uses.
std::string own_name(const std::string &part) { return "zt" + std::to_string(zarGetCurrentProcessId()) + part; }

/// The result of opening that name: how many of the three were created, and the last of 100 bytes.
std::pair<int, char> look_at(const std::string &name) {
  const objects all(name, 100);
  return {all.created(), all.bytes[99]};
}
const std::pair<int, char> as_new(3, '\0');

#ifndef _WIN32
const std::string folder = "/dev/shm/zarlib-" + std::to_string(geteuid());
#endif

} // namespace

TEST(Event, LetsOneWaiterThroughPerSignal) {
  chEvent event, twin;
  EXPECT_EQ(event.SetEvent() + event.WaitEvent(-1), 0) << "closed";
  ASSERT_EQ(event.OpenEventA("x\\y/" + own_name("e") + "//") + twin.OpenEventA(own_name("e")), 2);
  EXPECT_EQ(event.IsCreateByMe() * 10 + twin.IsCreateByMe(), 10) << "only the last part of a name counts";
  EXPECT_EQ(event.SetEvent() + event.SetEvent() + twin.WaitEvent(-2), 3);
  EXPECT_EQ(event.WaitEvent(10), 0) << "two signals at rest are one, and taken";
  event.SetEvent();
  twin.ResetEvent();
  EXPECT_EQ(event.WaitEvent(0), 0);
}

TEST(Mutex, BelongsToOneThread) {
  objects all(own_name("m"), 8), twin("a/" + own_name("m"), 8);
  testing::internal::CaptureStderr();
  EXPECT_EQ(chMutex().Lock(0), 0) << "closed";
  EXPECT_EQ(all.mutex.Lock(-1) + twin.mutex.Lock(0), 2) << "its thread may take it again";
  twin.mutex.Unlock();
  std::thread([&] {
    EXPECT_EQ(twin.mutex.Lock(0) + twin.mutex.Lock(30) + all.mutex.IsLockedByThisThread(), 0);
    all.mutex.Unlock(); // not the owner's: forgotten by the object, kept by the system
    EXPECT_EQ(twin.mutex.Lock(0) + twin.mutex.IsLockedByThisThread(), 0);
  }).join();
  all.mutex.Unlock();
  const std::string warnings = testing::internal::GetCapturedStderr();
  for (const char *part : {"Lock Mutex fail for ", "] ffffffff\n", "] 102\n", "Try to unlock a NOLOCKED Mutex.\n"})
    EXPECT_NE(warnings.find(part), std::string::npos) << warnings;
}

TEST(Mutex, ReportsADeadHolderOnce) {
  objects all(own_name("d"), 100);
  const auto expect_abandoned = [&](const char *by) {
    for (const int whole : {0, 1}) { // only the first new owner is told
      EXPECT_EQ(all.mutex.Lock(20000), whole) << by;
      EXPECT_EQ(all.mutex.IsLockedByThisThread(), 1) << by;
      all.mutex.Unlock();
    }
  };
  EXPECT_EQ(start({"hold", own_name("d")})->read_line(), "0 created, locked 1"); // and is killed
  expect_abandoned("a process");
  std::thread([&] {
    objects mine(own_name("d"), 8);
    mine.mutex.Lock(-1);
  }).join();
  expect_abandoned("a thread that had closed it");
}

TEST(MapFile, IsOneZeroFilledBlockPerName) {
  const std::string name = own_name("f");
  chMapFile first, second;
  for (const int size : {-1, 0, -5}) EXPECT_EQ(first.OpenMapFile(name, size), nullptr) << size;
  auto *const bytes = static_cast<char *>(first.OpenMapFile("p/" + name, 70000));
  EXPECT_EQ(std::count(bytes, bytes + 70000, '\0'), 70000);
  bytes[69999] = 'z';
  for (const int size : {-1, 1, 1 << 20, -5}) {
    ASSERT_NE(second.OpenMapFile(name, size), nullptr) << size;
    EXPECT_EQ(static_cast<char *>(second.getData())[69999], 'z') << "the whole block, whatever is asked for";
    EXPECT_EQ(first.IsCreateByMe() * 10 + second.IsCreateByMe(), 10);
    second.CloseMapFile();
  }
  first.DestroyMapFile();
}

TEST(KernelObjects, NamesOfAnyBytesAreKeptApart) {
  std::vector<std::string> names = {"", "%", "%41", "A", "a", "~", "..", "\xC3\xA4 \n\x7F", "name*?<>|:"};
#ifndef _WIN32 // where a name ends at its first NUL, and may not be long
  for (const char *end : {"", "1"})
    names.insert(names.end(), {std::string("n\0", 2) + end, std::string(10000, 'l') + end});
#endif
  std::vector<std::unique_ptr<objects>> open;
  for (const std::string &name : names) {
    open.push_back(std::make_unique<objects>(name.empty() ? "" : own_name(name), 8));
    EXPECT_EQ(open.back()->created(), 3) << name;
  }
}

TEST(KernelObjects, HaveOneCreatorOfManyAtOnce) {
  const objects kept(own_name("r-kept"), sizeof(ledger));
  child racers[4];
  for (child &racer : racers) racer = start({"race", own_name("r")});
#ifndef _WIN32 // without these files the folder is removed and created in every round
  EXPECT_TRUE(comes_true([&] { return kept.book().rounds > 0; }));
  for (const char *kind : {"event_", "mutex_", "mapfile_"})
    unlink((folder + "/Local%5C" + kind + own_name("r-kept")).c_str());
#endif
  for (child &racer : racers) EXPECT_EQ(racer->wait().exit_code, 0);
  EXPECT_EQ(kept.book().rounds, 900);
  EXPECT_EQ(kept.book().faults, 0);
}

TEST(KernelObjects, SurviveKillsOfRandomHolders) {
  const std::string name = own_name("s");
  auto kept = std::make_unique<objects>(name + "-kept", static_cast<int>(sizeof(ledger)));
  ledger &book = kept->book();
  child workers[4];
  std::mt19937 random(20240229);
  for (int killed = 0; killed < 200 && book.faults == 0; ++killed) {
    for (child &worker : workers)
      if (!worker) worker = start({"churn", name});
    const int rounds = book.rounds + static_cast<int>(random() % 20);
    ASSERT_TRUE(comes_true([&] { return book.rounds >= rounds || book.faults; })) << "hangs after " << killed;
    workers[random() % 4].reset();
    if (random() % 4 != 0) continue;
    for (child &worker : workers) worker.reset();
    killed += 3;
    EXPECT_TRUE(comes_true([&] { return look_at(name) == as_new; })) << "all are dead";
  }
  book.stop = 1;
  for (child &worker : workers) EXPECT_TRUE(!worker || worker->wait().exit_code == 0);
  EXPECT_EQ(book.faults, 0);
  kept.reset();
  for (const char *end : {"", "-kept"}) EXPECT_EQ(look_at(name + end), as_new) << end;
}

#ifndef _WIN32

TEST(KernelObjectsOnLinux, LiveInAForkedChildWhenItsParentHasClosedThem) {
  auto all = std::make_unique<objects>(own_name("k"), 8);
  all->mutex.Lock(-1);
  const pid_t forked = fork();
  while (forked == 0) pause();
  all.reset();
  EXPECT_EQ(start({"hold", own_name("k")})->read_line(), "0 created, locked 0") << "by the thread that closed it";
  kill(forked, SIGKILL);
}

TEST(KernelObjectsOnLinux, DeadFilesAreSweptAndStrangersRefused) {
  const std::string prefix = folder + "/Local%5Cmapfile_", path = prefix + own_name("x");
  const objects host(own_name("host"), 8);
  /// Opens over a file in use, as if another build of the library, or another user, had it open.
  const auto open_over = [&](const std::string &bytes, mode_t mode = 0600, uid_t owner = geteuid(),
                             int lock = LOCK_SH) {
    int file = -1;
    bool prepared = false;
    do { // repeat if another process swept the file before it was locked
      close(file);
      harness::write_file(path, bytes);
      file = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
      prepared = fchmod(file, mode) == 0 && fchown(file, owner, getegid()) == 0 && flock(file, lock) == 0;
    } while (access(path.c_str(), F_OK) != 0);
    chMapFile map;
    const bool made = prepared && map.OpenMapFile(own_name("x"), 100) && map.IsCreateByMe();
    map.CloseMapFile();
    close(file);
    unlink(path.c_str());
    return made;
  };
  const std::string image = harness::read_file(prefix + own_name("host")), empty(100, '\0');
  EXPECT_FALSE(open_over("J" + image.substr(1))) << "of another make";
  EXPECT_FALSE(open_over(image.substr(0, 4096))) << "cut short";
  EXPECT_FALSE(open_over(empty, 0644)) << "open to others";
  EXPECT_FALSE(open_over(empty, 0600, 1)) << "another user's, where one may be had";
  EXPECT_TRUE(open_over(empty)) << "half made by a creator that died";
  ASSERT_EQ(symlink((prefix + own_name("host")).c_str(), path.c_str()), 0);
  EXPECT_EQ(chMapFile().OpenMapFile(own_name("x"), 100), nullptr) << "a link";
  unlink(path.c_str());
  harness::write_file(path + "-other", "left by the dead");
  const auto swept = [&] {
    return open_over("junk", 0600, geteuid(), LOCK_UN) && access((path + "-other").c_str(), F_OK);
  };
  EXPECT_TRUE(comes_true(swept));
}

#endif
