// Whole sessions, kept: a capture of what passed on the phone's links, and beside it, as a capture has no place for it,
// what the service logs from its first line to its last. The test plays what the PC and the modem send in the capture,
// or what the phone's application sends while the modem is simulated, and compares everything else. The time of a
// capture tells its steps apart and no more. With TRANSCRIPT_WRITE set the files are written anew. A change of one is a
// change of behaviour, and its commit gives the reason.
#include <cstdlib>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <vector>

#include "capture/line.h"
#include "capture/reader.h"
#include "capture/writer.h"
#include "tests/handset/app-phone.h"
#include "tests/unit/temp-folder.h"

using namespace handset_test;

namespace {

std::string quote(std::string_view bytes) {
  std::ostringstream text;
  for (const char byte : bytes) {
    if (byte == '\r') {
      text << "\\r";
    } else if (byte == '\n') {
      text << "\\n";
    } else if (byte >= 0x20 && byte < 0x7F && byte != '\\') {
      text << byte;
    } else {
      text << "\\x" << to_hex(std::string_view(&byte, 1));
    }
  }
  return text.str();
}

// Times, process and thread ids, descriptors, terminals and source lines differ from run to run and from change to
// change.
std::string mask(const std::string& line) {
  static const std::regex prefix(R"(^(\S*) D \d\d-\d\d \d\d:\d\d:\d\d +\d+ +\d+ )");
  static const std::regex time("Build time: .*");
  static const std::regex number(
      R"((m_fd_pc=|m_fd_modem=|m_fd_modem  = |LINE-|thread |PID of vx-kro-amt: |ptm_fd\[| fd\[|(grant|unlock)pt\(|/pts/)\d+)");
  const std::string text = std::regex_replace(std::regex_replace(line, prefix, "$1: "), time, "Build time: N");
  return std::regex_replace(text, number, "$1N");
}

// What stands on the links is joined, step by step: the pieces in which it came are chance.
class kept_capture {
 public:
  void begin_step() { ++m_step, m_in_step = 0; }
  void add(capture_direction_en direction, capture_link_en link, std::string_view bytes) {
    const auto piece = capture_bytes(bytes);
    if (piece.empty()) return;
    const bool is_more = m_in_step != 0 && m_entries.back().m_direction == direction && m_entries.back().m_link == link;
    if (!is_more) {
      constexpr std::int64_t BEGIN_US = 1'772'352'000'000'000;  // 2026-03-01, 8:00
      constexpr std::int64_t STEP_US = 2'000'000;  // a reader takes what stays without its end for a second as it is
      const std::int64_t since_us = m_step * STEP_US + m_in_step++ * 1000;
      m_entries.push_back({BEGIN_US + since_us, since_us * 1000, direction, link, {}, {}});
    }
    auto& all = m_entries.back().m_bytes;
    all.insert(all.end(), piece.begin(), piece.end());
  }
  std::string text() const {
    std::string text;
    for (const auto& entry : m_entries) text += capture_line(entry) + "\n";
    return text;
  }

 private:
  std::vector<capture_entry_st> m_entries;
  std::int64_t m_step = 0;
  std::int64_t m_in_step = 0;
};

class transcript {
 public:
  explicit transcript(handset::phone& phone) : m_phone(phone) {
    if (!has_simulated_modem()) return;
    EXPECT_EQ(m_modem_writer.open(m_modem_file), "");
    phone.simulated_modem().set_capture(&m_modem_writer, "");
  }
  ~transcript() {
    if (has_simulated_modem()) m_phone.simulated_modem().set_capture(nullptr, "");
  }
  transcript(const transcript&) = delete;
  transcript& operator=(const transcript&) = delete;

  void start(void (*wait_until_it_serves)(handset::phone&)) {
    wait_until_it_serves(m_phone);
    take_modem();
    m_text << "\nstarts\n";
    for (const auto& [thread, lines] : lines_by_thread()) write_log(lines);
  }
  // Only what comes from outside is played.
  void play(const capture_entry_st& entry) {
    const std::string_view bytes{reinterpret_cast<const char*>(entry.m_bytes.data()), entry.m_bytes.size()};
    const bool is_sent = entry.m_direction == capture_direction_en::SENT;
    if (is_sent && entry.m_link == capture_link_en::PC)
      play_line(m_phone.pc(), "read_pc_loop, read ready", bytes, entry);
    if (is_sent && entry.m_link == capture_link_en::APP) play_app(bytes);
    if (!is_sent && entry.m_link == capture_link_en::MODEM)
      play_line(m_phone.modem_end(), "read_modem_loop, read ready", bytes, entry);
  }
  void end(int signal_number) {
    end_with(m_phone, signal_number);
    m_text << "\nends\n";
    write_log(lines_by_thread().begin()->second);  // main's: a worker may not come to its last line
  }
  std::string log() const { return m_text.str(); }
  std::string capture() const { return m_capture.text(); }

 private:
  static constexpr std::string_view APP_ANSWER = "send APP rsp data: ";
  static constexpr auto SENT = capture_direction_en::SENT;
  static constexpr auto RECEIVED = capture_direction_en::RECEIVED;

