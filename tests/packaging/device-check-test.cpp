// packaging/device-check.sh against a virtual phone: a complete one, and one that lacks each thing in turn. The script
// runs as on a PC; its adb is a stand-in that hands the commands to the phone's shell, which is the platform's own,
// with the platform's own programs.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <functional>
#include <future>

#include "handset/phone/cable.h"
#include "handset/phone/phone.h"
#include "tests/packaging/policy.h"
#include "tests/unit/docs/text.h"

namespace {

using testing::HasSubstr;
namespace fs = std::filesystem;

constexpr char ADB[] = R"(#!/bin/sh
[ "$1" != -s ] || { [ "$2" = SERIAL1 ] || exit 1; shift 2; }
[ "$1" = shell ] || exit 1
printf '%s' "$2" >"${0%/*}/question"
cat "${0%/*}/answer"
)";
constexpr char LAST_QUESTION[] = "no further question";

constexpr char GETPROP[] = "#!/bin/mksh\ncat /data/property/$1 2>/dev/null\necho\n";
constexpr char GETENFORCE[] = "#!/bin/mksh\necho Enforcing\n";
// Labels are kept in a file, for no label of the host's is the phone's.
constexpr char LS[] = "#!/bin/mksh\n[ \"$1\" = -ldZ ] || exec toybox ls \"$@\"\ngrep \" $2\\$\" /handset/labels\n";

const std::vector<std::string> NODES = {"/dev/graphics/fb0", "/dev/tty0", "/dev/video0", "/proc/driver/zelta_battery"};

// What stands in a phone, so that a row of the table below can take one thing away before it is made.
struct outfit_st {
  handset::phone_options m_options;
  std::vector<std::string> m_nodes = NODES;
  std::vector<std::string> m_without;           // paths that are removed
  std::map<std::string, mode_t> m_modes;        // paths that get another mode
  std::map<std::string, std::string> m_labels;  // path and its type
  std::string m_enforce = GETENFORCE;
};

std::map<std::string, std::string> labels_of_the_kit() {
  std::map<std::string, std::string> labels;
  for (const char* path :
       {"/system/bin/vx-kro-amt", "/amt", "/tmp", "/data/local/wifi", "/dev/ttyGS0", "/dev/ttyACM0", "/dev/ttyACM1"})
    labels[path] = type_of_path(path);
  labels["/proc/driver/zelta_battery"] = "proc_vx_kro_amt";
  labels["/sys/class/leds/lcd-backlight/brightness"] = "sysfs_leds";
  labels["/sys/class/leds/button-backlight/brightness"] = "sysfs_leds";
  labels["/sys/class/timed_output/vibrator/enable"] = "sysfs_vibrator";
  labels["/sys/class/power_supply/battery/voltage_now"] = "sysfs_vx_kro_amt";
  labels["/sys/class/power_supply/battery/temp"] = "sysfs_vx_kro_amt";
  labels["/sys/class/android_usb/android0/state"] = "sysfs_android_usb";
  return labels;
}

outfit_st complete_outfit() {
  outfit_st outfit;
  auto& options = outfit.m_options;
  options.mode = handset::run_mode::normal;
  options.config = project_text("packaging/vx-kro-amt.cfg");
  options.pc_device = "/dev/ttyGS0";
  options.modem_device = "/dev/ttyACM0";
  options.at_device = "/dev/ttyACM1";
  options.service = SERVICE_FILE;
  options.screen.reset();
  options.has_hardware = false;
  options.cards = {{"/amt", 1024}};
  options.properties = {{"ro.board.platform", "vx5210"},       {"ro.build.display.id", "1"},
                        {"ro.build.version.incremental", "1"}, {"ro.product.manufacturer", "vx"},
                        {"sys.usb.config", "serial,adb"},      {"amt.normal.amt.switch_status", "1"}};
  options.files = {{"/system/etc/init/vx-kro-amt.rc", project_text("packaging/vx-kro-amt.rc")},
                   {"/system/etc/wifi/nvram.txt", ""},
                   {"/system/media/amt-loop.pcm", ""},
                   {"/proc/driver/zelta_battery", ""},
                   {"/sys/class/leds/lcd-backlight/brightness", "0"},
                   {"/sys/class/leds/button-backlight/brightness", "0"},
                   {"/sys/class/timed_output/vibrator/enable", "0"},
                   {"/sys/class/power_supply/battery/voltage_now", "0"},
                   {"/sys/class/power_supply/battery/temp", "0"},
                   {"/data/local/wifi/x", ""}};
  outfit.m_labels = labels_of_the_kit();
  return outfit;
}

