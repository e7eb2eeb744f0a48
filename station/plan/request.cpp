#include "station/plan/request.h"

#include <fmt/format.h>

#include <algorithm>

#include "station/wire/render.h"
#include "station/words/exchange.h"
#include "station/words/words.h"

namespace {

const station_word_st* find_word(const std::string& name) {
  const auto row = std::ranges::find(station_words(), name, &station_word_st::m_name);
  return row == station_words().end() ? nullptr : &*row;
}

// The word of the tool that carries out the step: raw frames and AT text are words, too.
const char* word_of(const plan_step_st& step) {
  if (step.m_action == plan_action_en::FRAME) return "frame";
  return step.m_action == plan_action_en::AT ? "at" : step.m_word.c_str();
}

// Null and *wrong: a value is missing.
std::optional<station_arguments_st> arguments_of(const plan_step_st& step, const plan_lookup& lookup,
                                                 std::string* wrong) {
  station_arguments_st arguments;
  arguments.m_form = plan_form(step);
  arguments.m_is_frame = step.m_is_frame;
  arguments.m_is_raw = step.m_is_raw;
  arguments.m_is_forced = step.m_is_forced;
  const bool is_word = step.m_action == plan_action_en::WORD;
  std::vector<std::string> texts = step.m_args;
  if (!is_word) texts.insert(texts.begin(), step.m_word);
  for (const auto& text : texts) {
    auto expanded = plan_expand(text, lookup, wrong);
    if (!expanded) return std::nullopt;
    arguments.m_words.push_back(std::move(*expanded));
  }
  return arguments;
}

void place_value(const plan_step_st& step, station_request_st* request) {
  if (step.m_action == plan_action_en::FRAME) {
    for (std::size_t n = 0; n < std::min(step.m_value_atoms.size(), request->m_value.m_atoms.size()); ++n) {
      request->m_value.m_atoms[n] = static_cast<std::uint8_t>(step.m_value_atoms[n]);
    }
  }
  if (step.m_action == plan_action_en::AT && step.m_value_line) request->m_value.m_line = step.m_value_line->c_str();
}

}  // namespace

stream_form_en plan_form(const plan_step_st& step) {
  return step.m_link == plan_link_en::APP ? stream_form_en::BARE : stream_form_en::WRAPPED;
}

std::string plan_make_request(const plan_step_st& step, const plan_lookup& lookup, plan_request_st* request) {
  const station_word_st* word = find_word(word_of(step));
  if (word == nullptr) return fmt::format("there is no word '{}'", step.m_word);
  if (!word->is_sending()) return fmt::format("{} sends nothing that could be answered", word->m_name);
  std::string wrong;
  auto arguments = arguments_of(step, lookup, &wrong);
  if (!arguments) return wrong;
  const std::size_t count = arguments->m_words.size();
  if (count < word->m_least) return fmt::format("{} needs {} arguments at least", word->m_name, word->m_least);
  if (count > word->m_most) return fmt::format("{} takes at most {} arguments", word->m_name, word->m_most);
  wrong = station_check_arguments(*word, *arguments, {});
  if (!wrong.empty()) return wrong;
  request->m_word = word;
  request->m_arguments = std::move(*arguments);
  station_build(*word, request->m_arguments, &request->m_request);
  place_value(step, &request->m_request);
  return {};
}

std::vector<std::string> plan_step_texts(const plan_step_st& step) {
  std::vector<std::string> texts = step.m_args;
  if (step.m_action != plan_action_en::WORD) texts.push_back(step.m_word);
  texts.push_back(step.m_prompt);
  const plan_limits_st& limits = step.m_limits;
  if (limits.m_equals) texts.push_back(*limits.m_equals);
  if (limits.m_one_of) texts.insert(texts.end(), limits.m_one_of->begin(), limits.m_one_of->end());
  return texts;
}

std::string plan_step_summary(const plan_step_st& step) {
  switch (step.m_action) {
    case plan_action_en::PAUSE:
      return fmt::format("pause {} ms", step.m_pause_ms);
    case plan_action_en::OPERATOR:
      return fmt::format("operator {} {}", plan_ask_name(step.m_ask), station_quote(step.m_prompt));
    case plan_action_en::AT:
      return fmt::format("at {}", station_quote(step.m_word));
    case plan_action_en::WORD:
    case plan_action_en::FRAME:
      break;
  }
  std::string text = step.m_action == plan_action_en::FRAME ? "frame " + step.m_word : step.m_word;
  for (const auto& argument : step.m_args) text += " " + argument;
  return text;
}
