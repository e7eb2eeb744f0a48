// packaging/sepolicy: it compiles, allows what the service does, and refuses what a tree must not add to it.
#include "tests/packaging/policy.h"

#include <algorithm>

#include "tests/unit/docs/text.h"

namespace {

const policy& plain_policy() {
  static const policy result;
  return result;
}

std::set<std::string> types_in(const std::string& file) {
  std::set<std::string> result;
  for (auto& type : matches(project_text("packaging/sepolicy/" + file), "u:object_r:([a-z_]+):s0")) result.insert(type);
  EXPECT_FALSE(result.empty()) << file;
  return result;
}

struct access_st {
  const char* m_what;
  const char* m_type;
  const char* m_access;
  const char* m_domain = "vx_kro_amt";
};

// What the service does, and others for it, with the type and the permission that is needed for it.
constexpr access_st DONE[] = {
    {"finds a pid file", "vx_kro_amt_tmp_file", "dir search"},
    {"makes a pid file", "vx_kro_amt_tmp_file", "dir add_name"},
    {"makes a note", "vx_kro_amt_data_file", "dir add_name"},
    {"makes the drivers text", "wifi_data_file", "dir add_name"},
    {"finds which card", "system_data_file", "dir search"},
    {"finds the framebuffer", "graphics_device", "dir search"},
    {"finds a drivers folder", "sysfs", "dir search"},
    {"follows a link of a class", "sysfs", "lnk_file read"},
    {"follows a link to a light", "sysfs_leds", "lnk_file read"},
    {"finds a light", "sysfs_leds", "dir search"},
    {"finds the vibrator", "sysfs_vibrator", "dir search"},
    {"finds the battery", "sysfs_batteryinfo", "dir search"},
    {"follows the batterys link", "sysfs_batteryinfo", "lnk_file read"},
    {"reads the batterys own files", "sysfs_vx_kro_amt", "file open"},
    {"finds the usb state", "sysfs_android_usb", "dir search"},
    {"finds the cards", "storage_file", "dir search"},
    {"looks at a vfat card", "vfat", "dir search"},
    {"looks at an exfat card", "exfat", "dir search"},
    {"looks at a shared card", "sdcardfs", "dir search"},
    {"reads an exfat cards size", "exfat", "filesystem getattr"},
    {"reads a shared cards size", "sdcardfs", "filesystem getattr"},
    {"is started by init", "vx_kro_amt", "process transition", "init"},
    {"is run by init", "vx_kro_amt_exec", "file execute", "init"},
    {"is entered by its file", "vx_kro_amt_exec", "file entrypoint"},
    {"init mounts the records", "vx_kro_amt_record_file", "dir mounton", "init"},
    {"init labels the records folder", "vx_kro_amt_record_file", "dir relabelto", "init"},
    {"init labels a record", "vx_kro_amt_record_file", "file relabelto", "init"},
    {"init gives the records folder away", "vx_kro_amt_record_file", "dir setattr", "init"},
    {"init mounts the folder of pid files", "vx_kro_amt_tmp_file", "dir mounton", "init"},
    {"init makes the folder of notes", "vx_kro_amt_data_file", "dir create", "init"},
    {"init labels the folder of notes", "vx_kro_amt_data_file", "dir relabelto", "init"},
    {"init labels a note", "vx_kro_amt_data_file", "file relabelto", "init"},
    {"the application finds its link", "vx_kro_amt_tmp_file", "dir search", "system_app"},
    {"the application follows its link", "vx_kro_amt_tmp_file", "lnk_file read", "system_app"},
    {"the application opens its terminal", "vx_kro_amt_devpts", "chr_file open", "system_app"},
    {"the battery service reads", "sysfs_vx_kro_amt", "file read", "hal_health_default"},
    {"makes a record", "vx_kro_amt_record_file", "file create"},
    {"replaces a record", "vx_kro_amt_record_file", "file rename"},
    {"makes a record folder", "vx_kro_amt_record_file", "dir create"},
    {"gives a record folder a mode", "vx_kro_amt_record_file", "dir setattr"},
    {"writes a pid file", "vx_kro_amt_tmp_file", "file create"},
    {"makes the applications link", "vx_kro_amt_tmp_file", "lnk_file create"},
    {"removes the applications link", "vx_kro_amt_tmp_file", "lnk_file unlink"},
    {"opens a pseudo terminal", "ptmx_device", "chr_file open"},
    {"gives the pseudo terminal away", "vx_kro_amt_devpts", "chr_file setattr"},
    {"opens a link", "vx_kro_amt_device", "chr_file open"},
    {"sets a link", "vx_kro_amt_device", "chr_file ioctl"},
    {"opens a uart", "serial_device", "chr_file write"},
    {"maps the framebuffer", "graphics_device", "chr_file map"},
    {"switches the console", "tty_device", "chr_file ioctl"},
    {"chooses a camera", "video_device", "chr_file ioctl"},
    {"switches a backlight", "sysfs_leds", "file write"},
    {"switches the vibrator", "sysfs_vibrator", "file write"},
    {"reads the battery", "sysfs_vx_kro_amt", "file read"},
    {"reads the usb state", "sysfs_android_usb", "file read"},
    {"asks the battery driver", "proc_vx_kro_amt", "file write"},
    {"writes the drivers text", "wifi_data_file", "file create"},
    {"writes a note", "vx_kro_amt_data_file", "file append"},
    {"reads which card", "system_data_file", "file open"},
    {"reads the cards size", "vfat", "filesystem getattr"},
    {"hears kernel events", "vx_kro_amt", "netlink_kobject_uevent_socket bind"},
    {"logs a line", "vx_kro_amt", "unix_dgram_socket create"},
    {"runs a shell", "shell_exec", "file execute_no_trans"},
    {"runs chmod", "toolbox_exec", "file execute_no_trans"},
    {"runs the player", "system_file", "file execute_no_trans"},
    {"loads a library", "system_lib_file", "file execute"},
    {"sets the verdict", "vx_kro_amt_prop", "property_service set"},
    {"sets usb functions", "usb_control_prop", "property_service set"},
    {"stops the modems holder", "ctl_vx_kro_amt_prop", "property_service set"},
    {"reads the brand", "vx_kro_amt_build_prop", "file read"},
    {"takes a priority", "vx_kro_amt", "capability sys_nice"},
    {"switches off", "vx_kro_amt", "capability sys_boot"},
    {"gives a folder away", "vx_kro_amt", "capability chown"},
    {"stops the player", "vx_kro_amt", "process sigkill"}};

struct rule_st {
  const char* m_what;
  const char* m_rule;
};

class PolicyRefuses : public testing::TestWithParam<rule_st> {};

}  // namespace

