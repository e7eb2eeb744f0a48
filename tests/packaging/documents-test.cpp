// docs/integrating.md and docs/security.md: each file, property and log line that they name is in the code or the kit.
#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <map>

#include "tests/unit/docs/text.h"

namespace {

constexpr const char* DOCUMENTS[] = {"docs/integrating.md", "docs/security.md"};

// The text without its blocks of code.
std::string prose_of(const char* document) {
  return std::regex_replace(project_text(document), std::regex("```[^`]*```"), "");
}

std::set<std::string> names_in(const char* document) {
  std::set<std::string> result;
  for (auto& name : matches(prose_of(document), "`([^`]+)`")) {
    std::replace(name.begin(), name.end(), '\n', ' ');  // one that goes over the end of a line
    result.insert(std::move(name));
  }
  EXPECT_GT(result.size(), 20u);
  return result;
}

// Without comments: what only a comment names is not there.
std::string text_of_folder(const char* folder, const std::set<std::string>& extensions) {
  std::string result;
  for (const auto& path : project_files(folder, extensions))
    result += std::regex_replace(project_text(path), std::regex("(?:\\n|  )// [^\n]*"), "\n") + "\n";
  return result;
}

std::string sources() {
  std::string result;
  for (const char* folder : {"amt", "pub", "platform"}) result += text_of_folder(folder, {".cpp", ".h"});
  return result;
}

std::string kit() {
  std::string result = project_text("Android.bp");
  for (const char* name : {"file_contexts", "property_contexts", "genfs_contexts"})
    result += project_text(std::string("packaging/sepolicy/") + name);
  for (const auto& path : project_files("packaging", {".rc", ".cfg", ".te", ".sample", ".sh"}))
    result += project_text(path) + "\n";
  return std::regex_replace(result, std::regex("\n(?:#|//)[^\n]*"), "\n");
}

const std::string& all_texts() {
  static const std::string result = sources() + kit();
  return result;
}

// Paths that the code puts together, and the text that it does so with.
const std::map<std::string, std::string> MADE_PATHS = {{"/tmp/vx-kro-amt.pid", "\"echo %d > /tmp/%s.pid\""}};

// As a whole: what follows in the text does not go on with the name.
bool is_known(const std::string& name) {
  const auto& texts = all_texts();
  const auto made = MADE_PATHS.find(name);
  if (made != MADE_PATHS.end()) return texts.find(made->second) != texts.npos;
  for (std::size_t at = texts.find(name); at != texts.npos; at = texts.find(name, at + 1)) {
    const char next = at + name.size() < texts.size() ? texts[at + name.size()] : ' ';
    if (std::isalnum(static_cast<unsigned char>(next)) == 0 && next != '_') return true;
  }
  return false;
}

bool is_property(const std::string& name) {
  static const std::regex expression("(amt|ctl|init|ro|sys|vx)\\.[a-z0-9_.]+");
  return std::regex_match(name, expression);
}

// Lines of the platform, which it writes about the service.
const std::set<std::string> PLATFORMS_LINES = {"init: cannot find '/system/bin/vx-kro-amt'",
                                               "does not have a SELinux domain defined", "CANNOT LINK EXECUTABLE",
                                               "avc: denied", "scontext=u:r:vx_kro_amt:s0"};

// What the platform, its tools and its trees call by these names.
const std::set<std::string> PLATFORMS_WORDS = {"Android.bp",
                                               "BOARD_ROOT_EXTRA_FOLDERS",
                                               "BoardConfig.mk",
                                               "BUILD_BROKEN_ELF_PREBUILT_PRODUCT_COPY_FILES",
                                               "PRODUCT_COPY_FILES",
                                               "adb logcat -s vx-kro-amt vx-kro-pub",
                                               "adb root",
                                               "adb shell setprop amt.normal.amt.switch_status 1",
                                               "adb shell start vx-kro-amt",
                                               "adb shell stop vx-kro-amt",
                                               "chown root",
                                               "device.mk",
                                               "fastboot format",
                                               "formattable",
                                               "restorecon -R /amt",
                                               "vendor/vx/kro-amt"};

// Each text of the sources as an expression, with anything for what is filled in. Texts with less than eight characters
// of their own would fit too much.
std::vector<std::regex> line_patterns() {
  std::vector<std::regex> result;
  for (auto& text : matches(sources(), R"re("((?:[^"\\\n]|\\.)*)")re")) {
    text = std::regex_replace(text, std::regex(R"(\\n|\\r)"), "");
    text = std::regex_replace(text, std::regex(R"(\\(["\\]))"), "$1");
    const std::string fixed = std::regex_replace(text, std::regex("%[-0-9.*]*l*[a-zA-Z]"), "");
    if (fixed.size() < 8) continue;
    text = std::regex_replace(text, std::regex(R"([.^$|()\[\]{}*+?\\])"), "\\$&");
    result.emplace_back(std::regex_replace(text, std::regex("%[-0-9.*\\\\]*l*[a-zA-Z]"), ".*"));
  }
  EXPECT_GT(result.size(), 200u);
  return result;
}

// What a sentence says in words or numbers, and the line of the code or the kit that makes it true.
struct fact_st {
  const char* m_document;
  const char* m_told;
  const char* m_file;
  const char* m_line;
};

constexpr char INTEGRATING[] = "docs/integrating.md";
constexpr char SECURITY[] = "docs/security.md";
constexpr char INIT_FILE[] = "packaging/vx-kro-amt.rc";
constexpr fact_st FACTS[] = {
    {INTEGRATING, "| serial set-up | no start (60 tries of 1 s) |", "amt/amt-handle/service/serial-setup.cpp",
     "OPEN_TRIES = 60;\nconstexpr std::uint32_t OPEN_PAUSE_MS = 1000;"},
    {INTEGRATING, "platform set-up (30 tries of 1 s)", "amt/amt-handle/service/platform-setup.cpp",
     "OPEN_TRIES = 30;\nconstexpr std::uint32_t OPEN_PAUSE_MS = 1000;"},
    {INTEGRATING, "kernel events: netlink group 1,", "amt/amt-handle/service/usb-monitor.cpp",
     "address.nl_groups = 1;"},
    {INTEGRATING, "such a start waits 20 s and ends", "amt/amt-handle/service/handshake.cpp", "USB_ENUM_SECONDS = 20;"},
    {INTEGRATING, "gives a number 20 ms later", "amt/amt-device/battery.cpp", "PREPARE_PAUSE_MS = 20;"},
    {INTEGRATING, "requests 0xC0045662, 0xC0045627, 0xC0045663", "amt/amt-device/camera.cpp",
     "SELECT_CAMERA == 0xC0045662 && SET_INPUT == 0xC0045627 && CONTROL_CAMERA == 0xC0045663"},
    {INTEGRATING, "or on `/storage/sdcard0` with 1 in `/data/etc/storage.config`", "amt/amt-device/card.cpp",
     "choice == CARD_IS_FIRST ? FIRST_STORAGE : SECOND_STORAGE"},
    {INTEGRATING, "`vx5211` when `ro.board.platform` holds that, else `vx5210`", "amt/amt-device/misc-library.cpp",
     "const char* model = \"vx5210\";"},
    {INTEGRATING, "| 1 wall supply, 2 USB host,", "amt/amt-device/battery.h", "AMT_CHARGE_AC = 1,"},
    {INTEGRATING, "| 1 wall supply, 2 USB host,", "amt/amt-device/battery.h", "AMT_CHARGE_USB = 2,"},
    {INTEGRATING, "path holds `/system/bin`", "amt/main.cpp", "std::strstr(folder, \"/system/bin\") != nullptr"},
    {INTEGRATING, "ends with status 0 and reports\nnothing", "amt/main.cpp",
     "already run.\\n\", PROGRAM_NAME);\n    return EXIT_SUCCESS;"},
    {INTEGRATING, "real-time priority (SCHED_FIFO)", "pub/util/process.cpp",
     "sched_setscheduler(getpid(), SCHED_FIFO, &parameter)"},
    {INTEGRATING, "user 1000 (system), group 1001 (radio), mode 660", "pub/pty/pty.cpp",
     "MAPPING_MODE = 0660;\nconstexpr uid_t MAPPING_OWNER = 1000;  // system\nconstexpr gid_t MAPPING_GROUP = 1001;"},
    {INTEGRATING, "gives folders to the group `radio`", "amt/amt-handle/service/init.cpp", "\"chgrp -R radio\""},
    {INTEGRATING, "unless `sys.vx.amt.failure.handshake` is 1", "packaging/vx-kro-amt-usb.rc",
     "on property:vx.amt.insertion=1 && property:sys.vx.amt.failure.handshake=1\n    setprop vx.amt.insertion 0\n"},
    {INTEGRATING, "However it ends, init then\n  starts `vx-kro-amt` again.", INIT_FILE,
     "on property:init.svc.vx-kro-amt-usb=stopped\n    start vx-kro-amt\n"},
    {INTEGRATING, "The service runs as root", INIT_FILE, "    user root\n"},
    {INTEGRATING, "LED class devices named lcd-backlight and button-backlight", "amt/amt-device/display.cpp",
     "\"/sys/class/leds/button-backlight/brightness\""},
    {INTEGRATING, "CONFIG_DRM_FBDEV_OVERALLOC=200, for `/dev/graphics/fb0` with two screens",
     "amt/amt-screen/screen.cpp", "variable.yres_virtual = 2 * variable.yres;"},
    {SECURITY, "| `/amt` belongs to root, mode 755 |", INIT_FILE, "chown root radio /amt\n    chmod 0755 /amt\n"},
    {SECURITY, "| `/tmp` is sticky, in memory, `noexec` |", INIT_FILE,
     "mount tmpfs tmpfs /tmp nosuid nodev noexec mode=1777"},
    {SECURITY, "`packaging/vx-kro-amt-usb.rc` is a package of its own", "Android.bp", "name: \"vx-kro-amt-usb.rc\""},
    {SECURITY, "it may pass over the modes of files, load a module or look into other processes",
     "packaging/sepolicy/vx_kro_amt.te",
     "neverallow vx_kro_amt self:capability { dac_override sys_module sys_ptrace };"},
    {SECURITY, "the service opens a network socket: the kernel's event socket is its only one",
     "packaging/sepolicy/vx_kro_amt.te", "neverallow vx_kro_amt self:{ tcp_socket udp_socket"},
    {SECURITY, "| 0 forbids the start on USB insertion |", "amt/amt-record/amt1-flag.cpp",
     "return pub_text_number(content) != 0;"},
    {SECURITY, "without 1 the normal start serves no PC", "amt/amt-handle/service/init.cpp",
     "if (std::strcmp(value, \"1\") != 0) return false;"},
    {SECURITY, "stops a system service (request 195)", "amt/amt-handle/modem/mode.cpp", "ctl.stop"},
};

std::vector<std::string> failure_lines() {
  std::vector<std::string> result;
  const auto table = between(project_text("docs/integrating.md"), "## Failures by their log line\n", "\n## ");
  for (const auto& cell : matches(table, "\n\\| ([^|]*) \\|")) {
    for (auto& line : matches(cell, "`([^`]+)`")) result.push_back(std::move(line));
  }
  return result;
}

}  // namespace

TEST(KitDocuments, EachPathTheyName_IsInTheCodeOrTheKit) {
  for (const char* document : DOCUMENTS) {
    for (const auto& name : names_in(document)) {
      if (!name.starts_with("/")) continue;
      const std::string path = name.substr(0, name.find_first_of(" <"));
      EXPECT_TRUE(is_known(path)) << document << ": " << name;
    }
  }
}

TEST(KitDocuments, EachFileOfTheProjectTheyName_IsThere) {
  std::size_t count = 0;
  for (const char* document : DOCUMENTS) {
    for (const auto& name : names_in(document)) {
      if (!name.starts_with("packaging/") && !name.starts_with("platform/")) continue;
      ++count;
      const auto path = std::filesystem::path(PROJECT_FOLDER) / name.substr(0, name.find(' '));
      EXPECT_TRUE(std::filesystem::exists(path)) << document << ": " << name;
    }
    for (const auto& link : matches(prose_of(document), "\\]\\(([a-z-]+\\.md)\\)"))
      EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(PROJECT_FOLDER) / "docs" / link)) << link;
  }
  EXPECT_GE(count, 12u);
}

