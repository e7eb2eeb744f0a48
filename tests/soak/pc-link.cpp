#include "tests/soak/pc-link.h"

#include <algorithm>
#include <filesystem>

namespace soak {

namespace {

constexpr std::uint8_t VERSION = 45;
constexpr std::uint8_t TEST_RESULT = 91;
constexpr std::uint8_t GPS_TEST = 176;
constexpr std::uint8_t WRITE_IMEI = 5;
constexpr std::uint8_t WRITE_BOARD = 87;
constexpr std::uint8_t BLUETOOTH_ON = 170;
constexpr std::size_t ENVELOPE_HEAD = 12;
constexpr std::string_view MAGIC = "\xAA\xBB\xCC\xDD";
constexpr std::string_view FINAL_TEXTS[] = {"\r\nOK\r\n", "\r\nERROR\r\n", "\r\n+CME ERROR: 100\r\n"};
constexpr std::size_t LONGEST_TEXT = 4096;
const std::string PRE_RESPONSE("\xAA\xBB\xCC\xDD\x08\0\0\0\x02\x02\0\0\x76\x4A\xEE\x1D", 16);

bool is_final(std::string_view text) {
  return std::any_of(std::begin(FINAL_TEXTS), std::end(FINAL_TEXTS),
                     [text](std::string_view end) { return text.ends_with(end); });
}

}  // namespace

pc_link::item pc_link::take() {
  const char first = read(1)[0];
  if (first == MAGIC[0]) return take_frame();
  if (first == '\r') return take_text();
  throw failure("a byte that begins nothing: " + show({&first, 1}) + show(tty().read_pending()));
}

pc_link::item pc_link::take_frame() {
  std::string block = MAGIC[0] + read(ENVELOPE_HEAD - 1);
  if (!block.starts_with(MAGIC)) throw failure("a damaged frame: " + show(block));
  const auto length = static_cast<std::uint8_t>(block[4]) + 256u * static_cast<std::uint8_t>(block[5]);
  block += read(length + 8 - ENVELOPE_HEAD);
  if (block == PRE_RESPONSE) return {item_kind::PRE_RESPONSE, block};
  return {item_kind::FRAME, std::string(unwrap(block))};
}

pc_link::item pc_link::take_text() {
  std::string text = "\r";
  while (!is_final(text)) {
    if (text.size() == LONGEST_TEXT) throw failure("a text without an end: " + show(text));
    text += read(1);
  }
  return {item_kind::TEXT, text};
}

pc_link::item pc_link::take(item_kind wanted) {
  item found = take();
  if (found.kind != wanted) throw failure("another kind of answer: " + show(found.bytes));
  return found;
}

void pc_link::take_answer(std::uint8_t id, bool has_to_work) {
  const answer found = take_apart(take(item_kind::FRAME).bytes);
  if (found.id != id) throw failure("an answer with id " + std::to_string(found.id));
  judge_result(found, has_to_work);
}

void pc_link::take_answer_of(std::uint8_t request_id, bool has_to_work) {
  const auto answer_id = static_cast<std::uint8_t>(request_id == GPS_TEST ? 175 : request_id + 1);
  if (request_id == VERSION) {
    // Announced only when the service answers it itself.
    item first = take();
    if (first.kind == item_kind::PRE_RESPONSE) first = take(item_kind::FRAME);
    if (first.kind != item_kind::FRAME) throw failure("text instead of a version: " + show(first.bytes));
    const answer found = take_apart(first.bytes);
    if (found.id != answer_id) throw failure("an answer with id " + std::to_string(found.id));
    return judge_result(found, has_to_work);
  }
  if (is_registered_for_pc(request_id) && request_id != TEST_RESULT) take(item_kind::PRE_RESPONSE);
  take_answer(answer_id, has_to_work);
}

void pc_link::take_text_answer(const text_row& row, bool has_to_work) {
  const item found = take();
  if (found.kind == item_kind::TEXT) {
    if (has_to_work && !found.bytes.ends_with(FINAL_TEXTS[0])) throw failure("refused: " + show(found.bytes));
    return;
  }
  if (has_to_work || row.who == answered_by::MODEM || found.kind != item_kind::FRAME) {
    throw failure("no text: " + show(found.bytes));
  }
  const answer error = take_apart(found.bytes);
  if (error.id != 0 || error.result() != 1u) throw failure("no error frame: " + show(found.bytes));
}

void pc_link::ask_known() {
  send(wrapped(bare({GPS_TEST, {}})));
  take_answer_of(GPS_TEST, true);
}

void pc_link::ask(const frame_row& row, bool has_to_work) {
  send(wrapped(bare(make_request(m_random, row.id, row.atoms))));
  take_answer_of(row.id, has_to_work);
}

void pc_link::ask(const text_row& row, bool has_to_work) {
  send(fill_digits(m_random, row.text));
  take_text_answer(row, has_to_work);
}

void pc_link::ask_every_row() {
  for (const frame_row& row : pc_rows()) {
    m_faults.heal();  // gives the right to write addresses back
    ask(row, true);
  }
  for (const text_row& row : text_rows()) {
    m_faults.heal();
    ask(row, row.is_steady);
  }
}

void pc_link::switch_bluetooth_on() {
  send(wrapped(bare({BLUETOOTH_ON, {}})));
  take(item_kind::PRE_RESPONSE);
  for (int half = 0; half < 2; ++half) take_answer(BLUETOOTH_ON + 1, true);
}

// An id that only the modem knows, and for which nothing is recorded.
std::uint8_t pc_link::foreign_id() {
  for (;;) {
    const std::uint8_t id = m_random.byte();
    if (!is_registered_for_pc(id) && id != WRITE_IMEI && id != WRITE_BOARD) return id;
  }
}

std::string pc_link::foreign_frame(std::uint8_t id) {
  request wanted{id, {}};
  damage_atoms(m_random, wanted);
  return wrapped(bare(wanted));
}

const frame_row& pc_link::pick_service_row() {
  for (;;) {
    const frame_row& row = pick_fast(pc_rows());
    if (row.id != VERSION) return row;
  }
}

void pc_link::ask_modem() {
  const std::uint8_t id = foreign_id();
  send(foreign_frame(id));
  take_answer(static_cast<std::uint8_t>(id + 1), has_to_work(true));
}

// The modem's confirmation writes a record.
void pc_link::write_identity() {
  const bool is_imei = m_random.once_in(2);
  send(wrapped(bare(make_request(m_random, is_imei ? WRITE_IMEI : WRITE_BOARD,
                                 is_imei ? "21:s=86012345678901#" : "38:s=board-####"))));
  take_answer((is_imei ? WRITE_IMEI : WRITE_BOARD) + 1, has_to_work(true));
}

void pc_link::damage_the_atoms() {
  const frame_row& row = pick_fast(pc_rows());
  request wanted = make_request(m_random, row.id, row.atoms);
  damage_atoms(m_random, wanted);
  send(wrapped(bare(wanted)));
  take_answer_of(row.id, false);
}

// Neither checksum nor envelope nor head are looked at on input.
void pc_link::damage_the_checksum() {
  const frame_row& row = pick_service_row();
  std::string block = wrapped(bare(make_request(m_random, row.id, row.atoms)));
  block.replace(block.size() - 4, 4, m_random.bytes(4));
  send(block);
  take_answer_of(row.id, has_to_work(row.is_steady));
}

void pc_link::damage_the_envelope() {
  const frame_row& row = pick_service_row();
  std::string block = wrapped(bare(make_request(m_random, row.id, row.atoms)));
  block.replace(4, 8, m_random.bytes(8));
  send(block);
  take_answer_of(row.id, has_to_work(row.is_steady));
}

void pc_link::damage_the_head() {
  const frame_row& row = pick_service_row();
  std::string frame = bare(make_request(m_random, row.id, row.atoms));
  frame.replace(m_random.once_in(2) ? 0 : 4, 2, m_random.bytes(2));
  send(wrapped(frame));
  take_answer_of(row.id, false);
}

// The modem waits for the rest of the frame until it loses patience, and sends nothing.
void pc_link::lie_to_the_modem() {
  set_patience(std::chrono::milliseconds(1));
  const auto before = m_phone.simulated_modem().state().noise_bytes;
  std::string block = wrapped(bare({foreign_id(), {}}) + m_random.noise(m_random.below(40)));
  block.replace(4, 2, std::string("\0\x08", 2));
  block.replace(block.size() - 4, 4, m_random.noise(4));
  send(block);
  const auto deadline = std::chrono::steady_clock::now() + ANSWER_WAIT;
  while (m_phone.simulated_modem().state().noise_bytes < before + block.size()) {
    if (std::chrono::steady_clock::now() > deadline) throw failure("the modem waits for ever");
  }
  set_patience(USUAL_PATIENCE);
  ask_known();
}

// A block without an answer: the next one must not become part of it.
void pc_link::send_to_modem(const std::string& block) {
  const std::size_t before = seen_by_modem(handset::modem_link::data);
  send(block);
  wait_seen_by_modem(handset::modem_link::data, before + block.size());
}

void pc_link::make_noise() {
  send_to_modem(m_random.noise(m_random.between(1, 600)));
  ask_known();
}

void pc_link::send_unknown_text() {
  std::string text = "AT+";
  const std::size_t length = m_random.once_in(20) ? m_random.between(500, 1000) : m_random.below(40);
  while (text.size() < length) text += static_cast<char>('B' + m_random.below(25));
  send(text + "\r");
  take(item_kind::TEXT);
}

// Every read is a block of its own: the first piece is the request, without what it lacks. The rest goes to the modem
// and means nothing to it. Here other bytes replace the rest, which cannot look like the beginning of a request.
void pc_link::cut_for_service() {
  const frame_row& row = pick_service_row();
  const std::string block = wrapped(bare(make_request(m_random, row.id, row.atoms)));
  const std::size_t cut = m_random.between(17, block.size() - 1);
  send(block.substr(0, cut));
  take_answer_of(row.id, false);
  send_to_modem(m_random.noise(block.size() - cut));
  ask_known();
}

// A piece that is too short for a frame goes to the modem, and the rest after it: there they are one again.
void pc_link::cut_for_modem() {
  set_patience(ANSWER_WAIT);
  const std::uint8_t id = foreign_id();
  const std::string block = foreign_frame(id);
  const std::size_t cut = m_random.between(1, 16);
  send_to_modem(block.substr(0, cut));
  send(block.substr(cut));
  take_answer(static_cast<std::uint8_t>(id + 1), has_to_work(true));
  set_patience(USUAL_PATIENCE);
}

// The service sees the first of two requests in one block.
void pc_link::join_for_service() {
  const frame_row& first = pick_service_row();
  const frame_row& second = pick_fast(pc_rows());
  send(wrapped(bare(make_request(m_random, first.id, first.atoms))) +
       wrapped(bare(make_request(m_random, second.id, second.atoms))));
  take_answer_of(first.id, has_to_work(first.is_steady));
  ask_known();
}

// The modem sees both.
void pc_link::join_for_modem() {
  const std::uint8_t first = foreign_id();
  const std::uint8_t second = m_random.once_in(2) ? foreign_id() : GPS_TEST;
  send(foreign_frame(first) + foreign_frame(second));
  take_answer(static_cast<std::uint8_t>(first + 1), has_to_work(true));
  take_answer(static_cast<std::uint8_t>(second + 1), has_to_work(true));
}

void pc_link::join_texts() {
  const bool is_for_service = m_random.once_in(2);
  send(is_for_service ? "AT^DGSN?\rAT^DSVER\r" : "AT^DGSN?\rAT^DTOC\r");
  take(item_kind::TEXT);
  if (!is_for_service) take(item_kind::TEXT);
}

void pc_link::let_modem_speak() {
  static const std::string REPORT = "\r\n+CREG: 1\r\n";
  m_phone.simulated_modem().say(REPORT);
  if (read(REPORT.size()) != REPORT) throw failure("not what the modem said");
}

void pc_link::silence_modem() {
  handset::modem& modem = m_phone.simulated_modem();
  modem.change_switches([](handset::modem_switches& switches) { switches.silent = true; });
  send_to_modem(m_random.once_in(2) ? "AT^DTOC\r" : foreign_frame(foreign_id()));
  modem.change_switches([](handset::modem_switches& switches) { switches.silent = false; });
  ask_known();
}

// The block that finds the link dead is lost. A probe can be: that the service has it is seen from the charger, which
// it switches when text follows a frame.
void pc_link::hang_modem_up() {
  ask_known();
  const auto calls = m_phone.host_path("/data/board/calls");
  const auto before = std::filesystem::file_size(calls);
  m_phone.unplug_modem();
  m_phone.plug_modem();
  send("AT\r");
  const auto deadline = std::chrono::steady_clock::now() + ANSWER_WAIT;
  while (std::filesystem::file_size(calls) == before) {
    if (std::chrono::steady_clock::now() > deadline) throw failure("the probe is not seen");
  }
  ask_known();
  send("AT^DTOC\r");
  take(item_kind::TEXT);
}

void pc_link::add_rows(std::vector<job>& jobs) {
  for (const frame_row& row : pc_rows()) {
    // Nothing but a record write is asked with these ids.
    const bool is_only_record = row.id == 219 || row.id == 226;
    jobs.push_back({"request " + std::to_string(row.id) + " " + row.atoms,
                    share_of(row.cost) * (is_only_record ? 2 : 1), 2,
                    [this, &row] { ask(row, has_to_work(row.is_steady)); }});
  }
  for (const text_row& row : text_rows()) {
    jobs.push_back({row.text, share_of(row.cost), 1, [this, &row] { ask(row, has_to_work(row.is_steady)); }});
  }
}

void pc_link::add_modem_jobs(std::vector<job>& jobs) {
  jobs.push_back({"request for the modem", 0, 20, [this] { ask_modem(); }});
  jobs.push_back({"identity for the modem", 20, 0, [this] { write_identity(); }});
  jobs.push_back({"the modem speaks", 0, 1, [this] { let_modem_speak(); }});
  jobs.push_back({"the modem is silent", 50, 0, [this] { silence_modem(); }});
  jobs.push_back({"the modem hangs up", 25, 0, [this] { hang_modem_up(); }});
}

void pc_link::add_damaged(std::vector<job>& jobs) {
  jobs.push_back({"damaged atoms", 0, 8, [this] { damage_the_atoms(); }});
  jobs.push_back({"damaged checksum", 0, 3, [this] { damage_the_checksum(); }});
  jobs.push_back({"damaged envelope", 0, 3, [this] { damage_the_envelope(); }});
  jobs.push_back({"damaged head", 0, 3, [this] { damage_the_head(); }});
  jobs.push_back({"lying length for the modem", 50, 0, [this] { lie_to_the_modem(); }});
  jobs.push_back({"noise", 0, 2, [this] { make_noise(); }});
  jobs.push_back({"unknown text", 0, 3, [this] { send_unknown_text(); }});
  jobs.push_back({"request in two blocks", 0, 3, [this] { cut_for_service(); }});
  jobs.push_back({"request for the modem in two blocks", 0, 3, [this] { cut_for_modem(); }});
  jobs.push_back({"two requests in a block", 0, 3, [this] { join_for_service(); }});
  jobs.push_back({"two requests for the modem in a block", 0, 3, [this] { join_for_modem(); }});
  jobs.push_back({"two texts in a block", 0, 2, [this] { join_texts(); }});
}

std::vector<job> pc_link::jobs() {
  std::vector<job> jobs;
  add_rows(jobs);
  add_modem_jobs(jobs);
  add_damaged(jobs);
  return jobs;
}

}  // namespace soak
