// Judges whether a plan makes sense: words and links, limits and units, conditions, variables. Also fills in what
// follows from the words: a number's unit, and its scale where the plan wants the unit that people use.
#pragma once

#include "station/plan/plan.h"
#include "station/plan/source.h"

void plan_check(plan_st* plan, plan_findings* findings);
