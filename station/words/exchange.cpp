#include "station/words/exchange.h"

#include <fmt/format.h>

#include "station/wire/meaning.h"
#include "station/wire/step.h"
#include "station/words/operations.h"
#include "station/words/words.h"

namespace {

constexpr char LOG_HINT[] = "the phone's log shows why (logcat; on a virtual phone: handset ctl log)";
constexpr char SILENCE_HINT[] =
    "is it the right port, and is the phone in its test mode? wait-for-phone waits until it answers";
constexpr char MODEM_OWES[] =
    "the modem still owes the answer to an earlier request, and its OK could be taken for this one's; --force sends it "
    "all the same";

std::string hint_of(const station_word_st& word, station_exit_en code) {
  if (code == STATION_NO_ANSWER) return SILENCE_HINT;
  if (code != STATION_ERROR_ANSWER && code != STATION_NO_VALUE) return {};
  return *word.m_hint == '\0' ? LOG_HINT : fmt::format("{}; {}", word.m_hint, LOG_HINT);
}

// How a write is read back; none: it is not wanted, or not known.
struct reading_st {
  station_arguments_st m_arguments;
  std::string m_expected;
};

std::optional<reading_st> reading_of(const station_word_st& word, const station_arguments_st& arguments,
                                     const station_wishes_st& wishes) {
  if (word.m_operations.empty()) return std::nullopt;
  std::span<const std::string> values(arguments.m_words);
  std::string wrong;
  const station_operation_st* row = station_find_operation(word, &values, &wrong);
  if (row == nullptr || row->m_read_back == nullptr) return std::nullopt;
  const bool is_usual = row->m_is_identity && !wishes.m_no_wait && wishes.m_expect == 0;
  if (!wishes.m_verify.value_or(is_usual)) return std::nullopt;
  station_read_back_st back = row->m_read_back(values);
  reading_st reading{arguments, std::move(back.m_expected)};
  reading.m_arguments.m_words = std::move(back.m_words);
  return reading;
}

}  // namespace

std::string station_check_arguments(const station_word_st& word, const station_arguments_st& arguments,
                                    const station_wishes_st& wishes) {
  station_request_st request;
  std::string wrong = station_build(word, arguments, &request);
  if (!wrong.empty()) return wrong;
  if (!word.is_sending()) return {};
  if (station_wire_bytes(request, arguments.m_form).empty()) return "the frame is too long to be sent";
  if (wishes.m_no_wait && wishes.m_verify.value_or(false)) return "--no-wait and --verify exclude each other";
  const auto reading = reading_of(word, arguments, wishes);
  if (!reading && wishes.m_verify.value_or(false)) return fmt::format("{}: this cannot be read back", word.m_name);
  if (!reading) return {};
  wrong = station_build(word, reading->m_arguments, &request);
  return wrong.empty() ? wrong : fmt::format("{}; it cannot be read back here, --no-verify writes it", wrong);
}

station_outcome_st station_exchange_st::failed(station_exit_en code) const {
  station_outcome_st outcome;
  outcome.m_exit = code;
  outcome.m_message = code == STATION_PORT_GONE ? m_link->error() : station_exit_meaning(code);
  return outcome;
}

// Only where OK alone is the answer can a late one do harm: everything else is known by what it holds. So such a word
// also makes sure of a line that it knows nothing about; what the user wrote goes to such a line as it is.
station_exit_en station_exchange_st::come_into_step(const station_word_st& word, const station_request_st& request,
                                                    bool is_forced, const station_wishes_st& wishes,
                                                    station_outcome_st* outcome) {
  const bool has_owed = m_session->drain();
  if (has_owed && m_link->doubt() != station_doubt_en::MODEM) m_link->set_doubt(station_doubt_en::PHONE);
  const bool is_ok_alone = !request.m_is_frame && request.m_value.m_line == nullptr;
  const bool is_unknown = m_link->doubt() == station_doubt_en::UNKNOWN;
  if (m_link->doubt() == station_doubt_en::NONE) return STATION_OK;
  if (is_unknown && (!is_ok_alone || word.m_build != nullptr)) return STATION_OK;
  const auto deadline = std::chrono::steady_clock::now() + wishes.m_timeout;
  station_exit_en result = station_come_into_step(m_link, m_session, m_form, is_ok_alone && !is_forced, deadline);
  if (result == STATION_OK) return result;
  *outcome = failed(result);
  if (result != STATION_NO_ANSWER) return result;
  outcome->m_hint = SILENCE_HINT;
  if (m_link->doubt() == station_doubt_en::MODEM) outcome->m_hint = MODEM_OWES;
  return result;
}

