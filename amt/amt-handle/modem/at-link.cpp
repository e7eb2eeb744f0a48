#include "amt/amt-handle/modem/at-link.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <span>
#include <string_view>
#include <utility>

#include "amt/amt-cfg.h"
#include "amt/amt-handle/context/handle-context.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/state.h"
#include "amt/amt-handle/modem/answer.h"
#include "pub/result.h"
#include "pub/util/device.h"
#include "pub/util/io.h"

namespace {

constexpr std::string_view LINK_STATUS_OFF = "AT^DLKS=0\r";
constexpr std::uint32_t ANSWER_SECONDS = 5;
constexpr int ANSWER_TRIES = 5;
constexpr std::uint32_t REOPEN_TRIES = 30;
constexpr std::uint32_t REOPEN_PAUSE_MS = 1000;
constexpr std::uint32_t LOG_LIMIT = 1023;
constexpr std::uint32_t OWED_MS = 1000;           // for the rest of an answer, before the next command
constexpr std::uint32_t SILENCE_SECONDS = 10;     // of the modem, until the log says so
constexpr std::uint32_t LEFT_MS = 500;            // for the answer to an application that has left
constexpr std::uint32_t FOREVER_MS = UINT32_MAX;  // long enough, and asked again then
constexpr std::uint32_t DROP_MS = 200;
constexpr std::size_t DROP_LIMIT = std::size_t{64} * 1024;

using steady = std::chrono::steady_clock;

// The precision that prints a text of this length: in a log line, which has a limit, and on standard output.
int printable(std::uint32_t length) {
  return static_cast<int>(std::min(length, LOG_LIMIT));
}

int whole(std::uint32_t length) {
  return static_cast<int>(std::min(length, static_cast<std::uint32_t>(INT32_MAX)));
}

// Takes a piece of an answer. Gives it with the end of what came before it, valid until the next piece.
std::string_view append_to_tail(amt_at_exchange_st& exchange, std::string_view piece, std::span<char> joined) {
  const auto end = std::copy_n(exchange.m_tail_a.begin(), exchange.m_tail_len, joined.begin());
  const std::string_view text(joined.begin(), std::copy(piece.begin(), piece.end(), end));
  const std::string_view tail = text.substr(text.size() - std::min(text.size(), exchange.m_tail_a.size()));
  std::copy(tail.begin(), tail.end(), exchange.m_tail_a.begin());
  exchange.m_tail_len = static_cast<std::uint32_t>(tail.size());
  return text;
}

// A command is about to be written.
void start_exchange(std::string_view command) {
  auto& exchange = g_handle_context.m_at_exchange;
  exchange = {};
  exchange.m_is_owed = true;
  command = command.substr(0, std::min(command.find('\r'), exchange.m_command_a.size() - 1));
  std::copy(command.begin(), command.end(), exchange.m_command_a.begin());
}

// What was read may end the answer to the last command. Long answers are looked at piece by piece.
void pay(std::string_view received) {
  constexpr std::size_t PIECE = 256;
  char joined[PIECE + sizeof amt_at_exchange_st::m_tail_a];
  for (auto& exchange = g_handle_context.m_at_exchange; exchange.m_is_owed && !received.empty();) {
    const std::string_view text = append_to_tail(exchange, received.substr(0, PIECE), joined);
    if (amt_answer_is_ok(text) || amt_answer_is_whole_error(text)) exchange.m_is_owed = false;
    received.remove_prefix(std::min(received.size(), PIECE));
  }
}

// Reads what is there, or comes within the time. 0 when there is nothing, or the link has failed: its next use finds
// out.
std::size_t drop_once(int fd, std::uint32_t timeout_ms) {
  pollfd wanted[] = {{fd, POLLIN, 0}};
  if (pub_util_wait_any(wanted, timeout_ms) <= 0 || (wanted[0].revents & POLLIN) == 0) return 0;
  std::array<std::uint8_t, 1024> bytes;
  const ssize_t count = pub_util_read(fd, bytes.data(), bytes.size());
  if (count <= 0) return 0;
  const auto dropped = std::span(bytes).first(static_cast<std::size_t>(count));
  pub_log_dump(k_log, "drop from AT link: ", dropped);
  pay({reinterpret_cast<const char*>(dropped.data()), dropped.size()});
  return dropped.size();
}

std::uint32_t left_until(steady::time_point end) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - steady::now());
  return static_cast<std::uint32_t>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
}

