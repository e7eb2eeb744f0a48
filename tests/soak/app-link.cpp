#include "tests/soak/app-link.h"

#include <algorithm>
#include <sstream>

namespace soak {

namespace {

constexpr std::uint8_t READ_IMEI = 7;
constexpr std::uint8_t LCD_COLOUR = 29;
constexpr std::uint8_t LCD_BRIGHTNESS = 57;
constexpr std::uint8_t WRITE_RESULT = 91;
constexpr std::uint8_t SIM_CHECK = 99;
constexpr std::uint8_t BLUETOOTH_ON = 170;
constexpr std::uint8_t GPS_TEST = 176;
constexpr std::uint8_t TO_AMT = 195;
constexpr std::uint8_t DSP_INDICATION = 221;
constexpr std::uint8_t SWITCH_CHANNEL = 232;
constexpr std::uint8_t ATOM_SIM = 41;
constexpr std::size_t HEAD = 6;
constexpr std::size_t ID_AT = 3;
constexpr std::string_view READ_IMEI_TEXT = "AT^DGSN?\r";

std::uint8_t id_of(std::string_view block) {
  return block.size() > ID_AT ? static_cast<std::uint8_t>(block[ID_AT]) : std::uint8_t{0};
}

// Ids that no block may have by chance: two end or double the service, and one carries text to the modem, which is
// silent when that text holds control characters.
bool is_barred(std::uint8_t id) {
  return id == BLUETOOTH_ON || id == TO_AMT || id == WRITE_RESULT;
}

bool is_answer(std::uint8_t request_id, std::uint8_t id) {
  if (request_id == GPS_TEST) return id == 175;
  if (request_id == DSP_INDICATION && id == DSP_INDICATION) return true;  // the modem's own word; errors are as usual
  return id == static_cast<std::uint8_t>(request_id + 1);
}

}  // namespace

answer app_link::take() {
  std::string frame = read(HEAD);
  const auto length = static_cast<std::uint8_t>(frame[0]) + 256u * static_cast<std::uint8_t>(frame[1]);
  if (length < HEAD) throw failure("no frame: " + show(frame) + show(tty().read_pending()));
  if (length > HEAD) frame += read(length - HEAD);
  return take_apart(frame);
}

bool app_link::take_answer(std::uint8_t request_id, bool has_to_work) {
  const answer found = take();
  if (!is_answer(request_id, found.id)) throw failure("an answer with id " + std::to_string(found.id));
  if (request_id == SIM_CHECK && found.find(ATOM_SIM) != nullptr && !found.result()) return true;
  judge_result(found, has_to_work);
  return found.result() == 0u;
}

// A modem that answers in pieces may leave a rest, which the next request must not meet: a radio request is answered at
// the modem's "OK" although its line end is still to come, and a channel switch is judged by one read; and a radio
// request whose answer means nothing is over before the modem's final result.
void app_link::ask_block(const std::string& block, bool has_to_work) {
  const bool is_in_pieces = m_faults.is_broken("modem in pieces");
  m_may_have_leftovers = m_may_have_leftovers || is_in_pieces;
  if (id_of(block) == SWITCH_CHANNEL && m_may_have_leftovers) hang_modem_up();
  if (id_of(block) == LCD_BRIGHTNESS && m_faults.is_broken("screen light")) return send_in_vain(block);
  send(block);
  const bool is_done = take_answer(id_of(block), has_to_work);
  if (is_in_pieces && !is_done) hang_modem_up();
}

// A block without an answer: the next one must not become part of it.
void app_link::send_in_vain(const std::string& block) {
  const std::size_t before = read_by_service();
  send(block);
  const auto deadline = std::chrono::steady_clock::now() + ANSWER_WAIT;
  while (read_by_service() < before + block.size()) {
    if (std::chrono::steady_clock::now() > deadline) throw failure("the block is not read");
  }
  ask_known();
}

std::size_t app_link::read_by_service() {
  std::istringstream counters(
      m_phone.exec({"/bin/cat", "/proc/" + std::to_string(m_phone.service().pid()) + "/io"}).out);
  std::string name;
  std::size_t bytes = 0;
  if (!(counters >> name >> bytes) || name != "rchar:") throw failure("the kernel does not report what was read");
  return bytes;
}

// The next answer must be the one to this.
void app_link::ask_known() {
  send(bare({LCD_COLOUR, {}}));
  take_answer(LCD_COLOUR, true);
}

void app_link::ask(const frame_row& row, bool has_to_work) {
  ask_block(bare(make_request(m_random, row.id, row.atoms)), has_to_work);
}

void app_link::ask_every_row() {
  for (const frame_row& row : app_rows()) {
    m_faults.heal();  // gives the right to write addresses back
    ask(row, true);
  }
}

void app_link::switch_bluetooth_on() {
  send(bare({BLUETOOTH_ON, {}}));
  for (int half = 0; half < 2; ++half) take_answer(BLUETOOTH_ON, true);
}

const frame_row& app_link::pick_damageable() {
  for (;;) {
    const frame_row& row = pick_fast(app_rows());
    if (!is_barred(row.id)) return row;
  }
}

void app_link::damage_the_atoms() {
  const frame_row& row = pick_damageable();
  request wanted = make_request(m_random, row.id, row.atoms);
  damage_atoms(m_random, wanted);
  ask_block(bare(wanted), false);
}

void app_link::damage_the_head() {
  const frame_row& row = pick_damageable();
  std::string frame = bare(make_request(m_random, row.id, row.atoms));
  frame.replace(m_random.below(3) * 2, 2, m_random.bytes(2));
  if (!is_barred(id_of(frame))) ask_block(frame, false);
}

void app_link::ask_unknown() {
  const auto rows = app_rows();
  const std::uint8_t id = m_random.byte();
  const bool is_known = std::any_of(rows.begin(), rows.end(), [id](const frame_row& row) { return row.id == id; });
  if (is_known || is_barred(id)) return ask_unknown();
  request wanted{id, {}};
  damage_atoms(m_random, wanted);
  ask_block(bare(wanted), false);
}

void app_link::make_noise() {
  const std::string noise = m_random.bytes(m_random.between(1, 600));
  if (!is_barred(id_of(noise))) ask_block(noise, false);
}

// Every read is a block of its own, and so a request.
void app_link::cut() {
  const frame_row& row = pick_damageable();
  const std::string frame = bare(make_request(m_random, row.id, row.atoms));
  const std::size_t at = m_random.between(1, frame.size() - 1);
  if (is_barred(id_of(frame.substr(at)))) return ask_known();
  ask_block(frame.substr(0, at), false);
  ask_block(frame.substr(at), false);
}

// The service sees only the first of two requests in one block.
void app_link::join() {
  const frame_row& first = pick_damageable();
  const frame_row& second = pick_fast(app_rows());
  ask_block(bare(make_request(m_random, first.id, first.atoms)) + bare(make_request(m_random, second.id, second.atoms)),
            false);
  ask_known();
}

// The answer comes as soon as the modem sends something.
void app_link::silence_modem() {
  constexpr auto AT = handset::modem_link::at;
  handset::modem& modem = m_phone.simulated_modem();
  modem.change_switches([](handset::modem_switches& switches) { switches.silent = true; });
  const std::size_t before = seen_by_modem(AT);
  send(bare({READ_IMEI, {}}));
  wait_seen_by_modem(AT, before + READ_IMEI_TEXT.size());
  modem.change_switches([](handset::modem_switches& switches) { switches.silent = false; });
  modem.say("\r\nOK\r\n", AT);
  take_answer(READ_IMEI, false);
}

// The service notices by its next command, and repairs the link before it goes on with that. Not while it still waits
// for the end of an answer, which would never come.
void app_link::hang_modem_up() {
  ask_known();
  m_faults.heal_modem();
  m_phone.unplug_at();
  m_phone.plug_at();
  m_may_have_leftovers = false;
  send(bare({SIM_CHECK, {}}));
  take_answer(SIM_CHECK, true);
}

// Whoever opens the link too soon has the old terminal, and loses it.
void app_link::reopen() {
  const auto deadline = std::chrono::steady_clock::now() + ANSWER_WAIT;
  const std::string known = bare({LCD_COLOUR, {}});
  const std::string answered = bare({LCD_COLOUR + 1, {{1, 1, 4, std::string(4, '\0')}}});
  m_last_block = known;
  do {
    if (std::chrono::steady_clock::now() > deadline) throw failure("the link does not come back");
    m_phone.close_app();
    if (!m_phone.open_app(ANSWER_WAIT)) throw failure("there is no new terminal");
    tty().write_all(known, ANSWER_WAIT);
  } while (tty().read_exactly(answered.size(), ANSWER_WAIT) != answered);
}

void app_link::add_damaged(std::vector<job>& jobs) {
  jobs.push_back({"damaged atoms", 0, 10, [this] { damage_the_atoms(); }});
  jobs.push_back({"damaged head", 0, 4, [this] { damage_the_head(); }});
  jobs.push_back({"unknown request", 0, 3, [this] { ask_unknown(); }});
  jobs.push_back({"noise", 0, 2, [this] { make_noise(); }});
  jobs.push_back({"request in two blocks", 0, 4, [this] { cut(); }});
  jobs.push_back({"two requests in a block", 0, 3, [this] { join(); }});
  jobs.push_back({"the modem is silent", 50, 0, [this] { silence_modem(); }});
  jobs.push_back({"the modem hangs up", 30, 0, [this] { hang_modem_up(); }});
  jobs.push_back({"the application comes back", 30, 0, [this] { reopen(); }});
}

std::vector<job> app_link::jobs() {
  std::vector<job> jobs;
  for (const frame_row& row : app_rows()) {
    // Nothing but a record write is asked with these ids, and with these rows of them.
    const bool is_only_record = row.id == 89 || row.id == WRITE_RESULT;
    jobs.push_back({"request " + std::to_string(row.id) + " " + row.atoms,
                    share_of(row.cost) * (is_only_record ? 2 : 1), 1,
                    [this, &row] { ask(row, has_to_work(row.is_steady)); }});
  }
  add_damaged(jobs);
  return jobs;
}

}  // namespace soak
