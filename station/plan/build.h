// Makes a plan of what its file and its variant say. What cannot be made is a finding: a missing name, two actions in
// one step, a key that the step's action does not have. Whether the plan makes sense is judged by check.h.
#pragma once

#include "station/plan/plan.h"
#include "station/plan/source.h"

// `variant`: null, or what changes the plan.
plan_st plan_build(plan_source_st source, const plan_source_st* variant, plan_findings* findings);
