#include "tests/fuzz/phone.h"

#include <android/log.h>
#include <sys/socket.h>

#include <array>
#include <tuple>

#include "amt/amt-device/display.h"
#include "amt/amt-device/misc-library.h"
#include "amt/amt-device/wifi.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/state.h"
#include "amt/amt-handle/pc/capture.h"
#include "amt/amt-handle/service/registrations.h"
#include "capture/stream.h"
#include "pub/result.h"
#include "tests/fuzz/outside.h"

namespace {

// A socket pair; the service has the first end.
struct link_st {
  explicit link_st(int type) { FUZZ_CHECK(socketpair(AF_UNIX, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, m_ends) == 0); }
  int m_ends[2];

  std::vector<std::uint8_t> drain(int end = 1) const {
    std::vector<std::uint8_t> bytes;
    std::array<std::uint8_t, 2 * AMT_FRAME_SIZE> piece;
    for (;;) {
      const ssize_t count = recv(m_ends[end], piece.data(), piece.size(), 0);
      if (count <= 0) return bytes;
      bytes.insert(bytes.end(), piece.begin(), piece.begin() + count);
    }
  }
};

struct links_st {
  link_st m_pc{SOCK_STREAM};
  link_st m_app{SOCK_STREAM};
  link_st m_modem{SOCK_STREAM};
  link_st m_at{SOCK_SEQPACKET};  // keeps the pieces in which the modem answers
};

links_st& links() {
  static links_st all;
  return all;
}

constexpr std::uint8_t UNTOUCHED = 0xA5;

// What the modem has still to say.
struct answer_st {
  fuzz_bytes m_rest;
  std::size_t m_piece;
};
answer_st g_answer;

bool say_piece() {
  const fuzz_bytes part = g_answer.m_rest.first(std::min(g_answer.m_piece, g_answer.m_rest.size()));
  g_answer.m_rest = g_answer.m_rest.subspan(part.size());
  return !part.empty() && send(links().m_at.m_ends[1], part.data(), part.size(), 0) > 0;
}

bool answer_on() {
  const bool is_said = say_piece();
  if (is_said && g_answer.m_rest.size() % 3 == 0) say_piece();
  return is_said;
}

void take_no_log(const __android_logger_data*, const char*) {}

}  // namespace

// Every log line is formatted, so that a bad argument of one is a finding, and goes nowhere.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  __android_log_set_logger(take_no_log);
  __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
  FUZZ_CHECK(std::freopen("/dev/null", "w", stdout) != nullptr);
  fuzz_outside_check();
  amt_device_init_library_paths();
  return 0;
}

fuzz_phone::fuzz_phone(std::uint8_t faults, fuzz_bytes file) {
  g_fuzz_outside = {faults, file, nullptr};
  links_st& all = links();
  amt_handle_clear_context();
  m_context.m_fd_pc.take(pub_fd(all.m_pc.m_ends[0]));
  m_context.m_pty_app.m_ptm_fd.take(pub_fd(all.m_app.m_ends[0]));
  const bool has_modem = (faults & FUZZ_NO_MODEM) == 0;
  m_context.m_fd_modem.take(pub_fd(has_modem ? all.m_modem.m_ends[0] : 0));
  m_context.m_fd_at.take(pub_fd(has_modem ? all.m_at.m_ends[0] : 0));
  m_context.m_modem_receive.m_buf_a.fill(UNTOUCHED);
  g_no_modem = 0;
  g_amt_mode = 0;
  g_wifi_is_running = 0;
  g_wifi_rtx_rx_channel = 0;
  g_src_lcd_brightness = -1;
  handle_amt_clear_capture();
}

