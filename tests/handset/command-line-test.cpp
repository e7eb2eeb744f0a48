// The command line, the run modes, the pid file and the configuration file.
#include "tests/handset/serial-phone.h"

using namespace handset_test;

namespace {

const std::string USAGE =
    "\nUsage: /phone/bin/vx-kro-amt [OPTION]\n"
    "  -h                     Display this help and exit.\n"
    "  -u                     For usb-insert-enter-amt.\n\n";

std::string usage_of(const std::vector<std::string>& arguments) {
  auto options = raw_modem();
  options.arguments = arguments;
  handset::phone phone(options);
  phone.start();
  EXPECT_EQ(phone.wait_exit(), handset::exited(0));
  return phone.out().text();
}

int fatal_status(handset::phone& phone) {
  phone.start();
  const auto status = phone.wait_exit(90s);
  EXPECT_TRUE(status.has_value());
  EXPECT_EQ(phone.log().count("FATAL ERROR!!!"), 1u) << phone.log().text();
  EXPECT_EQ(phone.log().count("LINE-429, FUNC-main()"), 1u);
  EXPECT_EQ(phone.log().count("amt_handle_deinit()"), 1u);
  return status ? static_cast<std::int8_t>(status->value) : 0;
}

TEST(CommandLine, HelpAlone_PrintsUsageAndExits0) {
  EXPECT_EQ(usage_of({"-h"}), USAGE);
}

TEST(CommandLine, HelpWithValue_PrintsUsageAndExits0) {
  EXPECT_EQ(usage_of({"-h", "x"}), USAGE);
}

TEST(CommandLine, UnknownOption_PrintsUsageAndExits0) {
  EXPECT_EQ(usage_of({"-z"}), USAGE);
}

TEST(CommandLine, HelpAfterU_PrintsUsageAndExits0) {
  EXPECT_EQ(usage_of({"-u", "-h"}), USAGE);
}

TEST(CommandLine, NoOption_SimplifiedMode_PrintsItsPaths) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  EXPECT_EQ(phone.out().text(),
            "g_usb_activate:0.\n"
            "[vx-kro-amt]command path is \"/phone/bin\"\n"
            "[vx-kro-amt]run under simplified mode(only with kernel) \n"
            "[vx-kro-amt]config file is \"/phone/bin/vx-kro-amt.cfg\"\n"
            "            pid file is \"/phone/bin/vx-kro-amt.pid\"\n"
            "[vx-kro-amt]config over result=0\n"
            "[vx-kro-amt]init over result=0\"\n");
  EXPECT_EQ(phone.log().count("vx-kro-amt, version 001.001"), 1u);
  EXPECT_EQ(phone.log().count("    Build time: "), 1u);
  EXPECT_EQ(phone.log().count("run under simplified mode(only with kernel)"), 1u);
  EXPECT_EQ(phone.log().count("config file[/phone/bin/vx-kro-amt.cfg], pid file[/phone/bin/vx-kro-amt.pid]"), 1u);
  // The pid file is made under /tmp although the one beside the program is checked.
  EXPECT_EQ(phone.read_file("/tmp/vx-kro-amt.pid"), std::to_string(phone.service().pid()) + "\n");
  EXPECT_FALSE(phone.exists("/phone/bin/vx-kro-amt.pid"));
}

TEST(CommandLine, NormalModeWithSerialProperty_UsesSystemPaths) {
  auto options = raw_modem();
  options.mode = handset::run_mode::normal;
  options.properties["amt.normal.amt.switch_status"] = "1";
  handset::phone phone(options);
  start_serving(phone);
  EXPECT_EQ(phone.out().text(),
            "g_usb_activate:0.\n"
            "[vx-kro-amt]command path is \"/system/bin\"\n"
            "[vx-kro-amt]run under normal mode(with KRO platform) \n"
            "[vx-kro-amt]config file is \"/system/etc/vx-kro-amt.cfg\"\n"
            "            pid file is \"/tmp/vx-kro-amt.pid\"\n"
            "[vx-kro-amt]config over result=0\n"
            "[vx-kro-amt]init over result=0\"\n");
  EXPECT_EQ(phone.log().count("property-amt.normal.amt.switch_status value: 1"), 1u);
  EXPECT_EQ(phone.log().count("will create amt1/4 thread. "), 1u);
  EXPECT_EQ(phone.log().count("run under normal mode(with KRO platform)"), 1u);
  end_with(phone, SIGTERM);
}

