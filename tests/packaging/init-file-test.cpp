// The init files and the nodes of the kit: their language, and what they name.
#include "tests/packaging/init-file.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <deque>
#include <map>
#include <utility>

#include "tests/packaging/policy.h"
#include "tests/unit/docs/text.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* INIT_FILES[] = {"packaging/vx-kro-amt.rc", "packaging/vx-kro-amt-usb.rc"};
constexpr char NODES[] = "packaging/vx-kro-amt-ueventd.rc";

std::vector<init_section_st> sections_of(const char* file) {
  std::vector<init_section_st> sections;
  EXPECT_THAT(check_init_file(project_text(file), &sections), IsEmpty()) << file;
  return sections;
}

const init_section_st* find_service(const std::vector<init_section_st>& sections, const std::string& name) {
  for (const auto& section : sections) {
    if (section.m_head.m_words[0] == "service" && section.m_head.m_words[1] == name) return &section;
  }
  ADD_FAILURE() << "no service " << name;
  return nullptr;
}

std::set<std::string> groups_of(const init_section_st& service) {
  for (const auto& line : service.m_lines) {
    if (line.m_words[0] == "group") return {line.m_words.begin() + 1, line.m_words.end()};
  }
  return {};
}

bool has_option(const init_section_st& service, const std::string& name) {
  return std::any_of(service.m_lines.begin(), service.m_lines.end(),
                     [&](const init_line_st& line) { return line.m_words[0] == name; });
}

struct mistake_st {
  const char* m_what;
  const char* m_text;
  const char* m_finding;
};

class InitFileMistake : public testing::TestWithParam<mistake_st> {};
class UeventdFileMistake : public testing::TestWithParam<mistake_st> {};

std::string name_of_mistake(const testing::TestParamInfo<mistake_st>& row) {
  return row.param.m_what;
}

// Init's property triggers, with the kit's files and services that run until a test ends them. As on a phone, a change
// is an event of its own, which starts what it completes when its turn has come.
class init {
 public:
  init() {
    for (const char* file : INIT_FILES) {
      for (auto& section : sections_of(file)) m_sections.push_back(std::move(section));
    }
    for (const auto& section : m_sections) {
      if (section.m_head.m_words == std::vector<std::string>{"on", "post-fs-data"}) run(section);
    }
    run("vx-kro-amt", true);  // its class is started at the end
    work();
  }

  void set(const std::string& name, const std::string& value) {
    change(name, value);
    work();
  }
  bool runs(const std::string& service) const { return m_running.count(service) != 0; }
  int starts(const std::string& service) { return m_starts[service]; }
  // The start on insertion reports and ends.
  void end_with(const std::string& verdict) {
    change("sys.vx.amt.failure.handshake", verdict);
    run("vx-kro-amt-usb", false);
    work();
  }

 private:
  void change(const std::string& name, const std::string& value) {
    m_properties[name] = value;
    m_events.emplace_back(name, value);
  }

  void run(const std::string& service, bool is_on) {
    if (is_on && m_running.insert(service).second) ++m_starts[service];
    if (!is_on && m_running.erase(service) != 0) change("init.svc." + service, "stopped");
  }

  void run(const init_section_st& section) {
    for (const auto& line : section.m_lines) {
      const auto& words = line.m_words;
      if (words[0] == "setprop") change(words[1], words[2]);
      if (words[0] == "start" || words[0] == "stop") run(words[1], words[0] == "start");
    }
  }

  bool is_due(const init_section_st& section, const std::pair<std::string, std::string>& event) {
    bool names_it = false;
    for (const auto& word : section.m_head.m_words) {
      if (word == "on" || word == "&&") continue;
      if (!word.starts_with("property:")) return false;
      const std::string name = word.substr(9, word.find('=') - 9);
      const std::string value = word.substr(word.find('=') + 1);
      names_it = names_it || name == event.first;
      if ((name == event.first ? event.second : m_properties[name]) != value) return false;
    }
    return names_it;
  }

  void work() {
    for (int turn = 0; !m_events.empty(); ++turn) {
      ASSERT_LT(turn, 100) << "the files start each other without end";
      const auto event = m_events.front();
      m_events.pop_front();
      std::vector<const init_section_st*> due;
      for (const auto& section : m_sections) {
        if (section.m_head.m_words[0] == "on" && is_due(section, event)) due.push_back(&section);
      }
      for (const auto* section : due) run(*section);
    }
  }