TEST(KitDocuments, EachFileOfTheKit_IsInATable) {
  const auto document = project_text("docs/integrating.md") + project_text("docs/station.md");  // a phone's, a PC's
  for (const auto& entry : std::filesystem::directory_iterator(PROJECT_FOLDER "/packaging")) {
    const std::string name = "| `packaging/" + entry.path().filename().string() + (entry.is_directory() ? "/`" : "`");
    EXPECT_NE(document.find(name), document.npos) << name;
  }
}

TEST(KitDocuments, EachPropertyTheyName_IsInTheCodeOrTheKit) {
  std::size_t count = 0;
  for (const char* document : DOCUMENTS) {
    for (const auto& name : names_in(document)) {
      if (!is_property(name)) continue;
      ++count;
      EXPECT_TRUE(is_known(name)) << document << ": " << name;
    }
  }
  EXPECT_GE(count, 15u);
}

// And the other way round: a property without its row is one that an integrator forgets.
TEST(KitDocuments, EachPropertyOfTheKit_IsInATable) {
  const auto table = between(project_text("docs/integrating.md"), "### Properties\n", "\n### ");
  auto names = matches(project_text("packaging/sepolicy/property_contexts"), "\n([a-z.]+[a-z_])[ $]");
  for (auto& name : matches(sources(), "\"((?:amt|ctl|ro|sys)\\.[a-z_.]+)\"")) names.push_back(std::move(name));
  EXPECT_GE(names.size(), 10u);
  for (const auto& name : names) EXPECT_NE(table.find("`" + name + "`"), table.npos) << name;
}