// The modem reader's record belongs to no other thread, and no record holds more than fits.
fuzz_phone::~fuzz_phone() {
  const auto& bytes = m_context.m_modem_receive.m_buf_a;
  FUZZ_CHECK(m_context.m_modem_receive.m_buf_len == 0);
  FUZZ_CHECK(std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte == UNTOUCHED; }));
  for (const auto* message : {&m_context.m_request, &m_context.m_response, &m_context.m_request_copy,
                              &m_context.m_at_request, &m_context.m_at_response}) {
    FUZZ_CHECK(message->m_buf_len <= AMT_FRAME_SIZE);
  }
  FUZZ_CHECK(m_context.m_at_command.m_buf_len <= AMT_FRAME_SIZE && m_context.m_at_receive.m_buf_len <= AMT_FRAME_SIZE);
  for (const link_st* link : {&links().m_pc, &links().m_app, &links().m_modem, &links().m_at}) {
    link->drain(0);
    link->drain(1);
  }
}

void fuzz_phone::answer(fuzz_bytes text, std::size_t piece) {
  g_answer = {text, piece};
  g_fuzz_outside.m_answer_on = answer_on;
}

std::vector<std::uint8_t> fuzz_phone::sent_to_pc() {
  return links().m_pc.drain();
}

std::vector<std::uint8_t> fuzz_phone::sent_to_app() {
  return links().m_app.drain();
}

std::vector<std::uint8_t> fuzz_phone::sent_to_modem() {
  return links().m_modem.drain();
}

void fuzz_register_handlers() {
  static handle_context_st registered;  // the registration logs every row: once is enough
  auto& context = g_handle_context;
  if (registered.m_handle_pc_func_a[45] == nullptr) {
    for (const auto& row : amt_handle_registrations()) {
      std::ignore = amt_handle_reg_handle_func(row.m_link, row.m_request_id, row.m_handler, row.m_pre_response);
    }
    registered.m_handle_pc_func_a = context.m_handle_pc_func_a;
    registered.m_handle_app_func_a = context.m_handle_app_func_a;
  }
  context.m_handle_pc_func_a = registered.m_handle_pc_func_a;
  context.m_handle_app_func_a = registered.m_handle_app_func_a;
}

bool fuzz_is_result_code(std::int32_t result) {
  constexpr std::int32_t CODES[] = {ERR_NONE,     ERR_WRITE,   ERR_FAIL,   ERR_ARGUMENT,  ERR_NOT_HANDLED,
                                    ERR_NO_MODEM, ERR_TIMEOUT, ERR_SYSTEM, ERR_INCOMPLETE};
  return std::find(std::begin(CODES), std::end(CODES), result) != std::end(CODES);
}

void fuzz_check_frames(fuzz_bytes sent) {
  while (!sent.empty()) {
    FUZZ_CHECK(sent.size() >= AMT_FRAME_HEAD_SIZE);
    amt_frame_st frame{};
    std::copy_n(sent.begin(), std::min(sent.size(), frame.size()), frame.begin());
    const std::size_t length = amt_frame_total_length(&frame);
    FUZZ_CHECK(frame[2] == AMT_COMMAND_HEAD && length <= sent.size());
    FUZZ_CHECK(length == AMT_FRAME_HEAD_SIZE + amt_frame_data_length(&frame));
    std::size_t offset = AMT_FRAME_HEAD_SIZE;
    while (offset < length) {
      const auto atom = amt_frame_atom_at(&frame, offset);
      FUZZ_CHECK(atom);
      offset += AMT_ATOM_HEAD_SIZE + atom->m_length;
    }
    FUZZ_CHECK(offset == length);
    sent = sent.subspan(length);
  }
}

void fuzz_check_stream(fuzz_bytes sent) {
  const stream_sink sink = [](const stream_item_st& item) {
    FUZZ_CHECK(item.m_fault == stream_fault_en::NONE);
    FUZZ_CHECK(item.m_kind == stream_kind_en::FRAME || item.m_kind == stream_kind_en::PRE_RESPONSE);
  };
  stream_splitter_st splitter;
  splitter.feed(sent, sink);
  splitter.flush(sink);
}