  std::vector<init_section_st> m_sections;
  std::map<std::string, std::string> m_properties;
  std::deque<std::pair<std::string, std::string>> m_events;
  std::set<std::string> m_running;
  std::map<std::string, int> m_starts;
};

}  // namespace

TEST(InitTriggers, Start_RunsTheNormalServiceAlone) {
  const init phone;
  EXPECT_TRUE(phone.runs("vx-kro-amt"));
  EXPECT_FALSE(phone.runs("vx-kro-amt-usb"));
}

TEST(InitTriggers, Insertion_PutsTheOtherServiceInItsPlace) {
  init phone;
  phone.set("sys.usb.state", "serial,adb");
  EXPECT_FALSE(phone.runs("vx-kro-amt"));
  EXPECT_TRUE(phone.runs("vx-kro-amt-usb"));
}

// Its verdict permits the next insertion, but the cable is still the same.
TEST(InitTriggers, EndWithPermission_BringsTheNormalServiceBackAndWaits) {
  init phone;
  phone.set("sys.usb.state", "serial,adb");
  phone.end_with("2");
  EXPECT_TRUE(phone.runs("vx-kro-amt"));
  EXPECT_FALSE(phone.runs("vx-kro-amt-usb"));
  EXPECT_EQ(phone.starts("vx-kro-amt-usb"), 1);
  phone.set("sys.usb.state", "adb");
  phone.set("sys.usb.state", "serial,adb");
  EXPECT_EQ(phone.starts("vx-kro-amt-usb"), 2);
}

TEST(InitTriggers, EndWithRefusal_KeepsTheNextInsertionOut) {
  init phone;
  phone.set("sys.usb.state", "serial,adb");
  phone.end_with("1");
  phone.set("sys.usb.state", "serial,adb");
  EXPECT_EQ(phone.starts("vx-kro-amt-usb"), 1);
  EXPECT_TRUE(phone.runs("vx-kro-amt"));
  // Permission that comes later is for the insertion after it.
  phone.set("sys.vx.amt.failure.handshake", "2");
  EXPECT_EQ(phone.starts("vx-kro-amt-usb"), 1);
  phone.set("sys.usb.state", "serial,adb");
  EXPECT_EQ(phone.starts("vx-kro-amt-usb"), 2);
}

TEST(InitFile, FilesOfTheKit_AreInitsLanguage) {
  for (const char* file : INIT_FILES) EXPECT_THAT(check_init_file(project_text(file)), IsEmpty()) << file;
}

TEST(InitFile, NodesOfTheKit_AreUeventdsLanguage) {
  EXPECT_THAT(check_ueventd_file(project_text(NODES)), IsEmpty());
}

TEST(InitFile, Services_StartTheProgramInBothWays) {
  const auto sections = sections_of("packaging/vx-kro-amt.rc");
  const auto* normal = find_service(sections, "vx-kro-amt");
  const auto* usb = find_service(sections, "vx-kro-amt-usb");
  ASSERT_TRUE(normal != nullptr && usb != nullptr);
  EXPECT_THAT(normal->m_head.m_words, ElementsAre("service", "vx-kro-amt", "/system/bin/vx-kro-amt"));
  EXPECT_THAT(usb->m_head.m_words, ElementsAre("service", "vx-kro-amt-usb", "/system/bin/vx-kro-amt", "-u"));
  EXPECT_EQ(groups_of(*normal), groups_of(*usb));
}

// The normal service is to come back after each end; the other one waits for a cable and runs once.
TEST(InitFile, OnlyTheStartOnInsertion_IsDisabledAndOneshot) {
  const auto sections = sections_of("packaging/vx-kro-amt.rc");
  const auto* normal = find_service(sections, "vx-kro-amt");
  const auto* usb = find_service(sections, "vx-kro-amt-usb");
  ASSERT_TRUE(normal != nullptr && usb != nullptr);
  for (const char* option : {"disabled", "oneshot"}) {
    EXPECT_FALSE(has_option(*normal, option)) << option;
    EXPECT_TRUE(has_option(*usb, option)) << option;
  }
}