// The phone of an outfit, and the PC's side of adb.
class checked_phone {
 public:
  explicit checked_phone(outfit_st outfit) : m_phone(with_nodes(outfit)) {
    for (const char* name : {"cat", "echo", "stat", "grep", "readlink", "id", "chmod", "chgrp", "toybox"}) {
      fs::create_symlink("/bin/toybox", m_phone.host_path("/system/bin") / name);
    }
    put_program("getprop", GETPROP);
    put_program("getenforce", outfit.m_enforce);
    put_program("ls", LS);
    put_program("amt-audio", "#!/bin/mksh\n");
    std::string labels;
    for (const auto& [path, type] : outfit.m_labels)
      labels += "drwxr-xr-x 2 0 0 u:object_r:" + type + ":s0 4096 " + path + "\n";
    m_phone.write_file("/handset/labels", labels);
    for (const auto& path : outfit.m_without) m_phone.remove(path);
    for (const auto& [path, mode] : outfit.m_modes) fs::permissions(m_phone.host_path(path), fs::perms(mode));
    m_adb.write("adb", ADB);
    fs::permissions(m_adb.path("adb"), fs::perms(0755));
    for (const char* name : {"question", "answer"}) EXPECT_EQ(mkfifo(m_adb.path(name).c_str(), 0600), 0);
  }

  handset::phone& phone() { return m_phone; }
  // A program of the PC, beside adb.
  void put_on_pc(const std::string& name, const std::string& text) const {
    m_adb.write(name, text);
    fs::permissions(m_adb.path(name), fs::perms(0755));
  }

  command_result_st check(const std::string& arguments = "") {
    const std::string command = "cd '" + m_adb.path("") +
                                "' && PATH=\"$PWD:$PATH\" '" PROJECT_FOLDER "/packaging/device-check.sh' " + arguments +
                                "; status=$?; printf '" + LAST_QUESTION + "' >question; exit $status";
    auto script = std::async(std::launch::async, [command] { return run_command(command); });
    for (std::string question; (question = read_whole_file(m_adb.path("question"))) != LAST_QUESTION;) {
      const auto answer = m_phone.exec({"/bin/mksh", "-c", "PATH=/system/bin; " + question});
      std::ofstream(m_adb.path("answer")) << answer.out;
    }
    return script.get();
  }

 private:
  static handset::phone_options with_nodes(const outfit_st& outfit) {
    auto options = outfit.m_options;
    for (const auto& node : outfit.m_nodes) options.binds.push_back({"/dev/null", node, true});
    return options;
  }
  void put_program(const std::string& name, const std::string& text) {
    m_phone.write_file("/system/bin/" + name, text);
    fs::permissions(m_phone.host_path("/system/bin/" + name), fs::perms(0755));
  }

  handset::phone m_phone;
  temp_folder m_adb;
};

struct lack_st {
  std::function<void(outfit_st&)> m_take;
  const char* m_line;  // behind "missing: "
};

// Things that a phone may lack together, since none hides another.
struct group_st {
  const char* m_what;
  std::vector<lack_st> m_lacks;
};

class DeviceCheckLacks : public testing::TestWithParam<group_st> {};

std::function<void(outfit_st&)> without(const std::string& path) {
  return [path](outfit_st& outfit) { outfit.m_without.push_back(path); };
}

std::function<void(outfit_st&)> without_node(const std::string& path) {
  return [path](outfit_st& outfit) { std::erase(outfit.m_nodes, path); };
}

std::function<void(outfit_st&)> without_property(const std::string& name) {
  return [name](outfit_st& outfit) { outfit.m_options.properties.erase(name); };
}

