// Judges how a plan uses its variables: each reference has a variable that can have a value by then, each variable is
// used.
#pragma once

#include "station/plan/plan.h"
#include "station/plan/source.h"

void plan_check_variables(const plan_st& plan, plan_findings* findings);