// The program and the init files are modules of the build file; /system/bin is where it puts a program.
TEST(InitFile, WhatItNames_IsInTheBuildFile) {
  const auto build = project_text("Android.bp");
  EXPECT_THAT(build, HasSubstr("cc_binary {\n    name: \"vx-kro-amt\","));
  for (const char* file : INIT_FILES) EXPECT_THAT(build, HasSubstr("\"" + std::string(file) + "\"")) << file;
  EXPECT_THAT(build, HasSubstr("\"" + std::string(NODES) + "\""));
}

TEST(InitFile, PropertiesItNames_HaveATypeOrAreThePlatforms) {
  const auto contexts = project_text("packaging/sepolicy/property_contexts");
  const std::set<std::string> platforms = {"init.svc.vx-kro-amt-usb", "sys.usb.state"};
  std::set<std::string> names;
  for (const char* file : INIT_FILES) {
    const auto text = project_text(file);
    for (auto& name : matches(text, "property:([A-Za-z0-9_.-]+)=")) names.insert(name);
    for (auto& name : matches(text, "setprop ([^ ]+) ")) names.insert(name);
  }
  EXPECT_GE(names.size(), 4u);
  for (const auto& name : names) {
    EXPECT_TRUE(platforms.count(name) != 0 || contexts.find("\n" + name + " ") != contexts.npos) << name;
  }
}

// Folders in the read-only root are not made; owner and mode come after the mount.
TEST(InitFile, FoldersInTheRoot_AreNotMadeButSetAfterTheMount) {
  const auto sections = sections_of("packaging/vx-kro-amt.rc");
  std::vector<std::string> done;
  for (const auto& section : sections) {
    if (section.m_head.m_words[0] != "on") continue;
    for (const auto& line : section.m_lines) {
      const auto& words = line.m_words;
      if (std::find(words.begin(), words.end(), "/amt") != words.end() ||
          std::find(words.begin(), words.end(), "/tmp") != words.end())
        done.push_back(section.m_head.m_words[1] + ": " + words[0]);
    }
  }
  EXPECT_THAT(done,
              ElementsAre("post-fs: chown", "post-fs: chmod", "post-fs: restorecon_recursive", "post-fs-data: mount"));
  EXPECT_THAT(project_text("packaging/vx-kro-amt.rc"),
              HasSubstr("mount tmpfs tmpfs /tmp nosuid nodev noexec mode=1777,rootcontext=u:object_r:" +
                        type_of_path("/tmp") + ":s0\n"));
}

// After the data's partition is there; the driver's folder belongs to the driver's user.
TEST(InitFile, FoldersOfNotesAndOfTheDriversText_AreMade) {
  const auto sections = sections_of("packaging/vx-kro-amt.rc");
  std::vector<std::string> done;
  for (const auto& section : sections) {
    if (section.m_head.m_words != std::vector<std::string>{"on", "post-fs-data"}) continue;
    for (const auto& line : section.m_lines) {
      std::string whole;
      for (const auto& word : line.m_words) whole += (whole.empty() ? "" : " ") + word;
      if (whole.find("/data/") != whole.npos) done.push_back(whole);
    }
  }
  EXPECT_THAT(done, ElementsAre("mkdir /data/local/wifi 0775 root radio", "restorecon_recursive /data/local/wifi",
                                "mkdir /data/misc/wifi 0770 wifi wifi"));
}

// The normal service starts with its class, at the end of the phone's start; the other one is in the same, disabled.
TEST(InitFile, Services_AreOfTheClassThatStartsLast) {
  for (const auto& section : sections_of("packaging/vx-kro-amt.rc")) {
    if (section.m_head.m_words[0] != "service") continue;
    std::vector<std::string> classes;
    for (const auto& line : section.m_lines) {
      if (line.m_words[0] == "class") classes = line.m_words;
    }
    EXPECT_THAT(classes, ElementsAre("class", "late_start")) << section.m_head.m_words[1];
  }
}