std::function<void(outfit_st&)> without_setting(const std::string& line) {
  return [line](outfit_st& outfit) {
    auto& config = outfit.m_options.config.value();
    const auto at = config.find(line);
    ASSERT_NE(at, config.npos);
    config.insert(at, "#");
  };
}

std::function<void(outfit_st&)> with_label(const std::string& path) {
  return [path](outfit_st& outfit) { outfit.m_labels[path] = "other"; };
}

void expect_only(const command_result_st& result, const std::string& line) {
  EXPECT_EQ(result.m_status, 1);
  EXPECT_THAT(result.m_out, HasSubstr("missing: " + line));
  EXPECT_THAT(result.m_out, HasSubstr("\n1 missing\n"));
}

}  // namespace

TEST(DeviceCheck, CompletePhone_LacksNothing) {
  checked_phone phone(complete_outfit());
  const auto result = phone.check();
  EXPECT_EQ(result.m_status, 0);
  EXPECT_EQ(result.m_out, "nothing is missing\n");
}

TEST_P(DeviceCheckLacks, EachThing_IsNamedAndNothingElse) {
  auto outfit = complete_outfit();
  for (const auto& lack : GetParam().m_lacks) lack.m_take(outfit);
  checked_phone phone(outfit);
  const auto result = phone.check();
  for (const auto& lack : GetParam().m_lacks)
    EXPECT_THAT(result.m_out, HasSubstr(std::string("missing: ") + lack.m_line));
  const auto count = std::to_string(GetParam().m_lacks.size());
  EXPECT_THAT(result.m_out, testing::EndsWith("\n" + count + " missing\n"));
  EXPECT_EQ(result.m_status, 1);
}

