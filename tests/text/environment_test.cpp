#include "zarlib/text/environment.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <thread>

#ifdef _WIN32
static constexpr const char *program_ending = ".exe", *system_module = "kernel32.dll",
                            *system_function = "GetTickCount";
#else
static constexpr const char *program_ending = "", *system_module = "libm.so.6", *system_function = "cbrt";
#include <pty.h>
#include <termios.h>
#include <unistd.h>
#endif

namespace fs = std::filesystem;
using environment = std::map<std::string, std::string>;

static const char *const program = "environment_program";

/// What the program answers: a line at its start, one to the question, one at its exit.
static std::vector<std::string> ask(const std::string &question, const environment &variables) {
  const auto lines = harness::lines_of(harness::run(program, {question}, variables).output);
  return lines.size() == 3 ? lines : std::vector<std::string>(3, "no answer");
}

TEST(Environment, RootAndDocumentPathStandFromTheFirstConstructorToTheLastDestructor) {
  const std::string own = fs::path(harness::program_folder()).parent_path().parent_path().generic_string();
  const environment cases = {{"D:\\x\\y", "D:/x/y"}, {"/x/", "/x/"}, {"", own}, {harness::unset(), own}};
  for (const auto &[variable, root] : cases)
    EXPECT_THAT(ask("key", {{"APP_ROOT", variable}}),
                testing::ElementsAre("at start:", "-1", "at exit:C:/a/b|" + root));
}

TEST(Environment, TheDocumentPathIsReadWholeByThreadsThatRace) {
  const std::string one(100, 'a'), two(200, 'b');
  zarSetAppDocPath(one);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 1000; ++i) {
        zarSetAppDocPath(i % 2 ? one : two);
        EXPECT_THAT(zarGetAppDocPath(), testing::AnyOf(one, two));
      }
    });
  for (auto &thread : threads) thread.join();
}

TEST(Environment, HomeAndTemporaryFolderComeFromTheVariables) {
  EXPECT_EQ(ask("home", {{"USERPROFILE", "C:\\u"}})[1], "C:\\u");
  EXPECT_EQ(ask("temp", {{"Temp", "C:\\t"}})[1], "C:\\t");
#ifndef _WIN32
  const std::string none = harness::unset();
  EXPECT_EQ(ask("home", {{"USERPROFILE", none}, {"HOME", "/h"}})[1], "/h");
  EXPECT_EQ(ask("home", {{"USERPROFILE", ""}, {"HOME", none}})[1][0], '/') << "the user's record";
  EXPECT_EQ(ask("temp", {{"Temp", none}, {"TMPDIR", none}})[1], "/tmp");
#endif
}

TEST(Processes, AreKilledByTheirWholeNameInAnyCaseAndOneAtATime) {
  // A copy under a name that no other process has, and where it finds the libraries.
  const harness::temporary_directory folder;
  const std::string stem = fs::path(folder.path()).filename().string(), path = folder / (stem + ".exe");
  const environment variables = {{"PATH", harness::program_folder()}};
  fs::copy_file(harness::program_folder() + program + program_ending, path);
  harness::child_process first(path, {"wait, exe"}, variables), second(path, {"wait, exe"}, variables);
  for (auto *child : {&first, &second}) {
    child->read_line();
    ASSERT_EQ(child->read_line(), "waiting");
  }
  for (const std::string &other : {stem, path, std::string()}) EXPECT_FALSE(KillProcessAppByName(other));
  EXPECT_TRUE(KillProcessAppByName(stem + ".EXE"));
  EXPECT_EQ(first.read_line(), "") << "the older one was ended, without a word at its exit";
#ifndef _WIN32
  fs::remove(path); // a program that was replaced keeps its name
#endif
  second.write("\n");
  EXPECT_EQ(fs::path(second.read_line()), fs::path(path).make_preferred());
}

TEST(LastError, IsReadAndTranslatedAndStays) {
  EXPECT_EQ(std::fopen("no such file", "r"), nullptr);
  const std::string text = zarTransLastError();
  EXPECT_EQ(zarGetLastError(), 2u) << "on both systems";
  EXPECT_THAT(text, testing::Not(testing::AnyOf("", testing::EndsWith(" "))));
}

