#include "zarlib/text/file_system.h"
#include "zarlib/xml/xml_file.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"
#include "tests/support/settings_document.h"

#include <gmock/gmock.h>

#include <chrono>
#include <random>
#include <thread>

namespace {

using harness::temporary_directory;
using names = std::vector<std::string>;

std::string text_of(int number) { return settings_document(number).ExportToText(false); }

/// A folder of a file "f" and its companions. Content: a letter for each, in the order f, new, old. '1' and '2' are whole
/// documents, 'p' a part of one, '-' no file.
void lay_out(const std::string &folder, const std::string &content) {
  const char *const endings[] = {"/f", "/f.new", "/f.old"};
  for (int i = 0; i < 3; ++i) {
    pathRemoveFile(folder + endings[i]);
    if (content[i] == 'p') harness::write_file(folder + endings[i], text_of(2).substr(0, 3000));
    if (content[i] == '1' || content[i] == '2') harness::write_file(folder + endings[i], text_of(content[i] - '0'));
  }
}

std::string layout_of(const std::string &folder) {
  std::string content;
  for (const char *const ending : {"/f", "/f.new", "/f.old"}) {
    const std::string text = harness::read_file(folder + ending);
    const char number = text == text_of(1) ? '1' : text == text_of(2) ? '2' : 'p';
    content += pathFileExist(folder + ending) ? number : '-';
  }
  return content;
}

} // namespace

TEST(XmlFile, LoadCompletesASaveThatWasCutShort) {
  const struct {
    const char *before;
    int result;
    const char *after;
  } rows[] = {
      {"1--", 1, "1--"}, {"1p-", 1, "1--"}, {"12-", 1, "1--"}, {"-21", 1, "2--"}, {"2-1", 1, "2--"},
      {"211", 1, "2--"}, {"---", 0, "---"}, {"-2-", 0, "---"}, {"--1", 0, "---"}, {"p--", 0, "p--"},
  };
  const temporary_directory folder;
  for (const auto &row : rows) {
    lay_out(folder.path(), row.before);
    chXmlFile file(folder / "f");
    EXPECT_EQ(file.hasChildren(), row.result == 1) << row.before;
    EXPECT_EQ(layout_of(folder.path()), row.after) << row.before;
    EXPECT_EQ(settings_number(file), row.result ? row.after[0] - '0' : 0) << row.before;
    EXPECT_EQ(file.LoadFromFile(folder / "f"), row.result) << row.before;
  }
}

TEST(XmlFile, SavesUnderItsOwnNameOrAnother) {
  const temporary_directory folder;
  lay_out(folder.path(), "1--");
  chXmlFile file(folder / "f");
  file.getChildElement().SetAttributeValue("number", "7");
  file.SaveToFile(folder / "copy \xC3\xA9");
  EXPECT_EQ(layout_of(folder.path()), "1--") << "the other file, not this one";
  EXPECT_EQ(harness::read_file(folder / "copy \xC3\xA9"), file.ExportToText(false));
  file.SaveToFile("");
  EXPECT_EQ(harness::read_file(folder / "f"), file.ExportToText(false)) << "the name of the load, still";
  EXPECT_EQ(harness::list_directory(folder.path()).size(), 2u);

  const chXmlFile moved(std::move(file));
  moved.getChildElement().SetAttributeValue("number", "8");
  EXPECT_TRUE(file.hasChildren()) << "a handle, also when moved from"; // NOLINT(bugprone-use-after-move)
  pathRemoveFile(folder / "f");
  moved.SaveToFile("");
  EXPECT_EQ(harness::read_file(folder / "f"), file.ExportToText(false)) << "one document";
  chXmlFile().SaveToFile(""); // no name at all: nothing to write to
  EXPECT_FALSE(chXmlFile("").hasChildren());
  // A companion's leftover that no load has cleared away makes one save fail, and costs nothing.
  lay_out(folder.path(), "1-1");
  chXmlFile second;
  static_cast<chXmlDocument &>(second) = settings_document(2);
  second.SaveToFile(folder / "f");
  EXPECT_EQ(layout_of(folder.path()), "12-");
  second.SaveToFile(folder / "f");
  EXPECT_EQ(layout_of(folder.path()), "2--");
}

// A writer is killed at random moments and goes on from what it finds. Nothing that it acknowledged may ever be gone.
TEST(XmlFile, SurvivesAKillAtAnyMoment) {
#ifdef _WIN32
  const int kills = 20;
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  const int kills = 60;
#else
  const int kills = 320;
#endif
  const temporary_directory folder;
  std::mt19937 random(std::random_device{}());
  int done = 0, inside_a_save = 0;
  for (int i = 0; i < kills; ++i) {
    harness::child_process writer("settings_writer", {folder / "f"});
    const auto take = [&](const std::string &line) {
      if (line.empty()) return false;
      EXPECT_THAT(line, testing::AnyOf(std::to_string(done), std::to_string(done + 1))) << "kill " << i;
      done = std::atoi(line.c_str());
      return true;
    };
    for (unsigned lines = random() % 4; lines > 0; --lines) ASSERT_TRUE(take(writer.read_line()));
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000));
    writer.kill();
    while (take(writer.read_line())) {
    }
    inside_a_save += pathFileExist(folder / "f.new") || pathFileExist(folder / "f.old");
    if (i % 2) continue; // every other time the next writer is the first to look
    const int found = settings_number(chXmlFile(folder / "f"));
    ASSERT_TRUE(found == done || found == done + 1) << found << " after " << done << " at kill " << i;
    done = found;
  }
  EXPECT_GT(done, kills / 2);
  EXPECT_GT(inside_a_save, 0);
  RecordProperty("inside_a_save", inside_a_save);
}