TEST(Policy, ItselfAndBothForms_Compile) {
  EXPECT_TRUE(plain_policy().compiles()) << plain_policy().messages();
}

// Each label of the context files names a type of the policy.
TEST(Policy, LabelsOfAllContexts_AreValid) {
  for (const char* file : {"file_contexts", "property_contexts", "genfs_contexts"}) {
    for (const auto& type : types_in(file)) EXPECT_TRUE(plain_policy().knows("u:object_r:" + type + ":s0")) << type;
  }
}

TEST(Policy, FileContexts_AreTakenByTheRealCompiler) {
  const auto result = run_command("sefcontext_compile -p " + plain_policy().file() + " -o " +
                                  plain_policy().path("file_contexts.bin") + " " + POLICY_FOLDER + "/file_contexts");
  EXPECT_EQ(result.m_status, 0) << result.m_out;
}

TEST(Policy, PathsOfTheService_HaveTheirLabels) {
  EXPECT_EQ(type_of_path("/system/bin/vx-kro-amt"), "vx_kro_amt_exec");
  for (const char* path :
       {"/amt", "/amt/imei.txt", "/amt/BT/BT_Address.txt", "/amt/product.txt.new", "/mnt/opl/nvm/BT_Address.txt"})
    EXPECT_EQ(type_of_path(path), "vx_kro_amt_record_file") << path;
  for (const char* path : {"/tmp", "/tmp/vx-kro-amt.pid", "/tmp/vx-kro-amt-app", "/tmp/amt-audio.pid"})
    EXPECT_EQ(type_of_path(path), "vx_kro_amt_tmp_file") << path;
  EXPECT_EQ(type_of_path("/data/local/wifi/gps_get_result.txt"), "vx_kro_amt_data_file");
  for (const char* path : {"/system/bin/sh", "/tmpfile", "/amtx", "/dev/ttyACM2"})
    EXPECT_EQ(type_of_path(path), "") << path;
}

