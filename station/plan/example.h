// The plan that `plan-example` prints: a start for one's own, with comments. It passes on a phone with the records of a
// factory image, again and again.
#pragma once

#include <string>

std::string plan_example();