TEST(DynamicModule, WalksItsStates) {
  chDynamicModule module;
  EXPECT_EQ(module.GetMethod(system_function), nullptr);
  EXPECT_EQ(module.OpenDynamicModule(system_module), 1);
  EXPECT_NE(module.GetMethod(system_function), nullptr);
  EXPECT_EQ(module.GetMethod("no such name"), nullptr);
  EXPECT_EQ(module.OpenDynamicModule(""), 0) << "the open one is closed all the same";
  EXPECT_EQ(module.GetMethod(system_function), nullptr);
  EXPECT_NE(chDynamicModule(system_module).GetMethod(system_function), nullptr);
}

#ifndef _WIN32

/// A terminal of its own on standard input, as long as it lives.
struct terminal_on_input {
  terminal_on_input() {
    EXPECT_EQ(openpty(&user, &process, nullptr, nullptr, nullptr), 0);
    dup2(process, STDIN_FILENO);
  }
  ~terminal_on_input() {
    dup2(before, STDIN_FILENO);
    for (const int file : {user, process, before}) close(file);
  }
  std::pair<tcflag_t, tcflag_t> mode() const {
    termios mode = {};
    tcgetattr(process, &mode);
    return {mode.c_lflag, mode.c_iflag};
  }
  /// The keys that come of some bytes; the line discipline hands them on before write() returns.
  std::vector<int> keys(chStdInput &input, const std::string &bytes) const {
    EXPECT_EQ(write(user, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    std::vector<int> keys;
    for (int key = input.getch(); key != -1; key = input.getch()) keys.push_back(key);
    return keys;
  }
  const int before = dup(STDIN_FILENO);
  int user = -1, process = -1;
};

TEST(StdInput, OnLinuxReadsTheKeysOfATerminalAndPutsItsModeBack) {
  const terminal_on_input terminal;
  const auto before = terminal.mode();
  const std::map<std::string, std::vector<int>> cases = {
      {"azAZ09\r\n\t\x7F\b\x01", {'A', 'Z', 'A', 'Z', '0', '9', 10, 10, 9, 8, 8, 'A'}},
      {"!(%-_.&';\x1b", {'1', '9', '5', 189, 189, 190, '7', 222, 186, 27}},
      {"\x1b[A\x1b[B\x1b[C\x1b[D\x1bOH\x1bOF\x1b[Za", {65318, 65320, 65319, 65317, 65316, 65315, 9, 'A'}},
      {"\x1b[5~\x1b[6~\x1b[2~\x1b[3;2~\x1b[1~\x1b[8~", {65313, 65314, 65325, 65326, 65316, 65315}},
      {"\x1bOP\x1b[1;5S\x1b[15~\x1b[17~\x1b[21~\x1b[24~\x1b[[A", {65392, 65395, 65396, 65397, 65401, 65403, 65392}},
      {"\x1bOp\x1bOy\x1bOj\x1bOk\x1bOm\x1bOn\x1bOo\x1bOM", {'0', '9', '*', '+', '-', '.', '/', 10}}};
  {
    chStdInput input;
    EXPECT_EQ(terminal.mode().first & (ICANON | ECHO | ISIG), static_cast<tcflag_t>(ISIG));
    for (const auto &[bytes, keys] : cases) EXPECT_EQ(terminal.keys(input, bytes), keys) << bytes;
  }
  EXPECT_EQ(terminal.mode(), before);
}

TEST(StdInput, OnLinuxWaitsOneCallForTheRestOfASequence) {
  const terminal_on_input terminal;
  chStdInput input;
  using keys = std::vector<int>;
  EXPECT_EQ(terminal.keys(input, "\x1b[1"), keys());
  EXPECT_EQ(terminal.keys(input, "5~\x1bO"), keys{65396});
  EXPECT_EQ(terminal.keys(input, ""), (keys{27, 'O'})) << "it did not come: keys one by one";
  EXPECT_EQ(terminal.keys(input, "\x1b[" + std::string(200, '1')).size(), 202u)
      << "an endless one, of which nothing is lost";
}

#endif