// The ttys of the sample configuration, whose labels stand apart from it.
TEST(Policy, TtysOfTheSampleConfiguration_HaveTheDevicesLabel) {
  const auto ttys = matches(project_text("packaging/vx-kro-amt.cfg"), "\nvx\\.tty\\.(?:pc|modem|at\\.mux) = ([^\n]+)");
  EXPECT_EQ(ttys.size(), 3u);
  for (const auto& tty : ttys) EXPECT_EQ(type_of_path(tty), "vx_kro_amt_device") << tty;
}

// The type that genfs_contexts gives a file, of the kit's lines and the platform's: the longest beginning of its path.
static std::string type_of_drivers_file(const std::string& system, const std::string& path) {
  const auto lines =
      project_text("packaging/sepolicy/genfs_contexts") + project_text("tests/packaging/platform/genfs_contexts");
  std::string longest;
  std::string type;
  const std::regex line("genfscon " + system + " (/[^ ]*) u:object_r:([a-z_]+):s0");
  for (std::sregex_iterator at(lines.begin(), lines.end(), line), end; at != end; ++at) {
    if (!path.starts_with((*at)[1].str()) || (*at)[1].length() < static_cast<std::ptrdiff_t>(longest.size())) continue;
    longest = (*at)[1];
    type = (*at)[2];
  }
  return type;
}

// At the devices' own paths, as the sample board has them; and what the check of a phone asks for there.
TEST(Policy, DriversFiles_HaveTheLabelThatTheCheckOfAPhoneAsksFor) {
  const std::map<std::string, std::string> files = {
      {"/sys/class/leds/lcd-backlight/brightness", "/devices/platform/leds/leds/lcd-backlight/brightness"},
      {"/sys/class/leds/button-backlight/brightness", "/devices/platform/leds/leds/button-backlight/brightness"},
      {"/sys/class/timed_output/vibrator/enable", "/devices/virtual/timed_output/vibrator/enable"},
      {"/sys/class/power_supply/battery/voltage_now", "/devices/platform/battery/power_supply/battery/voltage_now"},
      {"/sys/class/power_supply/battery/temp", "/devices/platform/battery/power_supply/battery/temp"},
      {"/sys/class/android_usb/android0/state", "/devices/virtual/android_usb/android0/state"}};
  const auto check = project_text("packaging/device-check.sh");
  for (const auto& [link, path] : files) {
    const auto type = type_of_drivers_file("sysfs", path);
    EXPECT_NE(check.find("\n    label " + link + " " + type + "\n"), check.npos) << link << " " << type;
    EXPECT_TRUE(plain_policy().allows("vx_kro_amt", type, "file read")) << link;
  }
  EXPECT_NE(
      check.find("label /proc/driver/zelta_battery " + type_of_drivers_file("proc", "/driver/zelta_battery") + "\n"),
      check.npos);
}

// The board's own service read them before the kit gave them a type.
TEST(Policy, BatterysFiles_AreStillReadByTheBoardsService) {
  EXPECT_TRUE(plain_policy().allows("hal_health_default", "sysfs_vx_kro_amt", "file read"));
  EXPECT_FALSE(plain_policy().allows("hal_health_default", "sysfs_vx_kro_amt", "file write"));
}