TEST(PidFile, SecondCopyInNormalMode_ReportsItAndExits0) {
  auto options = raw_modem();
  options.mode = handset::run_mode::normal;
  options.properties["amt.normal.amt.switch_status"] = "1";
  handset::phone phone(options);
  start_serving(phone);
  const auto copy = phone.start_another();
  EXPECT_EQ(copy->wait_exit(), handset::exited(0));
  EXPECT_TRUE(copy->out().text().ends_with("vx-kro-amt already run.\n")) << copy->out().text();
  EXPECT_EQ(copy->err().count("version 001.001"), 0u);
  EXPECT_EQ(phone.read_file("/tmp/vx-kro-amt.pid"), std::to_string(phone.service().pid()) + "\n");
  ASSERT_TRUE(phone.pc().write_all("AT+STILL\r"));
  EXPECT_EQ(phone.modem_end().read_exactly(9), "AT+STILL\r");
}

TEST(PidFile, OfAnotherUser_DoesNotStopTheStart) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root gives a file to another user";
  auto options = raw_modem();
  options.mode = handset::run_mode::normal;
  options.has_config = false;
  handset::phone phone(options);
  ASSERT_EQ(phone.exec({"/bin/sh", "-c", "cp /bin/sleep /data/vx-kro-amt"}).status, handset::exited(0));
  const auto other = phone.run({"/data/vx-kro-amt", "600"});
  phone.write_file("/tmp/vx-kro-amt.pid", std::to_string(other->pid()) + "\n");
  const auto start = [&phone] { return phone.exec({"/system/bin/vx-kro-amt"}).out; };
  EXPECT_TRUE(start().ends_with("vx-kro-amt already run.\n"));
  ASSERT_EQ(::chown(phone.host_path("/tmp/vx-kro-amt.pid").c_str(), 65534, 65534), 0);
  EXPECT_NE(start().find("config over result=-118"), std::string::npos);
}

class StalePidFile : public ::testing::TestWithParam<std::string> {};

TEST_P(StalePidFile, Found_DoesNotStopTheStart) {
  auto options = raw_modem();
  options.files["/phone/bin/vx-kro-amt.pid"] = GetParam();
  handset::phone phone(options);
  start_serving(phone);
  end_with(phone, SIGTERM);
}

INSTANTIATE_TEST_SUITE_P(Contents, StalePidFile,
                         ::testing::Values("99999\n", "1\n", "", "junk", "-5", "99999999999999999999999", "\xFF\xFE\0"s,
                                           std::string(5000, '7')),
                         [](const auto& content) { return "no" + std::to_string(content.index); });

// 58 characters of a path are kept: what they name is what is read.
TEST(LongProcessPath, ConfigurationAndPidFile_AreThoseOfTheCutPath) {
  handset::phone phone(raw_modem());
  const std::string folder = "/tmp/" + std::string(45, 'f');
  const std::string script =
      "mkdir " + folder + " && cp /phone/bin/vx-kro-amt " + folder + " && LD_LIBRARY_PATH=/phone/lib exec " + folder;
  const auto started = phone.exec({"/bin/sh", "-c", script + "/vx-kro-amt"});
  const std::string cut = folder + "/vx-kro-";
  ASSERT_EQ(cut.size(), 58u);
  EXPECT_NE(started.out.find("config file is \"" + cut + "\"\n            pid file is \"" + cut + "\"\n"),
            started.out.npos)
      << started.out;
  EXPECT_NE(started.err.find("fail to open file: " + cut + "\n"), started.err.npos) << started.err;
}

