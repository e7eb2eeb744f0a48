// packaging/sepolicy: it compiles, allows what the service does, and refuses what a tree must not add to it.
#include "tests/packaging/policy.h"

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
};

std::string name_of_access(const testing::TestParamInfo<access_st>& row) {
  return row.param.m_what;
}

class PolicyAllows : public testing::TestWithParam<access_st> {};
class PolicyDenies : public testing::TestWithParam<access_st> {};

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

TEST_P(PolicyAllows, Service_MayDoIt) {
  EXPECT_TRUE(plain_policy().allows("vx_kro_amt", GetParam().m_type, GetParam().m_access));
}

INSTANTIATE_TEST_SUITE_P(
    Accesses, PolicyAllows,
    testing::Values(access_st{"MakesARecord", "vx_kro_amt_record_file", "file create"},
                    access_st{"ReplacesARecord", "vx_kro_amt_record_file", "file rename"},
                    access_st{"MakesARecordFolder", "vx_kro_amt_record_file", "dir create"},
                    access_st{"GivesARecordFolderAMode", "vx_kro_amt_record_file", "dir setattr"},
                    access_st{"WritesAPidFile", "vx_kro_amt_tmp_file", "file create"},
                    access_st{"MakesTheApplicationsLink", "vx_kro_amt_tmp_file", "lnk_file create"},
                    access_st{"RemovesTheApplicationsLink", "vx_kro_amt_tmp_file", "lnk_file unlink"},
                    access_st{"OpensAPseudoTerminal", "ptmx_device", "chr_file open"},
                    access_st{"GivesThePseudoTerminalAway", "vx_kro_amt_devpts", "chr_file setattr"},
                    access_st{"OpensALink", "vx_kro_amt_device", "chr_file open"},
                    access_st{"SetsALink", "vx_kro_amt_device", "chr_file ioctl"},
                    access_st{"OpensAUart", "serial_device", "chr_file write"},
                    access_st{"MapsTheFramebuffer", "graphics_device", "chr_file map"},
                    access_st{"SwitchesTheConsole", "tty_device", "chr_file ioctl"},
                    access_st{"ChoosesACamera", "video_device", "chr_file ioctl"},
                    access_st{"SwitchesABacklight", "sysfs_leds", "file write"},
                    access_st{"SwitchesTheVibrator", "sysfs_vibrator", "file write"},
                    access_st{"ReadsTheBattery", "sysfs_batteryinfo", "file read"},
                    access_st{"ReadsTheUsbState", "sysfs_android_usb", "file read"},
                    access_st{"AsksTheBatteryDriver", "proc_vx_kro_amt", "file write"},
                    access_st{"WritesTheDriversText", "wifi_data_file", "file create"},
                    access_st{"WritesANote", "vx_kro_amt_data_file", "file append"},
                    access_st{"ReadsWhichCard", "system_data_file", "file open"},
                    access_st{"ReadsTheCardsSize", "vfat", "filesystem getattr"},
                    access_st{"HearsKernelEvents", "vx_kro_amt", "netlink_kobject_uevent_socket bind"},
                    access_st{"LogsALine", "vx_kro_amt", "unix_dgram_socket create"},
                    access_st{"RunsAShell", "shell_exec", "file execute_no_trans"},
                    access_st{"RunsChmod", "toolbox_exec", "file execute_no_trans"},
                    access_st{"RunsThePlayer", "system_file", "file execute_no_trans"},
                    access_st{"LoadsALibrary", "system_lib_file", "file execute"},
                    access_st{"SetsTheVerdict", "vx_kro_amt_prop", "property_service set"},
                    access_st{"SetsUsbFunctions", "usb_control_prop", "property_service set"},
                    access_st{"StopsTheModemsHolder", "ctl_vx_kro_amt_prop", "property_service set"},
                    access_st{"ReadsTheBrand", "vx_kro_amt_build_prop", "file read"},
                    access_st{"TakesAPriority", "vx_kro_amt", "capability sys_nice"},
                    access_st{"SwitchesOff", "vx_kro_amt", "capability sys_boot"},
                    access_st{"GivesAFolderAway", "vx_kro_amt", "capability chown"},
                    access_st{"StopsThePlayer", "vx_kro_amt", "process sigkill"}),
    name_of_access);

TEST_P(PolicyDenies, Service_MayNotDoIt) {
  ASSERT_TRUE(plain_policy().compiles());
  EXPECT_FALSE(plain_policy().allows("vx_kro_amt", GetParam().m_type, GetParam().m_access));
}

INSTANTIATE_TEST_SUITE_P(Accesses, PolicyDenies,
                         testing::Values(access_st{"RunsARecord", "vx_kro_amt_record_file", "file execute"},
                                         access_st{"WritesTheBattery", "sysfs_batteryinfo", "file write"},
                                         access_st{"WritesTheSystem", "system_file", "file write"},
                                         access_st{"WritesOtherData", "system_data_file", "file write"},
                                         access_st{"SetsABuildProperty", "vx_kro_amt_build_prop",
                                                   "property_service set"},
                                         access_st{"LooksIntoAnotherProcess", "system_server", "process ptrace"},
                                         access_st{"TakesAnotherSocket", "vx_kro_amt", "tcp_socket create"},
                                         access_st{"PassesOverModes", "vx_kro_amt", "capability dac_override"}),
                         name_of_access);

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
    testing::Values(rule_st{"AnotherWritesARecord", "allow system_server vx_kro_amt_record_file:file write;"},
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
                    rule_st{"ServiceLoadsAModule", "allow vx_kro_amt self:capability sys_module;"},
                    rule_st{"ApplicationSpeaksOnTheLink", "allow untrusted_app vx_kro_amt_devpts:chr_file open;"},
                    rule_st{"AnotherSetsTheVerdict", "allow shell vx_kro_amt_prop:property_service set;"}),
    [](const auto& row) { return row.param.m_what; });

// A rule that breaks nothing compiles: the tests above do not fail for another reason.
TEST(Policy, HarmlessRuleOfATree_Compiles) {
  const policy changed("allow system_server vx_kro_amt_record_file:file read;");
  EXPECT_TRUE(changed.compiles()) << changed.messages();
}
