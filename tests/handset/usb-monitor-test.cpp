// Kernel events about the USB gadget, in a start without -u.
#include "tests/handset/serial-phone.h"

using namespace handset_test;

namespace {

const std::vector<std::string> PULLED = {"change@/devices/virtual/android_usb/android0", "ACTION=change",
                                         "USB_STATE=DISCONNECTED", "SEQNUM=7"};

const std::string STATE_FILE = "/sys/class/android_usb/android0/state";

std::vector<std::string> usb_state(const std::string& state) {
  return {"change@/devices/virtual", "USB_STATE=" + state};
}

TEST(UsbMonitor, Disconnected_EndsTheService) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  phone.uevent(PULLED);
  expect_clean_end(phone);
  EXPECT_EQ(phone.log().count("uevent:[ACTION=change] nLen:13"), 1u);
  EXPECT_EQ(phone.log().count("usb_status:[USB_STATE=DISCONNECTED]"), 1u);
  EXPECT_EQ(phone.log().count("uevent:[SEQNUM=7]"), 0u);  // nothing after the state is looked at
  EXPECT_EQ(phone.log().count("get usb disconnect event, will exit amt service"), 1u);
}

TEST(UsbMonitor, Configured_ServiceGoesOn) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  phone.uevent(usb_state("CONFIGURED"));
  ASSERT_TRUE(phone.wait_log("get usb CONFIGURED event"));
  phone.uevent(usb_state("CONNECTED"));
  ASSERT_TRUE(phone.wait_log("get usb other status event"));
  EXPECT_TRUE(phone.service().running());
  end_with(phone, SIGTERM);
}

TEST(UsbMonitor, EventWithoutState_IsLoggedAndIgnored) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  phone.uevent({"add@/devices/x", "SUBSYSTEM=usb"});
  ASSERT_TRUE(phone.wait_log("uevent:[SUBSYSTEM=usb] nLen:13"));
  EXPECT_EQ(phone.log().count("usb_status"), 0u);
  end_with(phone, SIGTERM);
}

// The kernel's events while the service does not run: they wait on its socket as a burst. Lets it go on at the end.
class held_service {
 public:
  explicit held_service(handset::phone& phone) : m_phone(phone) {
    phone.send_signal(SIGSTOP);
    const auto deadline = std::chrono::steady_clock::now() + handset::DEFAULT_WAIT;
    while (!is_stopped()) {
      if (std::chrono::steady_clock::now() > deadline) throw handset::error("the service does not stop");
    }
  }
  ~held_service() { m_phone.send_signal(SIGCONT); }
  held_service(const held_service&) = delete;
  held_service& operator=(const held_service&) = delete;

 private:
  bool is_stopped() {
    const std::string file = "/proc/" + std::to_string(m_phone.service().pid()) + "/status";
    return m_phone.exec({"/bin/cat", file}).out.find("State:\tT") != std::string::npos;
  }

  handset::phone& m_phone;
};

TEST(UsbMonitor, BurstBeforeDisconnected_EachIsLoggedAndTheServiceEnds) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  {
    const held_service held(phone);
    for (int number = 0; number < 100; ++number) phone.uevent({"add@/devices/x", "SEQNUM=" + std::to_string(number)});
    phone.uevent(PULLED);
  }
  expect_clean_end(phone);
  EXPECT_EQ(phone.log().count("uevent:[SEQNUM="), 100u);
  EXPECT_EQ(phone.log().count("events were lost"), 0u);
}

// More than the socket's queue takes, whatever this host lets it be.
void overrun_queue(handset::phone& phone) {
  for (int number = 0; number < 600; ++number) phone.uevent_raw(std::string(2000, 'x'));
}

TEST(UsbMonitor, DisconnectedLostInABurst_IsTakenFromTheStateFile) {
  handset::phone phone(raw_modem());
  phone.write_file(STATE_FILE, "CONFIGURED\n");
  start_serving(phone);
  {
    const held_service held(phone);
    overrun_queue(phone);
    phone.uevent(PULLED);
    phone.write_file(STATE_FILE, "DISCONNECTED\n");
  }
  expect_clean_end(phone);
  EXPECT_EQ(phone.log().count("uevent:[SEQNUM="), 0u);
  EXPECT_EQ(phone.log().count("events were lost, file(" + STATE_FILE + "). value: DISCONNECTED"), 1u);
  EXPECT_EQ(phone.log().count("get usb disconnect event, will exit amt service"), 1u);
}

TEST(UsbMonitor, EventsLostWithTheCableIn_ServiceGoesOn) {
  handset::phone phone(raw_modem());
  phone.write_file(STATE_FILE, "CONFIGURED\n");
  start_serving(phone);
  {
    const held_service held(phone);
    overrun_queue(phone);
  }
  ASSERT_TRUE(phone.wait_log("get usb CONFIGURED event"));
  phone.uevent(PULLED);
  expect_clean_end(phone);
}

TEST(UsbMonitor, HostileEvents_DoNoHarm) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  // One after the other, so that each is seen to be taken.
  struct hostile_st {
    std::string m_event;
    std::string m_logged;
    std::size_t m_times;
  };
  for (const auto& [event, logged, times] : {
           hostile_st{std::string(1, '\0'), "uevent:[] nLen:0", 1},
           hostile_st{std::string(600, '\0'), "uevent:[] nLen:0", 601},
           hostile_st{std::string(600, 'x'), "x] nLen:600", 1},
           hostile_st{std::string(3000, 'y'), "uevent:[yyyyyyyy", 1},
           hostile_st{"%s%n%s%n USB_STATX", "uevent:[%s%n%s%n USB_STATX] nLen:18", 1},
           hostile_st{"USB_STATE=no end", "usb_status:[USB_STATE=no end]", 1},
       }) {
    phone.uevent_raw(event);
    ASSERT_TRUE(phone.log().wait_count(logged, times)) << logged;
  }
  EXPECT_TRUE(phone.service().running());
  phone.uevent(PULLED);
  expect_clean_end(phone);
}

}  // namespace
