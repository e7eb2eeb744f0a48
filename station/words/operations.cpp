#include "station/words/operations.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

#include "station/words/arguments.h"
#include "station/words/table.h"

namespace {

using enum station_links_en;
using operation = station_operation_st;
using texts = std::span<const std::string>;

std::size_t parameter_count(const operation& row) {
  return static_cast<std::size_t>(std::ranges::count_if(row.m_parameters, [](auto* one) { return one != nullptr; }));
}

bool is_named(const operation& row) {
  return *row.m_name != '\0';
}

// Whether the row is the one with that name, or has none and may be meant by anything.
bool may_be_meant(const operation& row, texts words) {
  return !is_named(row) || (!words.empty() && words.front() == row.m_name);
}

// What the words lack for any of the operations that they may mean, or what they have too much.
std::string explain_mismatch(const station_word_st& word, texts words) {
  const operation* nearest = nullptr;
  for (const auto& row : word.m_operations) {
    const bool is_better = nearest == nullptr || (is_named(row) && !is_named(*nearest)) ||
                           parameter_count(row) > parameter_count(*nearest);
    if (may_be_meant(row, words) && is_better) nearest = &row;
  }
  const std::string usage = fmt::format("usage: {} {}", word.m_name, station_usage(word));
  if (nearest == nullptr && words.empty()) return fmt::format("its operation is missing; {}", usage);
  if (nearest == nullptr) return fmt::format("there is no operation '{}'; {}", words.front(), usage);
  const std::size_t given = words.size() - static_cast<std::size_t>(is_named(*nearest));
  if (given > parameter_count(*nearest)) return fmt::format("'{}' is too much; {}", words.back(), usage);
  return fmt::format("{} is missing; {}", nearest->m_parameters.at(given)->m_name, usage);
}

// A character that would end the parameter or the command too early.
bool is_separator(char character) {
  const auto byte = static_cast<std::uint8_t>(character);
  return character == ',' || character == '"' || byte < 0x20 || byte == 0x7F;
}

std::string check_text(const station_parameter_st& parameter, const std::string& text, bool is_frame) {
  if (parameter.m_check != nullptr) {
    const std::string wrong = parameter.m_check(text);
    return wrong.empty() ? wrong : fmt::format("{} {}", parameter.m_name, wrong);
  }
  const auto most = static_cast<std::size_t>(is_frame ? parameter.m_frame_most : parameter.m_most);
  if (text.empty() || text.size() > most) return fmt::format("{} must have 1 to {} characters", parameter.m_name, most);
  if (is_frame || std::ranges::none_of(text, is_separator)) return {};
  return fmt::format("{} with a comma, a quote or a control character can only go in a frame", parameter.m_name);
}

std::string check_number(const station_parameter_st& parameter, const std::string& text) {
  std::int32_t value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  const bool is_number = error == std::errc() && stop == end;
  if (is_number && value >= parameter.m_least && value <= parameter.m_most) return {};
  return fmt::format("{} must be a number from {} to {}", parameter.m_name, parameter.m_least, parameter.m_most);
}

std::string check_parameters(const operation& row, texts values, bool is_frame) {
  std::size_t together = 0;
  for (std::size_t n = 0; n < values.size(); ++n) {
    const station_parameter_st& parameter = *row.m_parameters[n];
    std::string wrong = parameter.m_is_text ? check_text(parameter, values[n], is_frame)  //
                                            : check_number(parameter, values[n]);
    if (!wrong.empty()) return wrong;
    together += values[n].size();
  }
  if (row.m_most_together == 0 || together <= row.m_most_together) return {};
  return fmt::format("the values must have at most {} characters together", row.m_most_together);
}

std::string fill_in(const char* pattern, texts values) {
  const auto value = [&values](std::size_t n) { return n < values.size() ? values[n] : std::string(); };
  return fmt::format(fmt::runtime(pattern), value(0), value(1), value(2), value(3));
}

// *is_frame: whether the operation goes as a frame. Returns why it cannot go as wished; empty when it can.
std::string choose_form(const operation& row, const station_arguments_st& arguments, bool* is_frame) {
  const bool is_app = arguments.m_form == stream_form_en::BARE;
  const bool has_frame = row.m_links == BOTH || row.m_links == (is_app ? APP : PC);
  *is_frame = is_app || arguments.m_is_frame || row.m_at == nullptr;
  if (!*is_frame || has_frame) return {};
  if (is_app) return "this is for the PC link: use --port";
  return row.m_at != nullptr ? "the PC link has no frame for this" : "this is for the application's link: use --app";
}

std::string build_frame(const operation& row, texts values, station_request_st* request) {
  station_start_frame(row.m_frame_id, request);
  for (const station_atom_st& atom : row.m_atoms) {
    if (atom.m_value == nullptr) break;
    const std::string text = fmt::format("{}:{}", int{atom.m_id}, fill_in(atom.m_value, values));
    std::string wrong = station_add_atom(&request->m_frame.m_buf_a, text);
    if (!wrong.empty()) return wrong;
  }
  return {};
}

// Several operations share a request id. An answer with the value of another one answers that one.
std::vector<std::uint8_t> atoms_of_others(const operation& row) {
  std::vector<std::uint8_t> atoms;
  for (const auto& word : station_operation_words()) {
    for (const auto& other : word.m_operations) {
      if (other.m_frame_id != row.m_frame_id || other.kind() == station_kind_en::NONE) continue;
      for (const std::uint8_t atom : other.m_answer_atoms) {
        if (atom != 0 && std::ranges::find(row.m_answer_atoms, atom) == row.m_answer_atoms.end()) atoms.push_back(atom);
      }
    }
  }
  return atoms;
}

// The starts of the lines that answer other commands. An unknown line is the modem's own report and answers none.
template <typename IS_OWN>
std::vector<const char*> lines_of_others(const IS_OWN& is_own) {
  std::vector<const char*> lines;
  for (const auto& word : station_operation_words()) {
    for (const auto& row : word.m_operations) {
      if (row.m_line != nullptr && !is_own(row)) lines.push_back(row.m_line);
    }
  }
  return lines;
}

// "AT^DGSN" of "AT^DGSN?".
std::string_view command_name(const operation& row) {
  const std::string_view text = row.m_at == nullptr ? "" : row.m_at;
  return text.substr(0, text.find_first_of("=?\r"));
}

// What the answer must hold.
station_value_st value_of(const operation& row, bool is_frame) {
  station_value_st value;
  if (is_frame) value.m_foreign_atoms = atoms_of_others(row);
  if (is_frame && row.kind() != station_kind_en::NONE) value.m_atoms = row.m_answer_atoms;
  if (!is_frame) {
    value.m_line = row.m_line;
    value.m_foreign_lines = lines_of_others([&row](const operation& other) { return &other == &row; });
  }
  if (is_frame || row.m_line != nullptr) value.m_parts = row.m_parts;
  return value;
}

}  // namespace

