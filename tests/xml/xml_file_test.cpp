#include "zarlib/text/file_system.h"
#include "zarlib/xml/xml_file.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"
#include "tests/support/settings_document.h"

#include <gmock/gmock.h>

#include <chrono>
#include <random>
#include <set>
#include <thread>

namespace {

using harness::temporary_directory;

std::string text_of(int number) { return settings_document(number).ExportToText(false); }

/// A folder of a file "f" and its companions. Content: a letter for each, in the order f, new, old. '1' and '2' are
/// complete documents, 'p' a part of one, '-' no file.
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
  const char *const rows[][2] = {{"1--", "1--"}, {"1p-", "1--"}, {"12-", "1--"}, {"-21", "2--"}, {"2-1", "2--"},
                                 {"211", "2--"}, {"---", "---"}, {"-2-", "---"}, {"--1", "---"}, {"p--", "p--"}};
  const temporary_directory folder;
  for (const auto &[before, after] : rows) {
    lay_out(folder.path(), before);
    chXmlFile file(folder / "f");
    EXPECT_EQ(layout_of(folder.path()), after) << before;
    EXPECT_EQ(settings_number(file), std::atoi(after)) << before;
    EXPECT_EQ(file.LoadFromFile(folder / "f"), std::atoi(after) > 0) << before;
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
  std::filesystem::permissions(folder / "f", std::filesystem::perms(0444)); // replaced nevertheless
  file.SaveToFile("");
  EXPECT_TRUE(harness::read_file(folder / "f") == file.ExportToText(false) && !pathFileExist(folder / "f.old"));
  chXmlFile().SaveToFile(""); // no name at all: nothing to write to
}

// A writer is killed at random moments and continues from what it finds. Nothing it acknowledged may be lost.
TEST(XmlFile, SurvivesAKillAtAnyMoment) {
#ifdef __linux__
  const int kills = 320;
#else
  const int kills = 20;
#endif
  const temporary_directory folder;
  std::mt19937 random(std::random_device{}());
  int done = 0, inside_a_save = 0;
  for (int i = 0; i < kills; ++i) {
    harness::child_process writer("settings_writer", {folder / "f"});
    std::string line = writer.read_line();
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 12000));
    writer.kill();
    for (; !line.empty(); line = writer.read_line()) {
      ASSERT_THAT(line, testing::AnyOf(std::to_string(done), std::to_string(done + 1))) << "kill " << i;
      done = std::atoi(line.c_str());
    }
    inside_a_save += pathFileExist(folder / "f.new") || pathFileExist(folder / "f.old");
  }
  EXPECT_TRUE(done > 0 && inside_a_save > 0);
}

#ifdef __linux__
#include <csignal>
#include <sys/resource.h>

// The fault is injected at the first, second, ... call, until there are no more calls.
TEST(XmlFile, SavesAndLoadsMayStopOrFailAtEachCall) {
  const temporary_directory folder;
  std::set<std::string> states;
  const auto strike = [&](const char *before, const char *what, const char *fault, int number) {
    lay_out(folder.path(), before);
    const auto run = harness::run("settings_writer", {folder / "f", what, fault, std::to_string(number)});
    EXPECT_TRUE(run.exit_code == 0 || run.exit_code == 9) << run.error;
    const std::string left = layout_of(folder.path()), expected = left[0] == '2' || left == "-21" ? "2--" : "1--";
    states.insert(left);
    const int found = settings_number(chXmlFile(folder / "f"));
    EXPECT_EQ(layout_of(folder.path()), expected) << what << ": " << fault << " at call " << number << " left " << left;
    EXPECT_EQ(found, expected[0] - '0') << what << ": " << fault << " at call " << number << " left " << left;
    return run.exit_code == 9 || (run.exit_code == 0 && std::stoi(run.output) >= number);
  };
  for (const char *before : {"1--", "1p-", "-21", "2-1"})
    for (const char *fault : {"die", "fail"})
      for (int number = 1; strike(before, before[1] == '-' && before[2] == '-' ? "save" : "load", fault, number);)
        ++number;
  EXPECT_THAT(states, testing::ElementsAre("-21", "1--", "12-", "1p-", "2--", "2-1"));
}

TEST(XmlFile, AFullDiskCostsNothing) {
  const temporary_directory folder;
  lay_out(folder.path(), "1--");
  signal(SIGXFSZ, SIG_IGN);
  const rlimit no_room{20000, RLIM_INFINITY}, room{RLIM_INFINITY, RLIM_INFINITY}; // a part is written, then no more
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &no_room), 0);
  settings_document(2).SaveToFile(folder / "f");
  setrlimit(RLIMIT_FSIZE, &room);
  EXPECT_EQ(settings_number(chXmlFile(folder / "f")), 1);
  settings_document(2).SaveToFile(folder / "f");
  EXPECT_EQ(layout_of(folder.path()), "2--");
}

static int refused_ways = 0;

// Interposed: the library's calls come here too.
extern "C" int fchown(int, uid_t owner, gid_t) noexcept { return refused_ways > (owner == uid_t(-1)) ? -1 : 0; }

TEST(XmlFile, KeepsTheRightsOfTheFileAndOpensItToNoOtherGroup) {
  const temporary_directory folder;
  const unsigned kept[] = {0664, 0664, 0644}; // owner and group can be set, only the group, neither
  for (refused_ways = 0; refused_ways < 3; ++refused_ways) {
    lay_out(folder.path(), "1--");
    std::filesystem::permissions(folder / "f", std::filesystem::perms(0464));
    chXmlFile(folder / "f").SaveToFile("");
    EXPECT_EQ(pathStat(folder / "f"), 0x8000u | kept[refused_ways]) << "writable by its owner in any case";
  }
}

#endif

TEST(SettingsExample, ReadsChangesAndNeverDamages) {
  const temporary_directory folder;
  const std::string file = folder / "f.xml", broken = folder / "broken.xml";
  harness::write_file(broken, "<settings><a>1</a>");
  harness::write_file(folder / "c.xml", "<settings><a><!-- 1 --></a></settings>");
  const struct {
    std::vector<std::string> arguments;
    int exit_code;
    const char *told; ///< the output, or a part of the error text
  } rows[] = {
      {{file, "list"}, 1, "no such file"},
      {{file, "set", "volume", "11 < 12 & \"so on\""}, 0, ""},
      {{file, "set", "empty", ""}, 0, ""},
      {{file, "get", "volume"}, 0, "11 < 12 & \"so on\""},
      {{folder / "c.xml", "set", "a", "1"}, 1, "cannot be kept"},
      {{file, "list"}, 0, "volume=11 < 12 & \"so on\"\nempty="},
      {{folder / "no/such/folder/f.xml", "set", "a", "b"}, 1, "could not be written"},
      {{broken, "set", "a", "b"}, 1, "not a settings file"},
  };
  for (const auto &row : rows) {
    const auto run = harness::run("settings", row.arguments);
    const auto shown = testing::PrintToString(row.arguments);
    EXPECT_EQ(run.exit_code, row.exit_code) << shown << run.error;
    EXPECT_EQ(harness::lines_of(run.output), harness::lines_of(row.exit_code ? "" : row.told)) << shown;
    EXPECT_THAT(run.error, testing::HasSubstr(row.exit_code ? row.told : "")) << shown;
  }
  EXPECT_EQ(harness::read_file(broken), "<settings><a>1</a>");
  EXPECT_EQ(harness::list_directory(folder.path()), (std::vector<std::string>{"broken.xml", "c.xml", "f.xml"}));
}