INSTANTIATE_TEST_SUITE_P(
    Groups, DeviceCheckLacks,
    testing::Values(
        group_st{"Programs",
                 {{without("/system/etc/init/vx-kro-amt.rc"), "file /system/etc/init/vx-kro-amt.rc (starts"},
                  {without("/system/bin/sync"), "program /system/bin/sync (flushes"},
                  {without("/system/bin/amt-audio"), "program /system/bin/amt-audio (audio test)"},
                  {without("/system/bin/chgrp"), "command chgrp (rights"},
                  {without_setting("vx.audio.file"), "setting vx.audio.file"},
                  {without_setting("vx.tty.app"), "setting vx.tty.app"},
                  {without_setting("vx.tty.modem"), "setting vx.tty.modem"},
                  {without("/system/lib64/hw/amt.vx5210.misc.so"), "library /system/lib64/hw/amt.vx5210.misc.so"}}},
        group_st{
            "Nodes",
            {{[](outfit_st& outfit) { outfit.m_options.pc_plugged = false; }, "node /dev/ttyGS0 (vx.tty.pc"},
             {[](outfit_st& outfit) { outfit.m_options.modem_plugged = false; }, "node /dev/ttyACM0 (vx.tty.modem"},
             {[](outfit_st& outfit) { outfit.m_options.at_plugged = false; }, "node /dev/ttyACM1 (vx.tty.at.mux"},
             {without_node("/dev/graphics/fb0"), "node /dev/graphics/fb0 (mode banner)"},
             {without_node("/dev/tty0"), "node /dev/tty0 (mode banner)"},
             {without_node("/dev/video0"), "node /dev/video0 (camera tests)"},
             {without("/sys/class/android_usb/android0/state"), "driver's file /sys/class/android_usb/android0/state"},
             {without("/sys/class/leds/lcd-backlight/brightness"),
              "driver's file /sys/class/leds/lcd-backlight/brightness"},
             {without("/sys/class/leds/button-backlight/brightness"),
              "driver's file /sys/class/leds/button-backlight/brightness"},
             {without("/sys/class/timed_output/vibrator/enable"),
              "driver's file /sys/class/timed_output/vibrator/enable"},
             {without("/sys/class/power_supply/battery/voltage_now"),
              "driver's file /sys/class/power_supply/battery/voltage_now"},
             {without("/sys/class/power_supply/battery/temp"), "driver's file /sys/class/power_supply/battery/temp"},
             {without_node("/proc/driver/zelta_battery"), "driver's file /proc/driver/zelta_battery"}}},
        group_st{"Folders",
                 {{without("/system/media/amt-loop.pcm"), "file /system/media/amt-loop.pcm (vx.audio.file"},
                  {[](outfit_st& outfit) { outfit.m_options.properties["ro.board.platform"] = "vx5211"; },
                   "library /system/lib64/hw/amt.vx5211.misc.so"},
                  {[](outfit_st& outfit) { outfit.m_options.cards.clear(); }, "a file system on /amt"},
                  {[](outfit_st& outfit) { outfit.m_modes["/tmp"] = 0777; }, "mode 1777 of folder /tmp, which has 777"},
                  {without("/data/misc/wifi"), "folder /data/misc/wifi"},
                  {without("/data/local/wifi"), "folder /data/local/wifi"},
                  {without("/system/etc/wifi/nvram.txt"), "file /system/etc/wifi/nvram.txt or bcmdhd.cal"}}},
        group_st{"Properties",
                 {{without_property("ro.board.platform"), "property ro.board.platform"},
                  {without_property("ro.build.display.id"), "property ro.build.display.id"},
                  {without_property("ro.build.version.incremental"), "property ro.build.version.incremental"},
                  {without_property("ro.product.manufacturer"), "property ro.product.manufacturer"},
                  {[](outfit_st& outfit) { outfit.m_options.properties["sys.usb.config"] = "adb"; },
                   "serial in property sys.usb.config"}}},
        group_st{"Labels",
                 {{with_label("/system/bin/vx-kro-amt"), "label vx_kro_amt_exec of /system/bin/vx-kro-amt"},
                  {with_label("/amt"), "label vx_kro_amt_record_file of /amt"},
                  {with_label("/tmp"), "label vx_kro_amt_tmp_file of /tmp"},
                  {with_label("/data/local/wifi"), "label vx_kro_amt_data_file of /data/local/wifi"},
                  {with_label("/dev/ttyGS0"), "label vx_kro_amt_device of /dev/ttyGS0"},
                  {with_label("/dev/ttyACM0"), "label vx_kro_amt_device of /dev/ttyACM0"},
                  {with_label("/dev/ttyACM1"), "label vx_kro_amt_device of /dev/ttyACM1"},
                  {with_label("/proc/driver/zelta_battery"), "label proc_vx_kro_amt of"},
                  {with_label("/sys/class/leds/lcd-backlight/brightness"), "label sysfs_leds of"},
                  {with_label("/sys/class/leds/button-backlight/brightness"), "label sysfs_leds of"},
                  {with_label("/sys/class/timed_output/vibrator/enable"), "label sysfs_vibrator of"},
                  {with_label("/sys/class/power_supply/battery/voltage_now"), "label sysfs_vx_kro_amt of"},
                  {with_label("/sys/class/power_supply/battery/temp"), "label sysfs_vx_kro_amt of"},
                  {with_label("/sys/class/android_usb/android0/state"), "label sysfs_android_usb of"}}}),
    [](const auto& row) { return row.param.m_what; });

// The PC's end of the PC link, as a tty of this machine.
class PluggedPhone : public testing::Test {
 protected:
  PluggedPhone() : m_phone(complete_outfit()), m_cable(m_loop, m_phone.phone().folder() / "ttyPC") {
    m_cable.connect(m_phone.phone().pc());
    m_thread = std::thread([this] { m_loop.run(); });
    m_phone.put_on_pc("amt-station", "#!/bin/sh\nexec '" STATION_FILE "' --timeout 2000 \"$@\"\n");
  }
  ~PluggedPhone() override {
    m_loop.stop();
    m_thread.join();
  }
  command_result_st check() { return m_phone.check("--port '" + (m_phone.phone().folder() / "ttyPC").string() + "'"); }

  checked_phone m_phone;
  handset::event_loop m_loop;
  handset::cable m_cable;
  std::thread m_thread;
};