// The ttys of the sample configuration and every node of docs/files.md; the service's group may use each.
TEST(InitFile, EachNodeOfTheService_IsForOneOfItsGroups) {
  const auto sections = sections_of("packaging/vx-kro-amt.rc");
  const auto* service = find_service(sections, "vx-kro-amt");
  ASSERT_NE(service, nullptr);
  const auto groups = groups_of(*service);
  const auto nodes = project_text(NODES);
  auto wanted = matches(project_text("packaging/vx-kro-amt.cfg"), "\nvx\\.tty\\.(?:pc|modem|at\\.mux) = ([^\n]+)");
  for (const char* node :
       {"/dev/ptmx", "/dev/graphics/\\*", "/dev/tty0", "/dev/video0", "/sys/class/leds/lcd-backlight +brightness",
        "/sys/class/leds/button-backlight +brightness", "/sys/class/timed_output/vibrator +enable"}) {
    wanted.emplace_back(node);
  }
  for (const auto& node : wanted) {
    const auto group = matches(nodes, "\n" + node + " +0[0-7]{3} +[a-z]+ +([a-z]+)\n");
    ASSERT_EQ(group.size(), 1u) << node;
    EXPECT_EQ(groups.count(group[0]), 1u) << node << " " << group[0];
  }
}

TEST_P(InitFileMistake, FileWithIt_IsRefused) {
  EXPECT_THAT(check_init_file(GetParam().m_text), ElementsAre(HasSubstr(GetParam().m_finding)));
}

INSTANTIATE_TEST_SUITE_P(
    Mistakes, InitFileMistake,
    testing::Values(mistake_st{"UnknownCommand", "on boot\n    make /x\n", "no command make"},
                    mistake_st{"UnknownOption", "service a /b\n    user root\n    once\n", "no option once"},
                    mistake_st{"OptionWithAWord", "service a /b\n    user root\n    oneshot x\n", "oneshot with 1"},
                    mistake_st{"OptionTwice", "service a /b\n    user root\n    user root\n", "user is there twice"},
                    mistake_st{"NoUser", "service a /b\n    oneshot\n", "no user is named"},
                    mistake_st{"UnknownUser", "service a /b\n    user amt\n", "no user or group amt"},
                    mistake_st{"UnknownGroup", "on boot\n    chown root amt /x\n", "no user or group amt"},
                    mistake_st{"UnknownClass", "service a /b\n    user root\n    class late\n", "no class late"},
                    mistake_st{"BadProperty", "on boot\n    setprop Sys.x 1\n", "no property Sys.x"},
                    mistake_st{"SecondPath", "on boot\n    restorecon /a b\n", "no path b"},
                    mistake_st{"NoProgram", "service a\n", "a name and a program"},
                    mistake_st{"ServiceTwice", "service a /b\n    user root\nservice a /b\n    user root\n",
                               "is there twice"},
                    mistake_st{"NotIndented", "on boot\nstart vx-kro-amt\n", "indented wrongly"},
                    mistake_st{"IndentedHead", "  on boot\n    start vx-kro-amt\n", "indented wrongly"},
                    mistake_st{"UnknownEvent", "on booted\n    start vx-kro-amt\n", "no event booted"},
                    mistake_st{"TwoEvents", "on boot && fs\n    start vx-kro-amt\n", "no event fs"},
                    mistake_st{"PropertyWithoutValue", "on property:a.b\n    start vx-kro-amt\n", "property:a.b"},
                    mistake_st{"HangingAnd", "on boot &&\n    start vx-kro-amt\n", "take turns"},
                    mistake_st{"BadMode", "on boot\n    chmod 888 /x\n", "no mode 888"},
                    mistake_st{"RelativePath", "on boot\n    chmod 0644 x\n", "no path x"},
                    mistake_st{"UnknownService", "on boot\n    start other\n", "no service other"},
                    mistake_st{"NothingDone", "on boot\n", "nothing is done"},
                    mistake_st{"NoLastLineEnd", "on boot\n    start vx-kro-amt", "no end of line"}),
    name_of_mistake);

TEST_P(UeventdFileMistake, FileWithIt_IsRefused) {
  EXPECT_THAT(check_ueventd_file(GetParam().m_text), ElementsAre(HasSubstr(GetParam().m_finding)));
}

INSTANTIATE_TEST_SUITE_P(Mistakes, UeventdFileMistake,
                         testing::Values(mistake_st{"NoGroup", "/dev/a 0660 root\n", "path, attribute"},
                                         mistake_st{"NoAttribute", "/sys/a 0660 root root\n", "path, attribute"},
                                         mistake_st{"UnknownUser", "/dev/a 0660 amt root\n", "no user or group amt"},
                                         mistake_st{"BadMode", "/dev/a 0968 root root\n", "no mode 0968"},
                                         mistake_st{"OtherPath", "/proc/a 0660 root root\n", "neither /dev nor /sys"}),
                         name_of_mistake);
