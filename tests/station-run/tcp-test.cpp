// A phone that hangs on another machine, behind the real ser2net.
#include <arpa/inet.h>
#include <netdb.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "tests/station-run/line-phone.h"

namespace {

// A name server that does not answer. The look-up goes on in a thread that nobody waits for.
constexpr std::string_view SILENT_NAME = "silent.test";
std::atomic<int> g_silent_look_ups = 0;

}  // namespace

// The station's look-ups come here.
extern "C" {
int __real_getaddrinfo(const char* name, const char* service, const addrinfo* hints, addrinfo** found);
int __wrap_getaddrinfo(const char* name, const char* service, const addrinfo* hints, addrinfo** found);
int __wrap_getaddrinfo(const char* name, const char* service, const addrinfo* hints, addrinfo** found) {
  if (name == nullptr || name != SILENT_NAME || (hints->ai_flags & AI_NUMERICHOST) != 0)
    return __real_getaddrinfo(name, service, hints, found);
  ++g_silent_look_ups;
  std::this_thread::sleep_for(std::chrono::seconds(60));
  return EAI_AGAIN;
}
}

namespace {

using testing::HasSubstr;

// A port that was free a moment ago.
std::string free_port() {
  const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  auto* name = reinterpret_cast<sockaddr*>(&address);
  EXPECT_EQ(::bind(fd, name, size), 0);
  EXPECT_EQ(::getsockname(fd, name, &size), 0);
  ::close(fd);
  return std::to_string(ntohs(address.sin_port));
}

class RunOverTcp : public LineTest {
 protected:
  std::string configuration() const {
    return "connection: &phone\n  accepter: tcp,127.0.0.1," + m_port + "\n  connector: serialdev," +
           std::filesystem::canonical(m_phone.port()).string() + ",local\n";
  }

  line_phone_st m_phone{m_folder, "tcp"};
  std::string m_port = free_port();
  std::string m_address = "tcp://127.0.0.1:" + m_port;
};

TEST_F(RunOverTcp, Plan_RunsAsOnATerminal) {
  const beside_st gateway({"/usr/sbin/ser2net", "-n", "-d", "-c", m_folder.write("ser2net.yaml", configuration())},
                          m_folder.path("ser2net.log"));
  const std::string plan = write_plan(one_step("version", "word = \"sw-version\"\nequals = \"VX5210-4.2.0\"") +
                                      one_step("converter", "word = \"adc\"\nlow = 2000"));
  // The gateway takes a moment to start.
  station_outcome got{21, "", ""};
  for (int n = 0; n < 100 && got.m_status == 21; ++n) {
    std::filesystem::remove_all(records_folder());
    got = run(plan, m_address);
    if (got.m_status == 21) std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  EXPECT_EQ(got.m_status, 0) << got.m_out << gateway.output();
  EXPECT_EQ(record()["phone"]["pc"], m_address);
}

TEST_F(RunOverTcp, NobodyThere_IsErrorAtOnce) {
  for (const std::string& address : {m_address, "tcp://localhost:" + m_port}) {
    const auto got = run(write_plan(one_step("s", "word = \"adc\"")), address);
    EXPECT_EQ(got.m_status, 21);
    EXPECT_THAT(got.m_out, HasSubstr("Connection refused")) << address;
  }
}

TEST_F(RunOverTcp, NameServerThatIsSilent_IsErrorInTime) {
  const auto begin = std::chrono::steady_clock::now();
  const auto got = run(write_plan(one_step("s", "word = \"adc\"")), "tcp://silent.test:1");
  EXPECT_EQ(got.m_status, 21);
  EXPECT_THAT(got.m_out, HasSubstr("tcp://silent.test:1: the name could not be looked up in time"));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
}

TEST_F(RunOverTcp, Interrupt_EndsALookUp) {
  const int stop_fd = ::eventfd(0, EFD_CLOEXEC);
  const int before = g_silent_look_ups;
  std::jthread user([&] {
    while (g_silent_look_ups == before) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    const std::uint64_t one = 1;
    EXPECT_EQ(::write(stop_fd, &one, sizeof(one)), ssize_t{sizeof(one)});
  });
  const auto got = run(write_plan(one_step("s", "word = \"adc\"")), "tcp://silent.test:1", stop_fd);
  user.join();
  ::close(stop_fd);
  EXPECT_EQ(got.m_status, 130) << got.m_out;
}

TEST_F(RunOverTcp, WrongAddress_IsError) {
  for (const char* address : {"tcp://", "tcp://127.0.0.1", "tcp://:1", "tcp://127.0.0.1:none", "tcp://[::1:1"}) {
    EXPECT_EQ(run(write_plan(one_step("s", "word = \"adc\"")), address).m_status, 21) << address;
  }
}

}  // namespace