station_outcome_st station_exchange_st::ask(const station_word_st& word, const station_request_st& request,
                                            bool is_forced, const station_wishes_st& wishes) {
  station_outcome_st outcome;
  if (come_into_step(word, request, is_forced, wishes, &outcome) != STATION_OK) return outcome;
  const station_doubt_en before = m_link->doubt();
  const bool is_modems = request.m_is_modems || before == station_doubt_en::MODEM;
  m_link->set_doubt(is_modems ? station_doubt_en::MODEM : station_doubt_en::PHONE);

  const auto deadline = std::chrono::steady_clock::now() + wishes.m_timeout;
  const station_exit_en sent = m_session->send(station_wire_bytes(request, m_form), request.m_is_frame, deadline);
  if (sent != STATION_OK) {
    outcome = failed(sent);
    outcome.m_message = m_link->error();
    return outcome;
  }
  if (wishes.m_no_wait) return outcome;

  station_judge_st judge(station_rule_for(request, wishes.m_expect));
  const station_exit_en result = m_session->receive(&judge, deadline, std::chrono::milliseconds::max());
  if (judge.is_answered()) m_link->set_doubt(before);
  outcome = failed(result);
  outcome.m_result = station_result_code(judge.answer());
  if (result == STATION_OK) {
    outcome.m_message.clear();
    outcome.m_value = station_value(request, judge.answer());
    outcome.m_parts = request.m_value.m_parts;
    return outcome;
  }
  if (result == STATION_ERROR_ANSWER && wishes.m_expect == 0) {
    outcome.m_message += ": " + station_refusal(judge.answer());
  }
  outcome.m_hint = hint_of(word, result);
  return outcome;
}

void station_exchange_st::verify(const station_word_st& word, const station_arguments_st& reading,
                                 const std::string& expected, const station_wishes_st& wishes,
                                 station_outcome_st* outcome) {
  station_request_st request;
  station_wishes_st plain;
  plain.m_timeout = wishes.m_timeout;
  station_build(word, reading, &request);
  const station_outcome_st read = ask(word, request, true, plain);
  if (read.m_exit != STATION_OK) {
    *outcome = read;
    outcome->m_message = fmt::format("it was written, but could not be read back: {}", read.m_message);
    return;
  }
  outcome->m_is_verified = read.m_value == expected;
  if (outcome->m_is_verified) return;
  outcome->m_exit = STATION_NOT_AS_WRITTEN;
  outcome->m_read_back = read.m_value;
  outcome->m_message = fmt::format("{}: wrote {}, read back {}", station_exit_meaning(STATION_NOT_AS_WRITTEN),
                                   station_quote(expected), station_quote(read.m_value.value_or("")));
}

station_outcome_st station_exchange_st::run(const station_word_st& word, const station_arguments_st& arguments,
                                            const station_wishes_st& wishes) {
  station_request_st request;
  station_outcome_st outcome;
  outcome.m_message = station_check_arguments(word, arguments, wishes);
  if (!outcome.m_message.empty()) {
    outcome.m_exit = STATION_USAGE;
    return outcome;
  }
  station_build(word, arguments, &request);
  outcome = ask(word, request, arguments.m_is_forced, wishes);
  const auto reading = reading_of(word, arguments, wishes);
  if (reading && outcome.m_exit == STATION_OK) {
    verify(word, reading->m_arguments, reading->m_expected, wishes, &outcome);
  }
  return outcome;
}
