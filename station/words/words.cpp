#include "station/words/words.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "amt/amt-convert/frame.h"
#include "amt/amt-convert/ids.h"
#include "station/words/arguments.h"
#include "station/words/operations.h"
#include "station/words/table.h"

namespace {

constexpr std::size_t MANY = 1000;
constexpr station_part_st VERSION_VALUE[] = {{"version"}};

std::string build_frame(const station_arguments_st& arguments, station_request_st* request) {
  const auto id = station_parse_command_id(arguments.m_words[0]);
  if (!id) return fmt::format("'{}' is no command id (0 to 255) and no command name", arguments.m_words[0]);
  station_start_frame(*id, request);
  for (std::size_t n = 1; n < arguments.m_words.size(); ++n) {
    std::string wrong = station_add_atom(&request->m_frame.m_buf_a, arguments.m_words[n]);
    if (!wrong.empty()) return wrong;
  }
  return {};
}

std::string build_at(const station_arguments_st& arguments, station_request_st* request) {
  if (arguments.m_words[0].empty()) return "there is nothing to send";
  request->m_text = arguments.m_words[0];
  if (!arguments.m_is_raw && !request->m_text.ends_with('\r')) request->m_text += '\r';
  station_expect_text(request);
  return {};
}

std::string build_version(const station_arguments_st& arguments, station_request_st* request) {
  const auto module = station_parse_module(arguments.m_words[0]);
  if (!module) return fmt::format("'{}' is no module: {}", arguments.m_words[0], station_module_names());
  station_start_frame(AMT_VERSION_CMD, request);
  amt_frame_add_int(&request->m_frame.m_buf_a, AMT_ATOM_MODULE, *module);
  request->m_value.m_atoms = {AMT_ATOM_VERSION};
  request->m_value.m_parts = VERSION_VALUE;
  return {};
}

constexpr station_word_st WORDS[] = {
    {"frame",
     "ID [ATOM...]",
     "Send a frame; atoms are 19:int=64, 21:str=text, 5:bytes=0A0B, 7:flag=1",
     1,
     MANY,
     false,
     build_frame,
     {}},
    {"at", "TEXT", "Send AT text and a CR after it", 1, 1, true, build_at, {}},
    {"version",
     "CODE",
     "Ask for a version: product, software, l1, hls, platform, app, hardware, whole, or a number",
     1,
     1,
     false,
     build_version,
     {}},
    {"monitor", "", "Send nothing and show what comes", 0, 0, false, nullptr, {}},
};

}  // namespace

const std::vector<station_word_st>& station_words() {
  static const std::vector<station_word_st> words = [] {
    std::vector<station_word_st> all(std::begin(WORDS), std::end(WORDS));
    const auto operations = station_operation_words();
    all.insert(all.end(), operations.begin(), operations.end());
    return all;
  }();
  return words;
}

const station_word_st* station_find_word(std::string_view name) {
  const auto& words = station_words();
  const auto found = std::ranges::find(words, name, [](const auto& word) { return std::string_view(word.m_name); });
  return found == words.end() ? nullptr : &*found;
}

std::vector<std::string> station_first_arguments(const station_word_st& word) {
  std::vector<std::string> all;
  for (const auto& row : word.m_operations) {
    if (*row.m_name != '\0') all.emplace_back(row.m_name);
  }
  if (word.m_build == build_version) all = station_module_list();
  if (word.m_build == build_frame) {
    for (unsigned id = 0; id <= 0xFF; ++id) {
      const std::string name = amt_command_name(static_cast<std::uint8_t>(id));
      if (!name.starts_with('(')) all.push_back(name);
    }
  }
  std::ranges::sort(all);
  all.erase(std::unique(all.begin(), all.end()), all.end());
  return all;
}

namespace {

std::string check_count(const station_word_st& word, const station_arguments_st& arguments) {
  const auto& words = arguments.m_words;
  const std::string usage = fmt::format("usage: {} {}", word.m_name, word.m_usage);
  if (words.size() > word.m_most) return fmt::format("{}: '{}' is too much; {}", word.m_name, words.back(), usage);
  const std::string first = std::string(word.m_usage).substr(0, std::string_view(word.m_usage).find(' '));
  return words.size() >= word.m_least ? "" : fmt::format("{}: {} is missing; {}", word.m_name, first, usage);
}

}  // namespace

std::string station_build(const station_word_st& word, const station_arguments_st& arguments,
                          station_request_st* request) {
  if (!word.m_operations.empty()) return station_build_operation(word, arguments, request);
  std::string wrong = check_count(word, arguments);
  if (!wrong.empty() || word.m_build == nullptr) return wrong;
  wrong = word.m_build(arguments, request);
  const bool is_lost = wrong.empty() && !request->m_is_frame && arguments.m_form == stream_form_en::BARE;
  if (is_lost) wrong = "text goes to the PC link: use --port";
  return wrong.empty() ? wrong : fmt::format("{}: {}", word.m_name, wrong);
}
