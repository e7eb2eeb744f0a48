#include "station/wire/meaning.h"

#include <fmt/format.h>

#include <algorithm>

#include "amt/amt-convert/ids.h"

namespace {

struct meaning_st {
  std::int64_t m_number;
  const char* m_text;
};

// The phone's own results; the modem has more of its own.
constexpr meaning_st RESULTS[] = {
    {1, "the request failed"},
    {10, "what was asked for is not to be had, or could not be kept"},
};

constexpr meaning_st CME_ERRORS[] = {
    {0, "phone failure"},
    {1, "no connection to phone"},
    {2, "phone adaptor link reserved"},
    {3, "operation not allowed"},
    {4, "operation not supported"},
    {5, "PH-SIM PIN required"},
    {6, "PH-FSIM PIN required"},
    {7, "PH-FSIM PUK required"},
    {10, "SIM not inserted"},
    {11, "SIM PIN required"},
    {12, "SIM PUK required"},
    {13, "SIM failure"},
    {14, "SIM busy"},
    {15, "SIM wrong"},
    {16, "incorrect password"},
    {17, "SIM PIN2 required"},
    {18, "SIM PUK2 required"},
    {20, "memory full"},
    {21, "invalid index"},
    {22, "not found"},
    {23, "memory failure"},
    {24, "text string too long"},
    {25, "invalid characters in text string"},
    {26, "dial string too long"},
    {27, "invalid characters in dial string"},
    {30, "no network service"},
    {31, "network timeout"},
    {32, "network not allowed, emergency calls only"},
    {40, "network personalization PIN required"},
    {41, "network personalization PUK required"},
    {42, "network subset personalization PIN required"},
    {43, "network subset personalization PUK required"},
    {44, "service provider personalization PIN required"},
    {45, "service provider personalization PUK required"},
    {46, "corporate personalization PIN required"},
    {47, "corporate personalization PUK required"},
    {48, "hidden key required"},
    {49, "EAP method not supported"},
    {50, "incorrect parameters"},
    {51, "command implemented but currently disabled"},
    {52, "command aborted by user"},
    {53, "not attached to network due to restrictions"},
    {54, "modem not allowed, restricted to emergency calls only"},
    {55, "operation not allowed because of restrictions"},
    {56, "fixed dial number only allowed"},
    {57, "temporarily out of service due to other usage"},
    {58, "language or alphabet not supported"},
    {59, "unexpected data value"},
    {60, "system failure"},
    {61, "data missing"},
    {62, "call barred"},
    {63, "message waiting indication subscription failure"},
    {100, "unknown error"},
    {103, "illegal MS"},
    {106, "illegal ME"},
    {107, "GPRS services not allowed"},
    {108, "GPRS and other services not allowed"},
    {111, "PLMN not allowed"},
    {112, "location area not allowed"},
    {113, "roaming not allowed in this location area"},
    {114, "GPRS services not allowed in this PLMN"},
    {115, "no suitable cells in location area"},
    {122, "congestion"},
    {126, "insufficient resources"},
    {127, "missing or unknown APN"},
    {128, "unknown PDP address or PDP type"},
    {129, "user authentication failed"},
    {132, "service option not supported"},
    {133, "requested service option not subscribed"},
    {134, "service option temporarily out of order"},
    {148, "unspecified GPRS error"},
    {149, "PDP authentication failure"},
    {150, "invalid mobile class"},
};

template <typename TABLE>
const char* find(const TABLE& table, std::int64_t number) {
  const auto* row = std::ranges::find(table, number, &meaning_st::m_number);
  return row == std::end(table) ? nullptr : row->m_text;
}

// The line that ended the command, with its meaning.
std::string explain_line(const std::string& line) {
  static constexpr std::string_view CME = "+CME ERROR:";
  if (line == "ERROR") return "ERROR: the request failed";
  if (!line.starts_with(CME)) return line;
  std::string_view number = std::string_view(line).substr(CME.size());
  while (number.starts_with(' ')) number.remove_prefix(1);
  const auto code = station_read_number(number);
  const char* meaning = code ? station_cme_meaning(*code) : nullptr;
  return meaning == nullptr ? line : fmt::format("{}: {}", line, meaning);
}

}  // namespace

const char* station_cme_meaning(std::int64_t number) {
  return find(CME_ERRORS, number);
}

std::optional<std::int32_t> station_result_code(const station_answer_st& answer) {
  if (!answer.m_frame) return std::nullopt;
  return static_cast<std::int32_t>(amt_frame_get_int(&*answer.m_frame, AMT_ATOM_RESULT));
}

std::string station_refusal(const station_answer_st& answer) {
  if (const auto code = station_result_code(answer)) {
    const char* meaning = find(RESULTS, *code);
    return fmt::format("result {}: {}", *code, meaning == nullptr ? "a result of the modem's own" : meaning);
  }
  return answer.m_lines.empty() ? "" : explain_line(answer.m_lines.back());
}
