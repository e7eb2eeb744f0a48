// Reads a plan and its variant from their files, makes and judges it. All findings come at once, in the order of their
// places.
#pragma once

#include <string>
#include <vector>

#include "station/plan/plan.h"

struct plan_loaded_st {
  plan_st m_plan;  // to be run only when there is no error
  std::vector<plan_finding_st> m_findings;

  bool has_errors() const;
};

// `variant_path` may be empty.
plan_loaded_st plan_load(const std::string& path, const std::string& variant_path);

// The same for texts that are at hand; null: no variant.
plan_loaded_st plan_load_text(const std::string& text, const std::string& path, const std::string* variant_text,
                              const std::string& variant_path);