// Process numbers are small and come again: the old file may name the very process that reads it.
TEST(StalePidFileOfItsOwn, Found_DoesNotStopTheStart) {
  auto options = raw_modem();
  options.has_config = false;
  handset::phone phone(options);
  const auto started =
      phone.exec({"/bin/sh", "-c", "echo $$ >/phone/bin/vx-kro-amt.pid; exec /phone/bin/vx-kro-amt"}).out;
  EXPECT_NE(started.find("config over result=-118"), started.npos) << started;
}

// A signal that acted before the first wait point would end the service in the middle of something.
TEST(Start, BeforeItsFirstWaitPoint_HoldsTheSignalsBackInEachThread) {
  auto options = raw_modem();
  options.has_config = false;
  handset::phone phone(options);
  const auto shell = [&phone](const std::string& script) { return phone.exec({"/bin/sh", "-c", script}).out; };
  shell("mkfifo /phone/bin/vx-kro-amt.cfg");  // its opening waits for somebody who writes
  phone.start();
  ASSERT_TRUE(phone.wait_log("parse_amt_cfg()"));
  std::istringstream masks(
      shell("sed -n '/^Name:[^a-z]*vx-kro-amt/,/^SigBlk/s/^SigBlk:[^0-9a-f]*//p'"
            " /proc/[0-9]*/task/*/status; sleep 0.1"));
  constexpr std::uint64_t STOPPING = 1ULL << (SIGUSR1 - 1);
  constexpr std::uint64_t HELD = 1ULL << (SIGTERM - 1) | STOPPING | 1ULL << (SIGUSR2 - 1);
  int threads = 0;
  int stopping = 0;
  int held = 0;
  std::string all;
  for (std::string mask; masks >> mask; all += mask + "\n") {
    const std::uint64_t bits = std::stoull(mask, nullptr, 16);
    ++threads;
    stopping += (bits & STOPPING) != 0;
    held += (bits & HELD) == HELD;
  }
  EXPECT_GE(threads, 2) << all;  // main, and the thread that takes the signals while main is busy
  EXPECT_EQ(stopping, threads) << all;
  EXPECT_GE(held, 1) << all;  // while that thread waits for the others, the system shows them as let in
  shell("echo >/phone/bin/vx-kro-amt.cfg");
  EXPECT_TRUE(phone.wait_exit().has_value());
}

TEST(Configuration, Missing_FailsWithMinus118) {
  auto options = raw_modem();
  options.has_config = false;
  handset::phone phone(options);
  EXPECT_EQ(fatal_status(phone), -118);
  EXPECT_EQ(phone.log().count("fail to open file: /phone/bin/vx-kro-amt.cfg"), 1u);
  EXPECT_EQ(phone.log().count("FUNC-parse_amt_cfg(), error_code=-1, errno=2"), 1u);
  EXPECT_EQ(phone.log().count("FUNC-parse_amt_cfg(), error_code=-118, errno=2"), 1u);
  EXPECT_TRUE(phone.out().text().ends_with("[vx-kro-amt]config over result=-118\n"));
}

TEST(Configuration, Empty_FailsAtTheFirstDevice) {
  auto options = raw_modem();
  options.config = "";
  handset::phone phone(options);
  EXPECT_EQ(fatal_status(phone), -101);
}

TEST(Configuration, Binary_FailsAtTheFirstDeviceWithoutHarm) {
  auto options = raw_modem();
  std::string noise;
  for (int index = 0; index < 20000; ++index) noise += static_cast<char>(index * 31 + index / 7);
  options.config = noise;
  handset::phone phone(options);
  EXPECT_EQ(fatal_status(phone), -101);
}

TEST(Configuration, PcDeviceIsAFolder_FailsAfterAMinute) {
  auto options = raw_modem();
  options.config = "vx.tty.pc=/data\nvx.tty.modem=/dev/ttyMODEM\n";
  handset::phone phone(options);
  EXPECT_EQ(fatal_status(phone), -118);
  EXPECT_EQ(phone.log().count("try to open device \"/data\""), 60u);
  EXPECT_EQ(phone.log().count("(59/60)try to open device \"/data\""), 1u);
  EXPECT_EQ(phone.log().count("open device \"/data\" fail: 21 - Is a directory"), 61u);
}