std::string station_usage(const station_operation_st& operation) {
  std::string text = operation.m_name;
  for (const auto* parameter : operation.m_parameters) {
    if (parameter == nullptr) break;
    text += fmt::format("{}{}", text.empty() ? "" : " ", parameter->m_name);
    if (*parameter->m_unit != '\0') text += fmt::format(" ({})", parameter->m_unit);
  }
  return text;
}

std::string station_usage(const station_word_st& word) {
  std::string all = word.m_usage;
  for (const auto& row : word.m_operations) {
    const std::string one = station_usage(row);
    const bool is_usual = all.empty() && word.m_least == 0 && !one.empty();
    all += is_usual ? fmt::format("[{}]", one) : fmt::format("{}{}", all.empty() ? "" : " | ", one);
  }
  return all;
}

const station_operation_st* station_find_operation(const station_word_st& word, texts* words, std::string* wrong) {
  const auto rows = word.m_operations;
  if (words->empty() && word.m_least == 0 && !rows.empty()) return rows.data();
  for (const auto& row : rows) {
    const auto name_count = static_cast<std::size_t>(is_named(row));
    if (!may_be_meant(row, *words) || words->size() != parameter_count(row) + name_count) continue;
    *words = words->subspan(name_count);
    return &row;
  }
  *wrong = explain_mismatch(word, *words);
  return nullptr;
}

std::string station_build_operation(const station_word_st& word, const station_arguments_st& arguments,
                                    station_request_st* request) {
  texts values(arguments.m_words);
  std::string wrong;
  const operation* row = station_find_operation(word, &values, &wrong);
  bool is_frame = false;
  if (row != nullptr) wrong = choose_form(*row, arguments, &is_frame);
  if (wrong.empty() && !arguments.m_is_forced) {
    wrong = check_parameters(*row, values, is_frame);
    if (!wrong.empty()) wrong += "; --force sends it all the same";
  }
  if (wrong.empty() && is_frame) wrong = build_frame(*row, values, request);
  if (!wrong.empty()) return fmt::format("{}: {}", word.m_name, wrong);
  if (!is_frame) request->m_text = fill_in(row->m_at, values);
  request->m_value = value_of(*row, is_frame);
  request->m_is_modems = !is_frame && word.m_is_modems;
  return {};
}

void station_expect_text(station_request_st* request) {
  const std::string& text = request->m_text;
  const auto is_in_text = [&text](const operation& row) {
    const std::string_view name = command_name(row);
    return !name.empty() && text.find(name) != std::string::npos;
  };
  request->m_value.m_foreign_lines = lines_of_others(is_in_text);
  request->m_is_modems = std::ranges::none_of(station_operation_words(), [&](const station_word_st& word) {
    return !word.m_is_modems && std::ranges::any_of(word.m_operations, is_in_text);
  });
}