// Whatever comes now was not asked for by the next command.
void drop_waiting(int fd) {
  std::size_t dropped = 0;
  const auto owed_end = steady::now() + std::chrono::milliseconds(OWED_MS);
  while (g_handle_context.m_at_exchange.m_is_owed && dropped < DROP_LIMIT) {
    const std::size_t count = drop_once(fd, left_until(owed_end));
    if (count == 0) break;
    dropped += count;
  }
  g_handle_context.m_at_exchange.m_is_owed = false;
  const auto drop_end = steady::now() + std::chrono::milliseconds(DROP_MS);
  while (dropped < DROP_LIMIT && left_until(drop_end) > 0) {
    const std::size_t count = drop_once(fd, 0);
    if (count == 0) break;
    dropped += count;
  }
  if (dropped > 0) LOG_WARNING("dropped %d bytes that waited on the AT link", static_cast<int>(dropped));
}

result_code_en write_link_status_off(int fd) {
  drop_waiting(fd);
  const int ready = pub_util_wait(fd, POLLOUT, ANSWER_SECONDS * 1000);
  if (ready == 0) {
    return pub_fail({k_log, "disable_unsolicited_code"}, ERR_TIMEOUT, "wait %d seconds to write time out",
                    static_cast<int>(ANSWER_SECONDS));
  }
  const ssize_t written = ready < 0 ? -1 : pub_util_write(fd, LINK_STATUS_OFF.data(), LINK_STATUS_OFF.size());
  if (written < 0) {
    return pub_fail_sys_call({k_log, "disable_unsolicited_code"}, ERR_SYSTEM, ready < 0 ? "select" : "write");
  }
  if (static_cast<std::size_t>(written) < LINK_STATUS_OFF.size()) {
    LOG_WARNING("write not completed: to write(%d) != written(%d)", static_cast<int>(LINK_STATUS_OFF.size()),
                static_cast<int>(written));
    return pub_fail({k_log, "disable_unsolicited_code"}, ERR_INCOMPLETE);
  }
  return ERR_NONE;
}

// One wait and read of the answer. ERR_NOT_HANDLED: nothing final yet.
result_code_en read_confirmation(int fd, int index) {
  char answer[20] = {};
  char joined[sizeof answer + sizeof amt_at_exchange_st::m_tail_a];
  timeval begin = {};
  timeval end = {};
  gettimeofday(&begin, nullptr);
  const int ready = pub_util_wait(fd, POLLIN, ANSWER_SECONDS * 1000);
  const ssize_t count = ready > 0 ? pub_util_read(fd, answer, sizeof answer - 2) : 0;
  gettimeofday(&end, nullptr);
  if (ready < 0 || count < 0) {
    return pub_fail_sys_call({k_log, "disable_unsolicited_code"}, ERR_SYSTEM, ready < 0 ? "select" : "read");
  }
  const std::string_view text = append_to_tail(g_handle_context.m_at_exchange, answer, joined);
  if (amt_answer_is_ok(text)) return ERR_NONE;
  if (amt_answer_is_silencing_error(text)) return pub_fail({k_log, "disable_unsolicited_code"}, ERR_FAIL);
  if (ready == 0) {
    LOG_LINE("read time out: %ld:%ld -> %ld:%ld", begin.tv_sec, begin.tv_usec, end.tv_sec, end.tv_usec);
  }
  LOG_LINE("(%ld/%ld)tries. buf_a: \"%s\"", static_cast<long>(index), static_cast<long>(ANSWER_TRIES), answer);
  return ERR_NOT_HANDLED;
}

