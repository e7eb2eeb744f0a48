// A service that is killed at any moment of a write leaves the value before, the new one, or none: never a mixture.
#include <ostream>
#include <random>
#include <thread>
#include <vector>

#include "tests/handset/records-phone.h"

using namespace handset_test;

namespace {

// 50 killed writes for each record.
constexpr int PHONES = 5;
constexpr int LIVES = 10;
constexpr int FLUSH_US = 120'000;  // a write's duration, all of it but some hundred microseconds waits and flushes
constexpr int REPLACE_US = 2'000;  // in which the record is replaced

struct killed_record_st {
  const char* m_name;
  const char* m_path;
  std::string m_write;  // the command in front of the value
  std::string m_write_end;
  std::string m_file_end;  // what stands after the value in the record
  std::string m_read;      // empty: nobody reads it back over the link
  std::string m_read_begin;
  std::string m_read_end;
  std::string_view m_no_value;
};

void PrintTo(const killed_record_st& record, std::ostream* stream) {
  *stream << record.m_path;
}

// Two values have no character in common at the same place unless they are 26 writes apart. Neighbours differ in
// length.
std::string value_of(int write) {
  return std::string(1 + static_cast<std::size_t>(write * 7 % 17), static_cast<char>('A' + write % 26));
}

// A phone whose service is killed in a write, once in each of its lives.
class killed_phone {
 public:
  killed_phone(const killed_record_st& record, unsigned seed) : m_record(record), m_phone(options()), m_random(seed) {}

  void play() {
    for (int life = 0; life < LIVES; ++life) {
      ASSERT_NO_FATAL_FAILURE(start());
      ASSERT_NO_FATAL_FAILURE(read_back());
      ASSERT_NO_FATAL_FAILURE(write_whole(2 * life));
      ASSERT_NO_FATAL_FAILURE(write_and_kill(2 * life, 2 * life + 1));
    }
    ASSERT_NO_FATAL_FAILURE(start());
    read_back();
    end_with(m_phone, SIGTERM);
  }

 private:
  static handset::phone_options options() {
    handset::phone_options options;
    options.files[BT_RECORD] = "";  // the service makes none
    return options;
  }
  std::string content() const { return m_phone.read_file(m_record.m_path).value_or(""); }
  std::string content_of(int write) const { return value_of(write) + m_record.m_file_end; }

  // Nothing of an earlier life is left on the links.
  void start() {
    m_phone.unplug_pc();
    m_phone.plug_pc();
    m_phone.unplug_modem();
    m_phone.plug_modem();
    start_serving(m_phone);
  }
  void read_back() {
    if (m_record.m_read.empty()) return;
    std::string value = content();
    if (!value.empty()) value.resize(value.size() - m_record.m_file_end.size());
    const std::string expected =
        value.empty() ? std::string(m_record.m_no_value) : m_record.m_read_begin + value + m_record.m_read_end;
    ASSERT_TRUE(m_phone.pc().write_all(m_record.m_read));
    ASSERT_EQ(m_phone.pc().read_exactly(expected.size()), expected);
  }
  void send_write(int write) {
    ASSERT_TRUE(m_phone.pc().write_all(m_record.m_write + value_of(write) + m_record.m_write_end));
  }
  void write_whole(int write) {
    send_write(write);
    ASSERT_EQ(m_phone.pc().read_exactly(REPLY_OK.size()), REPLY_OK) << m_phone.log().text();
    ASSERT_EQ(content(), content_of(write));
  }
  // Half of the time in the short while in which the record is emptied and filled.
  void write_and_kill(int before, int write) {
    const bool is_early = m_random() % 2 == 0;
    const std::chrono::microseconds moment(m_random() % (is_early ? REPLACE_US : FLUSH_US));
    send_write(write);
    std::this_thread::sleep_for(moment);  // this waits for nothing: it chooses the moment of the kill
    m_phone.send_signal(SIGKILL);
    ASSERT_EQ(m_phone.wait_exit(), handset::killed(SIGKILL));
    const std::string found = content();
    ASSERT_TRUE(found.empty() || found == content_of(before) || found == content_of(write))
        << "killed " << moment.count() << " us after the command: \"" << found << "\" instead of \""
        << content_of(before) << "\" or \"" << content_of(write) << "\"";
  }

  const killed_record_st& m_record;
  handset::phone m_phone;
  std::mt19937 m_random;
};

class KilledService : public ::testing::TestWithParam<killed_record_st> {};

TEST_P(KilledService, AtARandomMomentOfAWrite_RecordIsWhole) {
  std::vector<std::thread> players;
  for (int index = 0; index < PHONES; ++index) {
    const unsigned seed = std::random_device{}();
    players.emplace_back([seed] { killed_phone(GetParam(), seed).play(); });
  }
  for (auto& player : players) player.join();
}

INSTANTIATE_TEST_SUITE_P(
    Records, KilledService,
    ::testing::Values(killed_record_st{"Bluetooth", BT_RECORD, "AT^DBTADDR=\"", "\"\r", "\n", "AT^DBTADDR?\r",
                                       "\r\n^DBTADDR: \"", "\"\r\n\r\nOK\r\n", REPLY_CME_ERROR},
                      killed_record_st{"Wifi", WIFI_RECORD, "AT^DWIFIADDR=\"", "\"\r", "\n", "AT^DWIFIADDR?\r",
                                       "\r\n^DWIFIADDR: \"", "\"\r\n\r\nOK\r\n", REPLY_CME_ERROR},
                      killed_record_st{"Pcba", SECOND_SN_RECORD, "AT^DPCBACTRL=2,", "", "", "AT^DPCBACTRL=1\r",
                                       "\r\n^DPCBACTRL: ", "\r\n\r\nOK\r\n", REPLY_ERROR},
                      killed_record_st{"Imei", IMEI_RECORD, "AT^DCGSNW=", "\r", "", "", "", "", ""},
                      killed_record_st{"Sn", SN_RECORD, "AT^DMSN=", "\r", "", "", "", "", ""}),
    [](const auto& record) { return record.param.m_name; });

}  // namespace
