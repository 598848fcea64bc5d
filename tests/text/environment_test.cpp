#include "zarlib/text/environment.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"

#include <gmock/gmock.h>

#include <cstdio>

#ifdef _WIN32
static const std::string program_ending = ".exe", system_module = "kernel32.dll", system_function = "GetTickCount";
#else
static const std::string program_ending, system_module = "libm.so.6", system_function = "cbrt";
#include <pty.h>
#include <termios.h>
#include <unistd.h>
#endif

namespace fs = std::filesystem;

TEST(Environment, StandsFromTheFirstConstructorToTheLastDestructor) {
  const std::string own = fs::path(harness::program_folder()).parent_path().parent_path().generic_string();
  const std::pair<std::map<std::string, std::string>, std::string> cases[] = {
      {{{"APP_ROOT", "D:\\x\\"}, {"USERPROFILE", "C:\\u"}, {"Temp", "C:\\t"}}, "D:/x/|C:\\u|C:\\t"},
      {{{"APP_ROOT", ""}, {"USERPROFILE", "/u"}, {"Temp", "/t"}}, own + "|/u|/t"},
#ifndef _WIN32
      {{{"APP_ROOT", harness::unset()}, {"USERPROFILE", harness::unset()}, {"HOME", "/h"}}, own + "|/h|/tmp"},
#endif
  };
  for (const auto &[variables, answer] : cases)
    EXPECT_THAT(harness::lines_of(harness::run("environment_program", {}, variables).output),
                testing::ElementsAre("at start:", "-1", "at exit:C:/a/b|" + answer));
}

TEST(Processes, AreKilledByTheirWholeNameInAnyCaseAndOneAtATime) {
  // A copy under a name that no other process has, in a folder where it finds the libraries.
  const harness::temporary_directory folder;
  const std::string stem = fs::path(folder.path()).filename().string(), path = folder / (stem + ".exe");
  const std::map<std::string, std::string> variables = {{"PATH", harness::program_folder()}};
  fs::copy_file(harness::program_folder() + "environment_program" + program_ending, path);
  harness::child_process first(path, {"wait"}, variables), second(path, {"wait"}, variables);
  for (auto *child : {&first, &second}) ASSERT_EQ(child->read_line(), "at start:");
  for (const std::string &other : {stem, path, std::string()}) EXPECT_FALSE(KillProcessAppByName(other));
  EXPECT_TRUE(KillProcessAppByName(stem + ".EXE"));
  EXPECT_EQ(first.read_line(), "") << "the older one was ended, without a word at its exit";
  second.write("\n");
  EXPECT_EQ(fs::path(second.read_line()), fs::path(path).make_preferred());
}

TEST(DynamicModule, WalksItsStatesAndLeavesALastError) {
  chDynamicModule module(system_module);
  EXPECT_TRUE(module.GetMethod(system_function) && !module.GetMethod("no such name"));
  EXPECT_TRUE(module.OpenDynamicModule("") == 0 && !module.GetMethod(system_function)) << "closed all the same";
  EXPECT_TRUE(!std::fopen("no such file", "r") && !zarTransLastError().empty() && zarGetLastError() == 2);
}

#ifndef _WIN32

TEST(StdInput, OnLinuxReadsTheKeysOfATerminalAndPutsItsModeBack) {
  int user = -1, process = -1; // the two ends of a terminal that becomes standard input
  ASSERT_TRUE(openpty(&user, &process, nullptr, nullptr, nullptr) == 0 && dup2(process, STDIN_FILENO) == STDIN_FILENO);
  const std::pair<std::string, std::vector<int>> cases[] = {
      {"azAZ09\r\n\t\x7F\b\x01", {'A', 'Z', 'A', 'Z', '0', '9', 10, 10, 9, 8, 8, 'A'}},
      {"\x1b[A\x1b[B\x1b[C\x1b[D\x1bOH\x1bOF\x1b[Za", {65318, 65320, 65319, 65317, 65316, 65315, 9, 'A'}},
      {"\x1b[5~\x1b[6~\x1b[2~\x1b[3;2~\x1b[1~\x1b[8~", {65313, 65314, 65325, 65326, 65316, 65315}},
      {"\x1bOP\x1b[1;5S\x1b[15~\x1b[17~\x1b[21~\x1b[24~\x1b[[A", {65392, 65395, 65396, 65397, 65401, 65403, 65392}},
      {"\x1b[1", {}}, // waits one call for the rest of the sequence
      {"5~\x1bO", {65396}},
      {"", {27, 'O'}}}; // which did not come: single keys
  termios before = {}, after = {};
  tcgetattr(process, &before);
  {
    chStdInput input;
    for (const auto &[bytes, keys] : cases) { // the line discipline passes the bytes on before write() returns
      ASSERT_EQ(write(user, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
      std::vector<int> read;
      for (int key = input.getch(); key != -1; key = input.getch()) read.push_back(key);
      EXPECT_EQ(read, keys) << bytes;
    }
  }
  tcgetattr(process, &after);
  EXPECT_TRUE(after.c_lflag == before.c_lflag && after.c_iflag == before.c_iflag);
}

#endif
