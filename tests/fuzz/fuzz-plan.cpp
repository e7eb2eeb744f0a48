// A plan and a variant as any file may hold them: every text ends in findings or in a plan. What can be run has a
// request for each step that needs no variable.
#include "station/plan/load.h"
#include "station/plan/request.h"
#include "tests/fuzz/fuzz.h"

namespace {

void make_requests(const plan_st& plan) {
  const auto one = [](const std::string&) { return std::optional<std::string>("1"); };
  for (const auto& group : plan.m_groups) {
    for (const auto& step : group.m_steps) {
      std::string wrong;
      for (const auto& text : plan_step_texts(step)) plan_expand(text, one, &wrong);
      plan_request_st request;
      if (!step.m_word.empty()) plan_make_request(step, one, &request);
    }
  }
}

}  // namespace

// The variant follows the plan after a byte 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(data, data + size);
  const std::size_t cut = text.find('\0');
  const std::string variant = cut == text.npos ? "" : text.substr(cut + 1);
  const plan_loaded_st loaded = plan_load_text(text.substr(0, cut), "p", cut == text.npos ? nullptr : &variant, "v");
  if (!loaded.has_errors()) make_requests(loaded.m_plan);
  return 0;
}