TEST_F(PluggedPhone, VersionRequest_IsAnsweredByTheService) {
  m_phone.phone().start();
  ASSERT_TRUE(m_phone.phone().wait_log("read_pc_loop, read ready"));
  const auto result = check();
  EXPECT_EQ(result.m_status, 0);
  EXPECT_THAT(result.m_out, testing::StartsWith("version request on "));
  EXPECT_THAT(result.m_out, testing::EndsWith("\nnothing is missing\n"));
}

TEST_F(PluggedPhone, VersionRequestWithoutAService_IsMissing) {
  expect_only(check(), "an answer to a version request on ");
}

// Without its program, its library or its configuration more is missing than the one thing.
TEST(DeviceCheck, PhoneWithoutTheService_SaysSo) {
  auto outfit = complete_outfit();
  outfit.m_options.service = "/nowhere/vx-kro-amt";
  outfit.m_options.has_config = false;
  checked_phone phone(outfit);
  const auto result = phone.check();
  EXPECT_EQ(result.m_status, 1);
  for (const char* line : {"program /system/bin/vx-kro-amt (the service)", "a start of /system/bin/vx-kro-amt -h",
                           "library libhwt.so in /system/lib64 or /system/lib", "file /system/etc/vx-kro-amt.cfg",
                           "setting vx.tty.pc in /system/etc/vx-kro-amt.cfg"}) {
    EXPECT_THAT(result.m_out, HasSubstr(std::string("missing: ") + line));
  }
}

// What a configuration holds goes into a shell's command on the phone.
TEST(DeviceCheck, SettingThatIsNoPlainPath_IsNotRunOnThePhone) {
  auto outfit = complete_outfit();
  outfit.m_options.config.value() += "vx.tty.at.mux = /dev/x;touch /data/ran\n";
  checked_phone phone(outfit);
  expect_only(phone.check(), "a plain path as setting vx.tty.at.mux");
  EXPECT_FALSE(phone.phone().exists("/data/ran"));
}

// The service cuts what has no room. The limits are those of its configuration.
TEST(DeviceCheck, SettingThatTheServiceCuts_IsNamed) {
  auto outfit = complete_outfit();
  const std::string limit = "/tmp/" + std::string(22, 'a');
  outfit.m_options.config.value() += "vx.tty.app = " + limit + "\n";
  EXPECT_EQ(checked_phone(outfit).check().m_out, "nothing is missing\n");
  outfit.m_options.config.value() += "vx.tty.app = " + limit + "a\n";
  checked_phone phone(outfit);
  expect_only(phone.check(), "setting vx.tty.app in /system/etc/vx-kro-amt.cfg with at most 27 characters");
  EXPECT_THAT(project_text("amt/amt-cfg.h"), HasSubstr("m_tty_app_a[28]"));
  EXPECT_THAT(project_text("amt/amt-cfg.h"), HasSubstr("m_audio_file_a[48]"));
}

TEST(DeviceCheck, PhoneWithoutSelinux_IsNotedAndItsLabelsLeft) {
  auto outfit = complete_outfit();
  outfit.m_enforce = "#!/bin/mksh\necho Disabled\n";
  outfit.m_labels.clear();
  checked_phone phone(outfit);
  const auto result = phone.check("-s SERIAL1");
  EXPECT_EQ(result.m_status, 0);
  EXPECT_THAT(result.m_out, HasSubstr("labels were not checked"));
}

TEST(DeviceCheck, AdbWithoutRoot_IsNoted) {
  auto outfit = complete_outfit();
  outfit.m_options.user = handset::phone_user::system;
  checked_phone phone(outfit);
  EXPECT_THAT(phone.check().m_out, testing::StartsWith("note: adb is not root on the phone"));
}

TEST(DeviceCheck, NoPhone_IsNoVerdict) {
  checked_phone phone(complete_outfit());
  const auto result = phone.check("-s OTHER");
  EXPECT_EQ(result.m_status, 2);
  EXPECT_THAT(result.m_out, HasSubstr("no phone: adb shell gives no answer"));
  EXPECT_EQ(phone.check("--port").m_status, 2);
  EXPECT_EQ(phone.check("now please").m_status, 2);
}