TEST(Configuration, PcDeviceIsNoTerminal_FailsWithMinus1) {
  auto options = raw_modem();
  options.config = "vx.tty.pc=/dev/null\nvx.tty.modem=/dev/ttyMODEM\n";
  handset::phone phone(options);
  EXPECT_EQ(fatal_status(phone), -1);
  EXPECT_EQ(phone.log().count("sys call: tcgetattr() failed! errno = 25"), 1u);
}

class MissingStandardDescriptors : public ::testing::TestWithParam<std::string> {};

// The tty must not get one of their numbers: the program's text would go to the station.
TEST_P(MissingStandardDescriptors, AtTheStart_StationReceivesNothingButTheModem) {
  handset::phone phone(raw_modem());
  const auto service = phone.run({"/bin/sh", "-c", "exec /phone/bin/vx-kro-amt " + GetParam()});
  const auto deadline = std::chrono::steady_clock::now() + handset::DEFAULT_WAIT;
  while (!has_event_listener(phone)) ASSERT_LT(std::chrono::steady_clock::now(), deadline) << service->err().text();
  ASSERT_TRUE(phone.pc().write_all("AT+FIRST\r"));
  EXPECT_EQ(phone.modem_end().read_exactly(9), "AT+FIRST\r");
  ASSERT_TRUE(phone.modem_end().write_all("\r\nOK\r\n"));
  EXPECT_EQ(phone.pc().read_exactly(6), "\r\nOK\r\n");
  const std::string descriptors = "/proc/" + std::to_string(service->pid()) + "/fd/";
  for (const char* fd : {"0", "1", "2"}) {
    const std::string target = phone.exec({"/bin/readlink", descriptors + fd}).out;
    EXPECT_FALSE(target.empty() || target.starts_with("/dev/pts/") || target.starts_with("/dev/tty")) << target;
  }
  service->send_signal(SIGTERM);
  EXPECT_EQ(service->wait_exit(), handset::exited(0));
}

INSTANTIATE_TEST_SUITE_P(Descriptors, MissingStandardDescriptors,
                         ::testing::Values("<&-", ">&-", "2>&-", "<&- >&-", "<&- >&- 2>&-"),
                         [](const auto& closed) { return "no" + std::to_string(closed.index); });

TEST(Start, DevicesComeLate_IsServedAllTheSame) {
  auto options = raw_modem();
  options.pc_plugged = false;
  options.modem_plugged = false;
  handset::phone phone(options);
  phone.start();
  ASSERT_TRUE(phone.wait_log("(1/60)try to open device \"/dev/ttyPC\""));
  phone.plug_pc();
  ASSERT_TRUE(phone.wait_log("(1/60)try to open device \"/dev/ttyMODEM\""));
  phone.plug_modem();
  wait_serving(phone);
  ASSERT_TRUE(phone.pc().write_all("AT+LATE\r"));
  EXPECT_EQ(phone.modem_end().read_exactly(8), "AT+LATE\r");
}

TEST(Start, RecordFolders_AreMadeForTheRadioGroup) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  EXPECT_TRUE(phone.exists("/amt/BT"));
  EXPECT_TRUE(phone.exists("/amt/WIFI"));
  EXPECT_EQ(phone.exec({"/usr/bin/stat", "-c", "%a %G", "/amt/BT"}).out, "766 radio\n");
  EXPECT_EQ(phone.log().count("amt_make_folder mkdir(/amt/BT) successfully"), 1u);
}

TEST(Start, BtFolderCannotBeMade_WifiFolderIsNotTried) {
  auto options = raw_modem();
  handset::phone phone(options);
  phone.remove("/amt");
  phone.write_file("/amt", "not a folder");
  start_serving(phone);
  EXPECT_EQ(phone.log().count("amt_make_folder mkdir(/amt/BT) faild errno[20] strerror[Not a directory]"), 1u);
  EXPECT_EQ(phone.log().count("/amt/WIFI does not exist"), 0u);
}

}  // namespace
