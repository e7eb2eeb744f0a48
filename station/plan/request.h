// The request of a step: what goes to the phone, and where its answer holds the value.
#pragma once

#include <string>

#include "capture/stream.h"
#include "station/plan/plan.h"
#include "station/plan/variables.h"
#include "station/wire/request.h"
#include "station/words/word.h"

struct plan_request_st {
  const station_word_st* m_word = nullptr;  // raw frames and AT text are words of the tool, too
  station_arguments_st m_arguments;
  station_request_st m_request;  // what the two make, with the place of the value
};

// The request of a step that goes to the phone, with the variables filled in. Returns why there is none; empty when
// there is one. The step has to outlive the request.
std::string plan_make_request(const plan_step_st& step, const plan_lookup& lookup, plan_request_st* request);

// The form of the link that the step uses.
stream_form_en plan_form(const plan_step_st& step);

// All texts of a step in which variables are filled in.
std::vector<std::string> plan_step_texts(const plan_step_st& step);

// "adc get", "frame 45 19:int=16", "at \"AT^DSVER\"", for people; variables as the plan has them.
std::string plan_step_summary(const plan_step_st& step);
