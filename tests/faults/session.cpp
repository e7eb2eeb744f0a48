#include "tests/faults/session.h"

#include <poll.h>

#include <algorithm>
#include <csignal>

#include "tests/hex.h"

namespace faults {

namespace {

using namespace std::chrono_literals;
using steady = std::chrono::steady_clock;

constexpr auto ANSWER_WAIT = 4s;  // a station's patience; with all its tries 20 s
constexpr int TRIES = 5;
constexpr int MOST_REFUSALS = 3;  // half a block garbles the next one, too
constexpr auto END_WAIT = 5s;
constexpr auto LOOK = 20ms;
constexpr auto REOPEN_WAIT = 500ms;

std::string visible(std::string_view bytes) {
  std::string text;
  for (const char byte : bytes) {
    if (byte == '\r') {
      text += "\\r";
    } else if (byte == '\n') {
      text += "\\n";
    } else if (byte >= ' ' && byte < 127) {
      text += byte;
    } else {
      constexpr char DIGITS[] = "0123456789ABCDEF";
      const auto number = static_cast<unsigned char>(byte);
      text += std::string("\\x") + DIGITS[number >> 4] + DIGITS[number & 15];
    }
  }
  return text;
}

// The error frame for AT text, less its checksum.
const std::string& error_frame() {
  static const std::string frame = from_hex("AABBCCDD 17000000 02000000 0F00 BB 00 0900 EE 01 01 0400 01000000");
  return frame;
}

// An answer of failure: the texts, the error frame with its checksum, or a frame of the application's link whose result
// is not 0. In the PC's envelope such a frame stands in front of four bytes.
bool is_refusal(std::string_view got) {
  if (got.ends_with("\r\nERROR\r\n") || got.ends_with("\r\n+CME ERROR: 100\r\n")) return true;
  const auto error = got.find(error_frame());
  if (error != got.npos && got.size() == error + error_frame().size() + 4) return true;
  constexpr std::string_view RESULT = "\xEE\x01\x01\x04";
  const auto atom = got.rfind(RESULT);
  if (atom == got.npos) return false;
  const auto rest = got.substr(atom + RESULT.size());
  return (rest.size() == 5 || rest.size() == 9) && rest.substr(0, 5) != std::string_view("\0\0\0\0\0", 5);
}

}  // namespace

bool session::has_ended() {
  return m_phone.wait_exit(0ms).has_value();
}

bool session::hope(const std::function<bool()>& is_there, std::chrono::milliseconds within) {
  const auto deadline = steady::now() + within;
  while (!is_there()) {
    if (has_ended() || steady::now() > deadline) return false;
    ::poll(nullptr, 0, static_cast<int>(LOOK.count()));
  }
  return true;
}

bool session::await(const std::string& what, const std::function<bool()>& is_there, std::chrono::milliseconds within) {
  if (!m_is_hung && hope(is_there, within)) return true;
  if (has_ended() || m_is_hung) return false;
  find("hangs: " + what + " does not come");
  m_is_hung = true;
  return false;
}

// None: nothing final came in time.
std::optional<outcome> session::listen(handset::tty_end& tty, const request& wanted, std::chrono::milliseconds within) {
  std::string got;
  const auto deadline = steady::now() + within;
  for (;;) {
    got += tty.read_pending();
    if (got.ends_with(wanted.answer)) return outcome::done;
    if (is_refusal(got)) return outcome::refused;
    if (has_ended()) return outcome::ended;
    if (steady::now() > deadline) return std::nullopt;
    pollfd readable = {tty.fd(), POLLIN, 0};
    ::poll(&readable, 1, static_cast<int>(LOOK.count()));
    if ((readable.revents & POLLHUP) == 0) continue;
    // The application opens its link again; a station's cable stays where it is.
    if (&tty == &m_phone.app() && m_phone.open_app(REOPEN_WAIT)) return std::nullopt;
    ::poll(nullptr, 0, static_cast<int>(LOOK.count()));
  }
}

outcome session::ask(handset::tty_end& tty, const request& wanted, const std::function<void(bool)>& look) {
  if (m_is_hung) return outcome::silent;
  int silences = 0;
  int refusals = 0;
  outcome result = outcome::silent;
  while (silences + refusals < TRIES && refusals < MOST_REFUSALS && result != outcome::done) {
    result = outcome::ended;
    if (has_ended()) break;
    tty.read_pending();
    tty.write_all(wanted.bytes, ANSWER_WAIT);
    result = listen(tty, wanted, ANSWER_WAIT).value_or(outcome::silent);
    if (result == outcome::ended) break;
    silences += result == outcome::silent ? 1 : 0;
    refusals += result == outcome::refused ? 1 : 0;
    if (look && result != outcome::silent) look(result == outcome::done);
  }
  m_was_smooth = silences + refusals == 0;
  m_was_silent = m_was_silent || silences > 0;
  m_was_refused_twice = m_was_refused_twice || refusals > 1;
  m_is_hung = result == outcome::silent;
  if (m_is_hung) find("hangs: no answer to " + wanted.name + ", however often asked");
  if (result == outcome::refused) find("refuses " + wanted.name + " for good");
  return result;
}

outcome session::write(handset::tty_end& tty, const request& wanted, const std::string& path,
                       const std::string& content, std::vector<std::string> others, bool is_modems_answer) {
  const std::string before = m_phone.read_file(path).value_or("");
  others.push_back(before);
  others.emplace_back("");
  const auto judge = [&](bool is_done) {
    const std::string now = m_phone.read_file(path).value_or("");
    if (now == content ||
        ((!is_done || is_modems_answer) && std::find(others.begin(), others.end(), now) != others.end()))
      return;
    find(wanted.name + (is_done ? " reports success, but " : " is refused, and ") + path + " holds \"" + visible(now) +
         "\"");
  };
  const outcome result = ask(tty, wanted, judge);
  if (result == outcome::ended || result == outcome::silent) judge(false);
  return result;
}

void session::end() {
  if (has_ended()) return;
  m_phone.send_signal(SIGTERM);
  if (!m_phone.wait_exit(END_WAIT)) find("hangs: SIGTERM does not end it in 5 s");
}

}  // namespace faults
