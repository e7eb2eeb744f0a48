// Whole sessions, kept as text: what each side sends and gets, and what the service logs about it, from its first line
// to its last. A file holds the steps ("pc>" the PC sends, "modem>" the modem sends, or "app>" the phone's application
// sends while the modem is simulated) and after each its results ("pc<", "modem<", "at<" on the modem's AT link,
// "app<", "log"). The test plays the steps and compares everything else. With TRANSCRIPT_WRITE set the files are
// written anew. A change of one is a change of behaviour, and its commit gives the reason.
#include <cstdlib>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <vector>

#include "tests/handset/app-phone.h"

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

std::string unquote(std::string_view text) {
  std::string bytes;
  while (!text.empty()) {
    if (text.starts_with("\\r") || text.starts_with("\\n")) {
      bytes += text[1] == 'r' ? '\r' : '\n';
      text.remove_prefix(2);
    } else if (text.starts_with("\\x")) {
      bytes += from_hex(text.substr(2, 2));
      text.remove_prefix(4);
    } else {
      bytes += text.front();
      text.remove_prefix(1);
    }
  }
  return bytes;
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

class transcript {
 public:
  explicit transcript(handset::phone& phone) : m_phone(phone) {}

  void start(void (*wait_until_it_serves)(handset::phone&)) {
    wait_until_it_serves(m_phone);
    m_text << "\nstarts\n";
    for (const auto& [thread, lines] : lines_by_thread()) write_log(lines);
  }
  void play(const std::string& line) {
    const auto bytes = unquote(line.substr(line.find(' ') + 1));
    const bool is_pc = line.starts_with("pc> ");
    const std::string_view done = is_pc ? "read_pc_loop, read ready" : "read_modem_loop, read ready";
    const auto rounds = m_phone.log().count(done);
    m_text << "\n" << line << "\n";
    ASSERT_TRUE((is_pc ? m_phone.pc() : m_phone.modem_end()).write_all(bytes));
    ASSERT_TRUE(m_phone.log().wait_count(done, rounds + 1)) << line;
    take("modem< ", m_phone.modem_end());
    take("pc< ", m_phone.pc());
    take_log();
  }
  void play_app(const std::string& line) {
    const auto answers = m_phone.log().count(APP_ANSWER);
    const auto& received = m_phone.simulated_modem().received(handset::modem_link::at);
    const auto mark = received.size();
    m_text << "\n" << line << "\n";
    ASSERT_TRUE(m_phone.app().write_all(unquote(line.substr(line.find(' ') + 1))));
    const std::string length = m_phone.app().read_exactly(2);
    ASSERT_EQ(length.size(), 2u) << line;
    const auto rest = static_cast<unsigned char>(length[0]) + 256u * static_cast<unsigned char>(length[1]) - 2;
    const std::string answer = length + m_phone.app().read_exactly(rest);
    ASSERT_TRUE(m_phone.log().wait_count(APP_ANSWER, answers + 1)) << line;
    if (const auto asked = received.text().substr(mark); !asked.empty()) m_text << "at< " << quote(asked) << "\n";
    m_text << "app< " << quote(answer) << "\n";
    take_log();
  }
  void end(int signal_number) {
    end_with(m_phone, signal_number);
    m_text << "\nends\n";
    write_log(lines_by_thread().begin()->second);  // main's: a worker may not come to its last line
  }
  std::string text() const { return m_text.str(); }

 private:
  static constexpr std::string_view APP_ANSWER = "send APP rsp data: ";

  void take(const char* label, handset::tty_end& tty) {
    // What the service has written before it waited again is there already.
    const std::string bytes = tty.read_pending();
    if (!bytes.empty()) m_text << label << quote(bytes) << "\n";
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

  handset::phone& m_phone;
  std::size_t m_mark = 0;
  std::ostringstream m_text;
};

class Transcript : public ::testing::TestWithParam<const char*> {};

handset::phone_options options_of(const std::string& kept) {
  auto options = kept.find("\napp> ") == kept.npos ? raw_modem() : platform();
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

TEST_P(Transcript, Session_IsAsKept) {
  const std::string path = std::string(TRANSCRIPT_FOLDER) + "/" + GetParam() + ".txt";
  std::ifstream file(path);
  ASSERT_TRUE(file.is_open()) << "no transcript " << path;
  std::ostringstream kept;
  kept << file.rdbuf();

  handset::phone phone(options_of(kept.str()));
  transcript session(phone);
  start(session, phone);
  std::string title;
  std::istringstream lines(kept.str());
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("# ")) title += line + "\n";
    if (line.starts_with("app> ")) session.play_app(line);
    if (line.starts_with("pc> ") || line.starts_with("modem> ")) session.play(line);
    if (HasFatalFailure()) return;
  }
  session.end(SIGTERM);
  const std::string actual = title + session.text();
  if (std::getenv("TRANSCRIPT_WRITE") != nullptr) {
    std::ofstream(path) << actual;
  } else {
    EXPECT_EQ(actual, kept.str()) << path;
  }
}

INSTANTIATE_TEST_SUITE_P(Kept, Transcript, ::testing::Values("first-session", "errors", "application", "device-tests"),
                         [](const auto& session) { return std::regex_replace(session.param, std::regex("-"), "_"); });

}  // namespace