TEST(KitDocuments, EachAtCommandTheyName_IsInTheSources) {
  const auto text = sources();
  for (const char* document : DOCUMENTS) {
    for (const auto& name : names_in(document)) {
      for (const auto& command : matches(name, "^(AT\\^[A-Z0-9]+)"))
        EXPECT_NE(text.find(command), text.npos) << command;
    }
  }
}

// With the number under which the code knows it; and a station can send it.
TEST(KitDocuments, EachRequestTheyNumber_IsServed) {
  const auto ids = project_text("amt/amt-convert/ids.h");
  const auto table = project_text("amt/amt-handle/service/registrations.cpp");
  std::set<int> told;
  for (const char* document : DOCUMENTS) {
    for (const auto& list : matches(prose_of(document), "requests? ([0-9]+(?:(?:, | and | or )[0-9]+\\b)*)(?!x)\\b"))
      told.merge(numbers(list));
  }
  EXPECT_GE(told.size(), 12u);
  for (const int number : told) {
    const auto name = matches(ids, "NAMED\\(" + std::to_string(number) + ", ([A-Z0-9_]+)\\)");
    ASSERT_EQ(name.size(), 1u) << number;
    EXPECT_NE(table.find(", " + name[0] + ","), table.npos) << number;
  }
}

TEST(KitDocuments, EachFactTheyTell_IsALineOfTheCodeOrTheKit) {
  for (const auto& fact : FACTS) {
    EXPECT_NE(project_text(fact.m_document).find(fact.m_told), std::string::npos) << fact.m_told;
    EXPECT_NE(project_text(fact.m_file).find(fact.m_line), std::string::npos) << fact.m_file << ": " << fact.m_line;
  }
}