#ifdef __linux__

namespace {

/// Runs the program with a fault at the first, second ... call, until there is none left to strike.
template <typename Check>
void strike_each_call(const temporary_directory &folder, const char *what, const char *before, Check check) {
  for (const char *fault : {"die", "fail"}) {
    for (int number = 1;; ++number) {
      lay_out(folder.path(), before);
      const auto run = harness::run("settings_faults", {what, folder / "f", fault, std::to_string(number)});
      ASSERT_TRUE(run.exit_code == 0 || run.exit_code == 9) << run.error;
      check(fault, number);
      if (run.exit_code == 0 && std::stoi(run.output) < number) break;
    }
  }
}

} // namespace

TEST(XmlFile, SaveMayStopOrFailAtEachCall) {
  const temporary_directory folder;
  names states;
  strike_each_call(folder, "save", "1--", [&](const std::string &fault, int number) {
    const std::string left = layout_of(folder.path());
    if (fault == "die" && (states.empty() || states.back() != left)) states.push_back(left);
    const int found = settings_number(chXmlFile(folder / "f"));
    const bool moved_in = left[0] == '2' || left == "-21";
    EXPECT_EQ(found, moved_in ? 2 : 1) << fault << " at call " << number << " left " << left;
    EXPECT_EQ(layout_of(folder.path()), moved_in ? "2--" : "1--") << fault << " at call " << number << " left " << left;
  });
  EXPECT_THAT(states, testing::ElementsAre("1--", "1p-", "12-", "-21", "2-1", "2--"));
}

TEST(XmlFile, RecoveryMayStopOrFailAtEachCall) {
  const temporary_directory folder;
  for (const char *before : {"1p-", "-21", "2-1"})
    strike_each_call(folder, "load", before, [&](const std::string &fault, int number) {
      EXPECT_EQ(settings_number(chXmlFile(folder / "f")), before[0] == '1' ? 1 : 2)
          << before << ": " << fault << " at call " << number;
    });
}

TEST(XmlFile, AFullDiskCostsNothing) {
  const temporary_directory folder;
  const auto run = harness::run("settings_faults", {"full", folder.path()});
  if (run.output == "no disk of its own\n") GTEST_SKIP() << "needs the right to mount in a name space of its own";
  EXPECT_EQ(run.output, "1 2\n") << run.error;
}

TEST(XmlFile, KeepsTheRightsOfTheFile) {
  const temporary_directory folder;
  chXmlFile file;
  static_cast<chXmlDocument &>(file) = settings_document(1);
  for (const unsigned rights : {0600u, 0660u, 0444u}) {
    lay_out(folder.path(), "2--");
    std::filesystem::permissions(folder / "f", std::filesystem::perms(rights));
    file.SaveToFile(folder / "f");
    EXPECT_EQ(pathStat(folder / "f"), 0x8000u | rights | 0200u) << "writable by its owner in any case";
  }
}

#endif

TEST(SettingsExample, ReadsChangesAndNeverDamages) {
  const temporary_directory folder;
  const std::string file = folder / "f.xml", broken = folder / "broken.xml";
  harness::write_file(broken, "<settings><a>1</a>");
  const struct {
    std::vector<std::string> arguments;
    int exit_code;
    const char *told; ///< the output, or a part of the error
  } rows[] = {
      {{file, "list"}, 1, "no such file"},
      {{file, "set", "volume", "11 < 12 & \"so on\""}, 0, ""},
      {{file, "set", "empty", ""}, 0, ""},
      {{file, "set", "empty", "no more"}, 0, ""},
      {{file, "set", "empty", ""}, 0, ""},
      {{file, "get", "volume"}, 0, "11 < 12 & \"so on\""},
      {{file, "get", "Volume"}, 1, "no key"},
      {{file, "set", "slash/", "x"}, 1, "cannot be kept"},
      {{file, "set", "volume", "blank "}, 1, "cannot be kept"},
      {{file, "list"}, 0, "volume=11 < 12 & \"so on\"\nempty="},
      {{folder / "no/such/folder/f.xml", "set", "a", "b"}, 1, "could not be written"},
      {{broken, "list"}, 1, "not a settings file"},
      {{broken, "set", "a", "b"}, 1, "not a settings file"},
      {{file, "set", "a"}, 2, "usage"},
  };
  for (const auto &row : rows) {
    const auto run = harness::run("settings", row.arguments);
    const auto shown = testing::PrintToString(row.arguments);
    EXPECT_EQ(run.exit_code, row.exit_code) << shown << run.error;
    EXPECT_EQ(harness::lines_of(run.output), harness::lines_of(row.exit_code ? "" : row.told)) << shown;
    EXPECT_THAT(run.error, testing::HasSubstr(row.exit_code ? row.told : "")) << shown;
  }
  EXPECT_EQ(harness::read_file(broken), "<settings><a>1</a>");
  EXPECT_EQ(harness::list_directory(folder.path()), (names{"broken.xml", "f.xml"}));
}
