// A phone whose records are checked: what a station sends in AT text, what comes back, and what the files then hold.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "handset/wire/files.h"
#include "tests/handset/serial-phone.h"

namespace handset_test {

inline constexpr std::string_view REPLY_OK = "\r\nOK\r\n";
inline constexpr std::string_view REPLY_ERROR = "\r\nERROR\r\n";
inline constexpr std::string_view REPLY_CME_ERROR = "\r\n+CME ERROR: 100\r\n";

inline constexpr char BT_RECORD[] = "/amt/BT/BT_Address.txt";
inline constexpr char SECOND_BT_RECORD[] = "/mnt/opl/nvm/BT_Address.txt";
inline constexpr char WIFI_RECORD[] = "/amt/WIFI/WIFI_nvram.txt";
inline constexpr char IMEI_RECORD[] = "/amt/imei.txt";
inline constexpr char SECOND_IMEI_RECORD[] = "/amt/imei-2.txt";
inline constexpr char SN_RECORD[] = "/amt/sn.txt";
inline constexpr char SECOND_SN_RECORD[] = "/amt/sn-2.txt";
inline constexpr char FLAG_RECORD[] = "/amt/power_usb_amt.txt";

inline constexpr std::string_view NOTHING = "(no such file)";

class RecordPhone : public ::testing::Test {
 protected:
  // The modem is simulated unless the options switch it off.
  void start(handset::phone_options options = {}) {
    m_phone = std::make_unique<handset::phone>(std::move(options));
    start_serving(*m_phone);
  }
  handset::phone& phone() { return *m_phone; }

  // Sends a block and takes the whole answer to it; after that nothing more may have come.
  void expect_reply(std::string_view command, std::string_view reply) {
    ASSERT_TRUE(phone().pc().write_all(command));
    EXPECT_EQ(phone().pc().read_exactly(reply.size()), reply) << command << "\n" << phone().log().text();
    EXPECT_EQ(phone().pc().read_pending(), "") << command;
  }
  // The same for the error frame: 27 bytes that are known and a checksum.
  void expect_error_frame(std::string_view command) {
    ASSERT_TRUE(phone().pc().write_all(command));
    EXPECT_EQ(to_hex(phone().pc().read_exactly(31).substr(0, 27)), to_hex(AT_ERROR_FRAME)) << command;
    EXPECT_EQ(to_hex(phone().pc().read_pending()), "") << command;
  }
  // How often a text was logged since the start. The log comes later than the answers: one more block, whose dump can
  // be waited for, closes what was logged before it.
  void expect_logged(std::string_view text, std::size_t times = 1) {
    close_log();
    EXPECT_EQ(phone().log().count(text), times) << text << "\n" << phone().log().text();
  }

  std::string record(const char* path) const { return m_phone->read_file(path).value_or(std::string(NOTHING)); }
  // Runs a step that writes one record: it is flushed, that is synchronised twice, before the answer comes.
  template <typename Step>
  void expect_flushed(bool is_flushed, Step step) {
    const auto before = phone().sync_count();
    step();
    EXPECT_EQ(phone().sync_count(), before + (is_flushed ? 2 : 0)) << phone().log().text();
  }

  // The ways in which a record cannot be written.
  void lock(const char* path, std::string_view content) {
    phone().write_file(path, content);
    phone().parts().fail(path, handset::file_fault::open);
  }
  void unlock(const char* path) { phone().parts().heal(path); }
  // Every write to it finds its file system full.
  void fill_up(const char* path) {
    phone().remove(path);
    std::filesystem::create_directories(phone().host_path(path).parent_path());
    std::filesystem::create_symlink("/dev/full", phone().host_path(path));
  }

 private:
  void close_log() {
    static constexpr std::string_view DUMP = "write to modem: : (data_len = 8) -- 41542B53594E430D";
    const auto closed = phone().log().count(DUMP) + 1;
    ASSERT_TRUE(phone().pc().write_all("AT+SYNC\r"));
    ASSERT_TRUE(phone().log().wait_count(DUMP, closed));
    // The simulated modem does not know that command and answers with an error; a silent one does not answer.
    if (!phone().simulated_modem().switches().silent) phone().pc().read_until(REPLY_ERROR);
  }

  std::unique_ptr<handset::phone> m_phone;
};

// A phone in which a record lies on a read-only file system. The folder on the host goes with this object.
class read_only_record {
 public:
  read_only_record(const char* path, std::string_view content) : m_path(path) {
    std::string name = (std::filesystem::temp_directory_path() / "read-only-record-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) throw handset::error("cannot make " + name);
    m_folder = name;
    handset::write_whole_file(m_folder / "record", content);
  }
  ~read_only_record() {
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
  }
  read_only_record(const read_only_record&) = delete;
  read_only_record& operator=(const read_only_record&) = delete;

  handset::phone_options options() const {
    handset::phone_options options;
    options.binds.push_back({m_folder / "record", m_path, false});
    return options;
  }
  std::string content() const {
    std::ifstream file(m_folder / "record", std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  }

 private:
  std::filesystem::path m_path;
  std::filesystem::path m_folder;
};

}  // namespace handset_test
