#include "handset/phone/phone.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <thread>

#include "handset/wire/files.h"

namespace {

using handset::exited;
using handset::killed;
using handset::phone;
using handset::phone_options;
using namespace std::chrono_literals;

phone_options stand_in(std::vector<std::string> arguments = {}) {
  phone_options options;
  options.service = handset::program_folder() / "handset-stand-in";
  options.arguments = std::move(arguments);
  return options;
}

TEST(PhoneTree, Fresh_HasTheFoldersOfAPhone) {
  phone phone;
  const auto result = phone.exec(
      {"sh", "-c",
       "ls -d /amt /system/etc /system/bin/sync /sys/class /proc/driver /data/property /tmp && id -u && id -g"});
  EXPECT_EQ(result.out,
            "/amt\n/data/property\n/proc/driver\n/sys/class\n/system/bin/sync\n/system/etc\n/tmp\n0\n1001\n");
  EXPECT_EQ(result.status, exited(0));
}

TEST(PhoneTree, ShellToolsOfTheService_Work) {
  phone phone;
  const auto result = phone.exec({"sh", "-c",
                                  "mkdir /amt/BT && chgrp -R radio /amt/BT && chmod 766 /amt/BT && echo $$ > "
                                  "/tmp/x.pid && stat -c '%G %a' /amt/BT"});
  EXPECT_EQ(result.out, "radio 766\n");
  EXPECT_TRUE(phone.exists("/tmp/x.pid"));
}

TEST(PhoneTree, HostsFiles_AreOutOfReach) {
  phone phone;
  EXPECT_EQ(phone.exec({"sh", "-c", "ls /root /home /var 2>/dev/null; touch /usr/x 2>/dev/null || echo refused"}).out,
            "refused\n");
}

TEST(PhoneTree, FilesAndProperties_AreSeenFromBothSides) {
  phone_options options;
  options.properties = {{"a.b", "1"}};
  options.files = {{"/amt/sn", "SN1"}};
  phone phone(options);
  phone.set_property("c.d", "2");
  EXPECT_EQ(phone.exec({"sh", "-c", "cat /data/property/a.b /data/property/c.d /amt/sn; printf new > /amt/sn"}).out,
            "12SN1");
  EXPECT_EQ(phone.read_file("/amt/sn"), "new");
  phone.remove("/amt/sn");
  EXPECT_EQ(phone.read_file("/amt/sn"), std::nullopt);
  EXPECT_FALSE(phone.exists("/amt/sn"));
  EXPECT_EQ(phone.property("a.b"), "1");
  EXPECT_EQ(phone.property("none"), std::nullopt);
}

TEST(PhoneTree, EndOfPhone_RemovesIt) {
  std::filesystem::path root;
  {
    phone phone;
    root = phone.host_path("/");
    phone.exec({"sh", "-c", "mkdir -p /amt/a/b && chmod 0 /amt/a"});
    EXPECT_TRUE(std::filesystem::exists(root));
  }
  EXPECT_FALSE(std::filesystem::exists(root.parent_path()));
}

TEST(PhoneTree, Sync_IsCounted) {
  phone phone;
  EXPECT_EQ(phone.sync_count(), 0u);
  phone.exec({"sh", "-c", "/system/bin/sync; sync"});
  EXPECT_EQ(phone.sync_count(), 2u);
}

TEST(PhoneExec, Status_IsTheCommands) {
  phone phone;
  EXPECT_EQ(phone.exec({"sh", "-c", "exit 7"}).status, exited(7));
  EXPECT_EQ(phone.exec({"sh", "-c", "kill -9 $$"}).status, killed(SIGKILL));
  EXPECT_THROW(phone.exec({"/no/such/command"}), handset::error);
}

TEST(PhoneExec, Output_IsComplete) {
  phone phone;
  const auto result = phone.exec({"sh", "-c", "seq 1 20000; echo end >&2"});
  EXPECT_EQ(result.out.size(), 108894u);
  EXPECT_EQ(result.err, "end\n");
}

// What root may do: change owners and modes, and read and write every file.
TEST(PhoneService, Root_HasTheRightsOverFilesAlone) {
  phone phone(stand_in({"caps"}));
  phone.start();
  ASSERT_EQ(phone.wait_exit(), exited(0));
  EXPECT_EQ(phone.out().text(),
            "CapInh:\t0000000000000000\nCapPrm:\t000000000000001b\nCapEff:\t000000000000001b\nuid 0 gid 1001\n");
}

TEST(PhoneService, System_HasNoCapabilities) {
  auto options = stand_in({"caps"});
  options.user = handset::phone_user::system;
  phone phone(options);
  phone.start();
  ASSERT_EQ(phone.wait_exit(), exited(0));
  EXPECT_EQ(phone.out().text(),
            "CapInh:\t0000000000000000\nCapPrm:\t0000000000000000\nCapEff:\t0000000000000000\nuid 1000 gid 1001\n");
}

TEST(PhoneTree, FolderOfMode555_TakesFilesOfRoot) {
  phone phone;
  EXPECT_EQ(phone.exec({"sh", "-c", "chmod -R 555 /amt && echo new >/amt/sn && cat /amt/sn"}).out, "new\n");
}

TEST(PhoneService, Modes_PlaceBinaryAndConfiguration) {
  using handset::run_mode;
  for (const auto& [mode, folder] : {std::pair{run_mode::simplified, "/phone/bin/vx-kro-amt.cfg"},
                                     {run_mode::usb, "/system/etc/vx-kro-amt.cfg"},
                                     {run_mode::normal, "/system/etc/vx-kro-amt.cfg"}}) {
    auto options = stand_in();
    options.mode = mode;
    options.config = "x = 1\n";
    phone phone(options);
    EXPECT_EQ(phone.read_file(folder), "x = 1\n");
    EXPECT_EQ(phone.exec({"test", "-x", phone.service_path().string()}).status, exited(0));
  }
}

TEST(PhoneService, StartedTwiceAndBeside_EachHasItsOwnEnd) {
  phone phone(stand_in({"wait"}));
  phone.start();
  ASSERT_TRUE(phone.wait_log("ready"));
  EXPECT_THROW(phone.start(), handset::error);
  const auto other = phone.start_another();
  ASSERT_TRUE(other->err().wait_for("ready"));
  phone.send_signal(SIGKILL);
  EXPECT_EQ(phone.wait_exit(), killed(SIGKILL));
  EXPECT_TRUE(other->running());
  phone.start();
  ASSERT_TRUE(phone.wait_log("ready"));
  EXPECT_EQ(phone.wait_exit(1ms), std::nullopt);
  phone.send_signal(SIGUSR2);
  EXPECT_EQ(phone.wait_exit(), killed(SIGUSR2));
}

TEST(PhoneService, PausedLog_HoldsTheServiceUp) {
  auto options = stand_in({"flood-when-told"});
  options.log_pipe_size = 4096;
  phone phone(options);
  phone.start();
  ASSERT_TRUE(phone.out().wait_for("ready\n"));
  phone.pause_log();
  phone.send_signal(SIGUSR1);
  EXPECT_EQ(phone.wait_exit(50ms), std::nullopt);
  phone.resume_log();
  EXPECT_EQ(phone.wait_exit(), exited(0));
  EXPECT_EQ(phone.log().size(), 1024u * 1024u);
  EXPECT_EQ(phone.out().text(), "ready\nflooded\n");
}

TEST(PhoneService, EndedUnderAPausedLog_HasLoggedAllByThen) {
  auto options = stand_in({"flood"});
  options.log_pipe_size = 1024 * 1024;  // all of it fits
  phone phone(options);
  phone.start();
  phone.pause_log();
  EXPECT_EQ(phone.wait_exit(), exited(0));
  EXPECT_EQ(phone.log().size(), 1024u * 1024u);
}

TEST(PhoneService, DiscardedLog_LeavesNothing) {
  auto options = stand_in({"flood"});
  options.log = handset::log_sink::discard;
  phone phone(options);
  phone.start();
  EXPECT_EQ(phone.wait_exit(), exited(0));
  EXPECT_EQ(phone.log().size(), 0u);
}

TEST(PhoneTty, BothEnds_AreConnectedThroughTheService) {
  auto options = stand_in();
  options.simulated_modem = false;
  phone phone(options);
  phone.pc().write_all("early");  // before anybody has opened the other side
  phone.start();
  EXPECT_EQ(phone.modem_end().read_exactly(5), "early");
  std::string every;
  for (int byte = 0; byte < 256; ++byte) every.push_back(static_cast<char>(byte));
  phone.pc().write_all(every);
  EXPECT_EQ(phone.modem_end().read_exactly(256), every);
  phone.modem_end().write_all(every);
  EXPECT_EQ(phone.pc().read_exactly(256), every);
  phone.modem_end().write_all("one two");
  EXPECT_EQ(phone.pc().read_until("one"), "one");
  EXPECT_EQ(phone.pc().read_exactly(4), " two");
}

TEST(PhoneTty, UnpluggedPc_HangsTheServiceUp) {
  phone phone(stand_in());
  phone.start();
  ASSERT_TRUE(phone.wait_log("ready"));
  phone.unplug_pc();
  EXPECT_TRUE(phone.wait_log("hung up PC"));
  EXPECT_EQ(phone.wait_exit(), exited(0));
  EXPECT_EQ(phone.exec({"test", "-e", "/dev/ttyPC"}).status, exited(1));
}

TEST(PhoneTty, ReplugedModem_IsANewTtyUnderTheSameName) {
  phone phone(stand_in());
  phone.start();
  ASSERT_TRUE(phone.wait_log("ready"));
  phone.unplug_modem();
  EXPECT_TRUE(phone.wait_log("hung up MODEM"));
  ASSERT_EQ(phone.wait_exit(), exited(0));
  EXPECT_TRUE(phone.pc().wait_hangup());
  phone.plug_modem();
  phone.start();
  ASSERT_TRUE(phone.wait_log("ready"));
  phone.pc().write_all("AT\r");
  EXPECT_EQ(phone.pc().read_until("OK\r\n"), "\r\nOK\r\n");
}

TEST(PhoneTty, MissingDevice_DoesNotOpen) {
  auto options = stand_in();
  options.modem_plugged = false;
  phone phone(options);
  phone.start();
  EXPECT_EQ(phone.wait_exit(), exited(1));
  EXPECT_TRUE(phone.wait_log("cannot open /dev/ttyMODEM: No such file or directory"));
}

TEST(PhoneTty, OtherName_IsTheNameInTheConfiguration) {
  auto options = stand_in();
  options.modem_device = "/dev/ttyS1";
  phone phone(options);
  EXPECT_EQ(phone.exec({"grep", "-c", "^vx.tty.modem = /dev/ttyS1$", phone.config_path().string()}).out, "1\n");
  EXPECT_EQ(phone.exec({"test", "-c", "/dev/ttyS1"}).status, exited(0));
}

TEST(PhoneUevent, Listener_GetsTheStrings) {
  phone phone(stand_in({"uevent"}));
  phone.uevent({"USB_STATE=LOST"});  // nobody listens: no failure
  phone.start();
  ASSERT_TRUE(phone.wait_log("ready"));
  phone.uevent({"change@/devices/virtual/android_usb/android0", "USB_STATE=DISCONNECTED"});
  EXPECT_TRUE(phone.wait_log("event change@/devices/virtual/android_usb/android0|USB_STATE=DISCONNECTED|\n"));
  phone.uevent_raw("no end");
  EXPECT_TRUE(phone.wait_log("event no end\n"));
  EXPECT_EQ(phone.log().count("LOST"), 0u);
}

TEST(PhoneMany, AtTheSameTime_DoNotMeet) {
  std::vector<std::thread> threads;
  threads.reserve(8);
  std::atomic<int> right{0};
  for (int number = 0; number < 8; ++number) {
    threads.emplace_back([&, number] {
      phone_options options;
      options.files = {{"/amt/number", std::to_string(number)}};
      phone phone(options);
      if (phone.exec({"cat", "/amt/number"}).out == std::to_string(number)) ++right;
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(right, 8);
}

}  // namespace