// Opens the link anew. ERR_NONE when it can be used again, whatever the modem answered to the silencing.
result_code_en reopen_link(std::uint32_t tries, std::uint32_t pause_ms) {
  auto& fd = g_handle_context.m_fd_at;
  const result_code_en result = pub_util_try_to_open_device(&fd, g_amt_cfg.m_tty_at_mux_a, O_RDWR, tries, pause_ms);
  g_handle_context.m_is_at_lost = result != ERR_NONE;
  if (result != ERR_NONE) return result;
  return disable_unsolicited_code(fd) == ERR_TIMEOUT ? ERR_TIMEOUT : ERR_NONE;
}

// Repairs a link that was reset under a request: its device may need a while to come back.
result_code_en repair_link() {
  return reopen_link(REOPEN_TRIES, REOPEN_PAUSE_MS);
}

// A link that could not be repaired may have come back since. One look: a request does not wait for it again.
result_code_en find_lost_link() {
  if (!g_handle_context.m_is_at_lost) return ERR_NONE;
  return reopen_link(1, 0) == ERR_TIMEOUT ? ERR_TIMEOUT : ERR_NONE;
}

// Whether a failed transfer may be repaired: only a reset link, and only when there is a modem behind it.
bool is_repairable(int error) {
  return error == EIO && g_no_modem == 0;
}

// Logs a failed transfer of write_at or read_at. True when a repair is to be tried.
bool judge_failure(const char* function, const char* call, int error) {
  const bool is_to_repair = is_repairable(error);
  LOG_LINE("%s ret_val[%d]", function, is_to_repair ? ERR_SYSTEM : ERR_FAIL);
  errno = error;
  pub_log_sys_call(k_log, call);
  if (!is_to_repair) pub_log_failure({k_log, function}, ERR_FAIL);
  return is_to_repair;
}

// Logs a transfer that has failed after the repair, too.
result_code_en fail_again(const char* function, const char* call, ssize_t count) {
  if (count < 0) pub_log_sys_call(k_log, call);
  return pub_fail({k_log, function}, ERR_FAIL);
}

ssize_t write_link(const char* text, std::uint32_t length) {
  const int fd = g_handle_context.m_fd_at;
  drop_waiting(fd);
  start_exchange({text, length});
  const ssize_t written = pub_util_write(fd, text, length);
  if (written < 0) g_handle_context.m_at_exchange.m_is_owed = false;
  return written;
}

ssize_t read_link(char* buffer, std::uint32_t length) {
  const ssize_t count = pub_util_read(g_handle_context.m_fd_at, buffer, length);
  if (count > 0) pay({buffer, static_cast<std::size_t>(count)});
  return count;
}

void log_silence() {
  auto& exchange = g_handle_context.m_at_exchange;
  if (std::exchange(exchange.m_is_silence_logged, true)) return;
  LOG_WARNING("no answer from modem to \"%s\" for %d seconds, waiting on", exchange.m_command_a.data(),
              static_cast<int>(SILENCE_SECONDS));
}

// Waits until there is something to read: however long that takes, but an application that closes its terminal is not
// waited for.
result_code_en await_answer() {
  auto& context = g_handle_context;
  for (;;) {
    const bool has_left = context.m_has_app_left;
    const int app_fd = has_left ? -1 : int{context.m_pty_app.m_ptm_fd};
    // A link that has failed is ready at once: the read says what is wrong with it. No events of the application's: a
    // hang-up is always reported.
    pollfd wanted[] = {{context.m_fd_at, POLLIN, 0}, {app_fd > 0 ? app_fd : -1, 0, 0}};
    if (wanted[0].fd <= 0) return ERR_NONE;
    const std::uint32_t patience = context.m_at_exchange.m_is_silence_logged ? FOREVER_MS : SILENCE_SECONDS * 1000;
    const int ready = pub_util_wait_any(wanted, has_left ? LEFT_MS : patience);
    if (ready < 0 || wanted[0].revents != 0) return ERR_NONE;
    if (ready > 0) {
      context.m_has_app_left = true;
    } else if (has_left) {
      return pub_fail({k_log, "read_at"}, ERR_FAIL, "the application has left, the modem is silent");
    } else {
      log_silence();
    }
  }
}