// Whatever they set apart as a name is one of the code's, the kit's or the platform's.
TEST(KitDocuments, EachNameTheyQuote_IsSomewhereElseToo) {
  const auto lines = failure_lines();
  for (const char* document : DOCUMENTS) {
    for (const auto& name : names_in(document)) {
      if (PLATFORMS_WORDS.count(name) != 0 || PLATFORMS_LINES.count(name) != 0) continue;
      if (std::find(lines.begin(), lines.end(), name) != lines.end()) continue;  // the next test's
      if (name.starts_with("packaging/") || name.starts_with("platform/") || name.starts_with("int ")) continue;
      EXPECT_TRUE(is_known(name.substr(0, name.find_first_of(" =<\xE2")))) << document << ": " << name;
    }
  }
}

// The operations of the board library, with their parameters' types: "int name(char *text, int size)" in the document,
// call_misc<int(char*, int)>(..., "name" in the code.
TEST(KitDocuments, OperationsOfTheBoardLibrary_AreThoseThatTheServiceCalls) {
  std::set<std::string> told;
  const auto document = project_text("docs/integrating.md");
  const std::regex row("\n\\| `int (\\w+)\\(([^)]*)\\)`");
  for (std::sregex_iterator at(document.begin(), document.end(), row), end; at != end; ++at) {
    const auto types =
        std::regex_replace((*at)[2].str(), std::regex(" ?(\\*?)(type|enable|on|text|size)\\b|void"), "$1");
    told.insert((*at)[1].str() + "(" + types + ")");
  }
  std::set<std::string> called;
  const auto text = sources();
  const std::regex call("call_misc<int\\(([^)]*)\\)>\\([^\"]*\"(\\w+)\"");
  for (std::sregex_iterator at(text.begin(), text.end(), call), end; at != end; ++at)
    called.insert((*at)[2].str() + "(" + (*at)[1].str() + ")");
  EXPECT_GE(called.size(), 6u);
  EXPECT_EQ(told, called);
}