  bool has_simulated_modem() const { return m_phone.options().simulated_modem; }
  void begin_step(const char* who, std::string_view bytes) {
    m_capture.begin_step();
    m_text << "\n" << who << "> " << quote(bytes) << "\n";
  }
  void play_line(handset::tty_end& tty, std::string_view done, std::string_view bytes, const capture_entry_st& entry) {
    begin_step(capture_link_name(entry.m_link), bytes);
    m_capture.add(entry.m_direction, entry.m_link, bytes);
    const auto rounds = m_phone.log().count(done);
    ASSERT_TRUE(tty.write_all(bytes));
    ASSERT_TRUE(m_phone.log().wait_count(done, rounds + 1)) << quote(bytes);
    // What the service has written before it waited again is there already.
    m_capture.add(SENT, capture_link_en::MODEM, m_phone.modem_end().read_pending());
    m_capture.add(RECEIVED, capture_link_en::PC, m_phone.pc().read_pending());
    take_log();
  }
  void play_app(std::string_view bytes) {
    begin_step("app", bytes);
    m_capture.add(SENT, capture_link_en::APP, bytes);
    const auto answers = m_phone.log().count(APP_ANSWER);
    ASSERT_TRUE(m_phone.app().write_all(bytes));
    const std::string length = m_phone.app().read_exactly(2);
    ASSERT_EQ(length.size(), 2u) << quote(bytes);
    const auto rest = static_cast<unsigned char>(length[0]) + 256u * static_cast<unsigned char>(length[1]) - 2;
    const std::string answer = length + m_phone.app().read_exactly(rest);
    ASSERT_TRUE(m_phone.log().wait_count(APP_ANSWER, answers + 1)) << quote(bytes);
    take_modem();
    m_capture.add(RECEIVED, capture_link_en::APP, answer);
    take_log();
  }
  // The modem answers before the service does.
  void take_modem() {
    if (!has_simulated_modem()) return;
    std::size_t number = 0;
    capture_reader_st reader(
        [&](const capture_entry_st& entry, std::size_t) {
          if (number++ < m_modem_lines) return;
          m_capture.add(entry.m_direction, entry.m_link, std::string(entry.m_bytes.begin(), entry.m_bytes.end()));
        },
        [](std::size_t line, const std::string& why) { ADD_FAILURE() << line << ": " << why; });
    reader.feed(read_whole_file(m_modem_file));
    reader.finish();
    m_modem_lines = number;
  }
  std::vector<std::string> new_lines() {
    const std::string all = m_phone.log().text();
    std::istringstream text(all.substr(m_mark));
    m_mark = all.size();
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
  }
  void write_log(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) m_text << "  log " << quote(mask(line)) << "\n";
  }
  void take_log() { write_log(new_lines()); }
  // At the start and the end threads take turns as they like: the lines of each stand together, in the order in which
  // the threads were made.
  std::map<int, std::vector<std::string>> lines_by_thread() {
    static const std::regex thread_id(R"(^\S* D \d\d-\d\d \d\d:\d\d:\d\d +\d+ +(\d+) )");
    std::map<int, std::vector<std::string>> by_thread;
    int thread = 0;
    for (const std::string& line : new_lines()) {
      std::smatch found;
      if (std::regex_search(line, found, thread_id)) thread = std::stoi(found[1]);  // or a line's second half
      by_thread[thread].push_back(line);
    }
    return by_thread;
  }

  temp_folder m_folder;
  const std::string m_modem_file = m_folder.path("modem.jsonl");
  capture_writer_st m_modem_writer;  // what the simulated modem hears and says
  std::size_t m_modem_lines = 0;     // of them taken
  handset::phone& m_phone;
  kept_capture m_capture;
  std::size_t m_mark = 0;
  std::ostringstream m_text;
};

class Transcript : public ::testing::TestWithParam<const char*> {};

handset::phone_options options_of(const std::vector<capture_numbered_st>& entries) {
  const bool is_app =
      std::ranges::any_of(entries, [](const auto& one) { return one.m_entry.m_link == capture_link_en::APP; });
  auto options = is_app ? platform() : raw_modem();
  options.properties["ro.build.display.id"] = "VX5210-4.2";
  return options;
}

void start(transcript& session, handset::phone& phone) {
  if (phone.options().mode != handset::run_mode::normal) return session.start(start_serving);
  phone.simulated_modem().change_state([](auto& state) {
    state.imei = "352099001761481";
    state.board_number = "B7";
  });
  session.start(start_app_serving);
}

// The first lines of the log's file say what the session is about.
std::string title_of(const std::string& log) {
  std::string title;
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line) && line.starts_with("# ");) title += line + "\n";
  return title;
}

void expect_kept(const std::string& path, const std::string& kept, const std::string& actual) {
  if (std::getenv("TRANSCRIPT_WRITE") != nullptr) {
    std::ofstream(path) << actual;
  } else {
    EXPECT_EQ(actual, kept) << path;
  }
}

TEST_P(Transcript, Session_IsAsKept) {
  const std::string path = std::string(TRANSCRIPT_FOLDER) + "/" + GetParam();
  const std::string kept = read_whole_file(path + ".jsonl");
  const std::string kept_log = read_whole_file(path + ".txt");
  std::vector<capture_numbered_st> entries;
  ASSERT_EQ(capture_load(path + ".jsonl", &entries,
                         [](std::size_t line, const std::string& why) { ADD_FAILURE() << line << ": " << why; }),
            "");

  handset::phone phone(options_of(entries));
  transcript session(phone);
  start(session, phone);
  for (const auto& [entry, line] : entries) {
    session.play(entry);
    if (HasFatalFailure()) return;
  }
  session.end(SIGTERM);
  expect_kept(path + ".jsonl", kept, session.capture());
  expect_kept(path + ".txt", kept_log, title_of(kept_log) + session.log());
}

INSTANTIATE_TEST_SUITE_P(Kept, Transcript, ::testing::Values("first-session", "errors", "application", "device-tests"),
                         [](const auto& session) { return std::regex_replace(session.param, std::regex("-"), "_"); });

}  // namespace
