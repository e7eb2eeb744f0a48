// The reader of the modem data link.
#include "amt/amt-handle/service/modem-link.h"

#include "tests/unit/service/ending-link.h"

namespace {

using std::chrono::milliseconds;
using testing::AllOf;
using testing::ContainsRegex;
using testing::ExitedWithCode;
using testing::HasSubstr;
using testing::Not;

class ModemLink : public ending_link_test {
 protected:
  static void read_to_the_end() { ending_link_test::read_to_the_end(amt_handle_read_modem_loop); }
};

// A device that is always ready and gives nothing.
TEST_F(ModemLink, EmptyReads_ArePausedAndNothingGoesToThePc) {
  set_link(g_handle_context.m_fd_modem, open("/dev/null", O_RDWR | O_CLOEXEC));
  EXPECT_EXIT(read_emptiness(amt_handle_read_modem_loop, "modem read empty data", milliseconds(100)),
              ExitedWithCode(PATIENT), Not(HasSubstr("write to pc")));
}

TEST_F(ModemLink, PcThatFails_EndsTheServiceAfterTheBlock) {
  set_link(g_handle_context.m_fd_pc, open_full_device());
  m_modem.send("\r\n^X\r\n");
  EXPECT_EXIT(read_to_the_end(), ExitedWithCode(0),
              AllOf(ContainsRegex("^amt_handle_read_modem_loop\\(\\)\n"
                                  "read_modem_loop, read ready, m_fd_modem=[0-9]+\n"
                                  "receive Modem data: : \\(data_len = 6\\) -- 0D0A5E580D0A\n"),
                    HasSubstr("\ng_cur_treat_cmd_type:0;\n"
                              "write to pc, m_buf_len=6, write_len=-1\n"
                              "write error, errno[28]\n"
                              "amt_handle_deinit()\n")));
}

TEST_F(ModemLink, PcThatTakesAPart_EndsTheService) {
  set_link(g_handle_context.m_fd_pc, open_sink_with_room(4));
  m_modem.send("0123456789");
  EXPECT_EXIT(
      read_to_the_end(), ExitedWithCode(0),
      AllOf(HasSubstr("write to pc, m_buf_len=10, write_len=4\namt_handle_deinit()\n"), Not(HasSubstr("write error"))));
}

// The record is clear again after each block, and takes one byte less than it has room for.
TEST_F(ModemLink, BlocksInARow_GoOutOneByOne) {
  set_link(g_handle_context.m_fd_pc, open_sink_with_room(4095));
  m_modem.send(std::string(4095, 'a') + "b");
  EXPECT_EXIT(read_to_the_end(), ExitedWithCode(0),
              AllOf(HasSubstr("write to pc, m_buf_len=4095, write_len=4095\n"),
                    HasSubstr("receive Modem data: : (data_len = 1) -- 62\n")));
}

TEST_F(ModemLink, ClosedPcOrModem_EndsTheServiceWithoutARead) {
  for (auto* link : {&g_handle_context.m_fd_pc, &g_handle_context.m_fd_modem}) {
    const int open = *link;
    link->abandon();
    EXPECT_EXIT(read_to_the_end(), ExitedWithCode(0),
                AllOf(HasSubstr("amt_handle_read_modem_loop()\namt_handle_deinit()\n"), Not(HasSubstr("read ready"))));
    link->take(pub_fd(open));
  }
}

}  // namespace