// A comment line before it, or before the block of rules in which it stands.
TEST(Policy, EachRule_HasItsReasonBeforeIt) {
  for (const char* file : {"vx_kro_amt.te", "file_contexts", "property_contexts", "genfs_contexts"}) {
    bool has_reason = false;
    std::istringstream lines(project_text(std::string("packaging/sepolicy/") + file));
    for (std::string line; std::getline(lines, line);) {
      if (line.empty())
        has_reason = false;
      else if (line[0] == '#')
        has_reason = true;
      else
        EXPECT_TRUE(has_reason) << file << ": " << line;
    }
  }
}

TEST(Policy, PropertiesOfTheSources_HaveAType) {
  const auto contexts = project_text("packaging/sepolicy/property_contexts");
  for (const char* name : {"amt.normal.amt.switch_status", "sys.vx.amt.failure.handshake", "vx.amt.insertion",
                           "ctl.stop$vx-kro-mla0", "ro.build.customer", "ro.build.display.vx.id"}) {
    EXPECT_NE(contexts.find("\n" + std::string(name) + " "), contexts.npos) << name;
  }
}

TEST(Policy, WhatTheServiceDoes_IsAllowed) {
  for (const auto& access : DONE)
    EXPECT_TRUE(plain_policy().allows(access.m_domain, access.m_type, access.m_access)) << access.m_what;
}

// A rule that no row asks for could go, or be wrong, unseen.
TEST(Policy, EachRule_IsAskedForByARow) {
  const auto rules = std::regex_replace(project_text("packaging/sepolicy/vx_kro_amt.te"), std::regex("#[^\n]*"), "");
  const std::regex rule("\nallow ([a-z_]+) (\\{[^}]*\\}|[a-z_]+):([a-z_]+) ");
  std::size_t count = 0;
  for (std::sregex_iterator at(rules.begin(), rules.end(), rule), end; at != end; ++at) {
    const std::string subject = (*at)[1];
    if (subject == "vx_kro_amt_tmp_file") continue;  // of a type, not of a program: the next test's
    for (const auto& type : matches((*at)[2], "([a-z_]+)")) {
      ++count;
      const std::string object = type == "self" ? subject : type;
      const std::string start = (*at)[3].str() + " ";
      const bool is_asked = std::any_of(std::begin(DONE), std::end(DONE), [&](const access_st& row) {
        return object == row.m_type && std::string(row.m_access).starts_with(start) &&
               (subject == row.m_domain || subject == "hal_health_server");
      });
      EXPECT_TRUE(is_asked) << subject << " " << object << ":" << start;
    }
  }
  EXPECT_GT(count, 40u);
}

TEST(Policy, RulesThatAreNoAccess_AreInTheCompiledForm) {
  std::ifstream stream(plain_policy().path("policy.cil"));
  const std::string compiled(std::istreambuf_iterator<char>(stream), {});
  for (const char* line :
       {"(typetransition init vx_kro_amt_exec process vx_kro_amt)",
        "(typetransition vx_kro_amt devpts chr_file vx_kro_amt_devpts)",
        "(allow vx_kro_amt_tmp_file tmpfs (filesystem (associate)))",
        "(dontaudit vx_kro_amt self (capability (net_admin)))", "(dontaudit vx_kro_amt domain (dir (getattr search)))",
        "(dontaudit vx_kro_amt domain (file (read getattr open)))"}) {
    EXPECT_NE(compiled.find(line), compiled.npos) << line;
  }
}