TEST(KitDocuments, EachFailureLine_IsOneThatTheSourcesLog) {
  const auto patterns = line_patterns();
  std::size_t own = 0;
  for (const auto& line : failure_lines()) {
    if (PLATFORMS_LINES.count(line) != 0) continue;
    ++own;
    EXPECT_TRUE(std::any_of(patterns.begin(), patterns.end(), [&](const std::regex& pattern) {
      return std::regex_match(line, pattern);
    })) << line;
  }
  EXPECT_GE(own, 12u);
}

TEST(KitDocuments, PackagesOfTheProduct_AreModules) {
  const auto block = between(project_text("docs/integrating.md"), "PRODUCT_PACKAGES += \\\n", "endif");
  const auto modules = project_text("Android.bp") + project_text("packaging/vendor-libraries.bp.sample");
  const auto packages = matches(block, "    ([^ \n]+)");
  EXPECT_EQ(packages.size(), 5u);
  for (const auto& name : packages) EXPECT_NE(modules.find("name: \"" + name + "\""), modules.npos) << name;
}

// What the lines of the tree's files rely on.
TEST(KitDocuments, LinesOfTheTree_FitTheKit) {
  const auto document = project_text("docs/integrating.md");
  for (const char* line : {"BOARD_ROOT_EXTRA_FOLDERS += amt tmp\n", "kro-amt/packaging/sepolicy\n",
                           "/dev/block/by-name/amt  /amt  ext4  nosuid,nodev,noexec,noatime  wait,check\n",
                           "import /system/etc/vx-kro-amt-ueventd.rc\n"}) {
    EXPECT_NE(document.find(line), document.npos) << line;
  }
  EXPECT_NE(project_text("Android.bp").find("src: \"packaging/vx-kro-amt-ueventd.rc\",\n}"), std::string::npos);
}
