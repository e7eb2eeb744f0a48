// A phone that hangs on another machine, behind the real ser2net.
#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <thread>

#include "tests/station-run/line-phone.h"

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
  const auto got = run(write_plan(one_step("s", "word = \"adc\"")), m_address);
  EXPECT_EQ(got.m_status, 21);
  EXPECT_THAT(got.m_out, HasSubstr("Connection refused"));
}

TEST_F(RunOverTcp, WrongAddress_IsError) {
  for (const char* address : {"tcp://", "tcp://127.0.0.1", "tcp://:1", "tcp://127.0.0.1:none", "tcp://[::1:1"}) {
    EXPECT_EQ(run(write_plan(one_step("s", "word = \"adc\"")), address).m_status, 21) << address;
  }
}

}  // namespace