TEST(Policy, WhatTheServiceDoesNot_IsDenied) {
  constexpr access_st ACCESSES[] = {{"runs a record", "vx_kro_amt_record_file", "file execute"},
                                    {"reads the platforms battery files", "sysfs_batteryinfo", "file read"},
                                    {"writes the battery", "sysfs_vx_kro_amt", "file write"},
                                    {"writes the system", "system_file", "file write"},
                                    {"writes other data", "system_data_file", "file write"},
                                    {"sets a build property", "vx_kro_amt_build_prop", "property_service set"},
                                    {"looks into another process", "system_server", "process ptrace"},
                                    {"takes another socket", "vx_kro_amt", "tcp_socket create"},
                                    {"passes over modes", "vx_kro_amt", "capability dac_override"}};
  ASSERT_TRUE(plain_policy().compiles()) << plain_policy().messages();
  for (const auto& access : ACCESSES)
    EXPECT_FALSE(plain_policy().allows("vx_kro_amt", access.m_type, access.m_access)) << access.m_what;
}

TEST(Policy, TestApplication_ReachesItsLinkAndNoRecord) {
  EXPECT_TRUE(plain_policy().allows("system_app", "vx_kro_amt_tmp_file", "lnk_file read"));
  EXPECT_TRUE(plain_policy().allows("system_app", "vx_kro_amt_devpts", "chr_file open"));
  EXPECT_FALSE(plain_policy().allows("system_app", "vx_kro_amt_record_file", "file read"));
  EXPECT_FALSE(plain_policy().allows("untrusted_app", "vx_kro_amt_devpts", "chr_file open"));
}

TEST_P(PolicyRefuses, TreeThatAllowsIt_DoesNotCompile) {
  const policy changed(GetParam().m_rule);
  EXPECT_FALSE(changed.compiles());
  EXPECT_NE(changed.messages().find("neverallow"), std::string::npos) << changed.messages();
}

INSTANTIATE_TEST_SUITE_P(
    Rules, PolicyRefuses,
    testing::Values(
        rule_st{"AnotherWritesARecord", "allow system_server vx_kro_amt_record_file:file write;"},
        rule_st{"AnotherMakesARecord", "allow shell vx_kro_amt_record_file:dir add_name;"},
        rule_st{"ABoardsInitWritesARecord", "allow vendor_init vx_kro_amt_record_file:file create;"},
        rule_st{"AnotherReplacesAPidFile", "allow shell vx_kro_amt_tmp_file:dir remove_name;"},
        rule_st{"AnotherReplacesTheLink", "allow platform_app vx_kro_amt_tmp_file:lnk_file unlink;"},
        rule_st{"ServiceOpensANetworkSocket", "allow vx_kro_amt self:tcp_socket create;"},
        rule_st{"ServiceOpensAnotherNetlinkSocket", "allow vx_kro_amt self:netlink_route_socket create;"},
        rule_st{"ShellStartsIt", "allow shell vx_kro_amt:process transition;"},
        rule_st{"ApplicationLooksIntoIt", "allow untrusted_app vx_kro_amt:process ptrace;"},
        rule_st{"ServiceRunsData", "allow vx_kro_amt system_data_file:file execute;"},
        rule_st{"ServicePassesOverModes", "allow vx_kro_amt self:capability dac_override;"},
        rule_st{"ServiceLooksIntoProcesses", "allow vx_kro_amt self:capability sys_ptrace;"},
        rule_st{"ServiceLoadsAModule", "allow vx_kro_amt self:capability sys_module;"},
        rule_st{"ApplicationSpeaksOnTheLink", "allow untrusted_app vx_kro_amt_devpts:chr_file open;"},
        rule_st{"ApplicationTypesIntoTheLink", "allowxperm system_app vx_kro_amt_devpts:chr_file ioctl 0x5412;"},
        rule_st{"ServiceReadsThePlatformsBatteryFiles", "allow vx_kro_amt sysfs_batteryinfo:file { open read };"},
        rule_st{"AnotherSetsTheVerdict", "allow shell vx_kro_amt_prop:property_service set;"}),
    [](const auto& row) { return row.param.m_what; });

// A rule that breaks nothing compiles: the tests above do not fail for another reason.
TEST(Policy, HarmlessRuleOfATree_Compiles) {
  const policy changed("allow system_server vx_kro_amt_record_file:file read;");
  EXPECT_TRUE(changed.compiles()) << changed.messages();
}