result_code_en finish_read(const char* buffer, ssize_t count, std::uint32_t* read_length) {
  *read_length = static_cast<std::uint32_t>(count);
  LOG_LINE("read_at ret_val[%d]", ERR_NONE);
  LOG_LINE("receive <== %.*s", printable(*read_length), buffer);
  return ERR_NONE;
}

}  // namespace

void amt_at_take_final_result() {
  g_handle_context.m_at_exchange.m_is_owed = false;
}

result_code_en disable_unsolicited_code(int fd) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments({k_log, 636}, {fd < 1})) return ERR_ARGUMENT;
  const result_code_en sent = write_link_status_off(fd);
  if (sent != ERR_NONE) return sent;
  start_exchange(LINK_STATUS_OFF);
  for (int index = 0; index < ANSWER_TRIES; ++index) {
    const result_code_en result = read_confirmation(fd, index);
    if (result == ERR_NOT_HANDLED) continue;
    g_handle_context.m_at_exchange.m_is_owed = false;
    return result;
  }
  return pub_fail(k_log, ERR_TIMEOUT);
}

result_code_en write_at(const char* text, std::uint32_t length) {
  pub_log_entry(k_log);
  pub_print("[%s:L%d]write_at: %.*s\n", __func__, __LINE__, text == nullptr ? 0 : whole(length),
            text == nullptr ? "" : text);
  if (pub_log_bad_arguments({k_log, 931}, {text == nullptr, length == 0})) return ERR_ARGUMENT;
  const result_code_en found = find_lost_link();
  if (found != ERR_NONE) return found;
  const ssize_t written = write_link(text, length);
  const int error = errno;
  pub_print("[%s]write_at return:%d\n", __func__, static_cast<int>(written));
  LOG_LINE("write_at write_len[%d]", static_cast<int>(written));
  if (written >= 0) {
    LOG_LINE("write_at ret_val[%d]", ERR_NONE);
    LOG_LINE("send ==> %.*s", printable(length), text);
    return ERR_NONE;
  }
  if (!judge_failure(__func__, "write", error)) return ERR_FAIL;
  const result_code_en repaired = repair_link();
  if (repaired != ERR_NONE) return repaired;
  const ssize_t again = write_link(text, length);
  if (again != static_cast<ssize_t>(length)) return fail_again(__func__, "write", again);
  LOG_LINE("send ==> %.*s", printable(length), text);
  return ERR_NONE;
}

result_code_en read_at(char* buffer, std::uint32_t length, std::uint32_t* read_length) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments({k_log, 1045}, {buffer == nullptr, length == 0, read_length == nullptr}))
    return ERR_ARGUMENT;
  *read_length = 0;
  pub_print("[%s]read_at\n", __func__);
  const result_code_en awaited = await_answer();
  if (awaited != ERR_NONE) return awaited;
  const ssize_t count = read_link(buffer, length);
  const int error = errno;
  const auto shown = static_cast<std::uint32_t>(std::max(count, ssize_t{0}));
  pub_print("[%s]read_at return:%.*s\n", __func__, whole(shown), buffer);
  LOG_LINE("read_at read_len_ptr[%d] buf_ptr[%.*s]", static_cast<int>(count), printable(shown), buffer);
  if (count >= 0) return finish_read(buffer, count, read_length);

  if (!judge_failure(__func__, "read", error)) return ERR_FAIL;
  auto exchange = g_handle_context.m_at_exchange;
  const result_code_en repaired = repair_link();
  if (repaired != ERR_NONE) return repaired;
  exchange.m_tail_len = 0;  // the new link knows nothing of the old one's answer, but of the command it may
  g_handle_context.m_at_exchange = exchange;
  const int ready = pub_util_wait(g_handle_context.m_fd_at, POLLIN, ANSWER_SECONDS * 1000);
  if (ready == 0) {
    return pub_fail(k_log, ERR_FAIL, "wait %d seconds to read time out", static_cast<int>(ANSWER_SECONDS));
  }
  const ssize_t again = ready < 0 ? -1 : read_link(buffer, length);
  return again > 0 ? finish_read(buffer, again, read_length) : fail_again(__func__, "read", again);
}
