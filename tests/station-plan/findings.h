// A plan as text, and what is found in it.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "station/plan/load.h"

inline const std::string PLAN_HEAD = "[plan]\nname = \"p\"\nrevision = 1\n";

// The findings as they are printed, without the file's name.
inline std::vector<std::string> findings_of(const std::string& text, const std::string* variant = nullptr) {
  std::vector<std::string> all;
  for (const auto& finding : plan_load_text(text, "p", variant, "v").m_findings)
    all.push_back(plan_finding_text(finding));
  return all;
}

// Of a plan with these steps.
inline std::vector<std::string> findings_of_steps(const std::string& steps) {
  return findings_of(PLAN_HEAD + steps);
}

inline std::string step(const std::string& keys) {
  return "[[step]]\nname = \"s\"\n" + keys + "\n";
}
