// Records and stores for the tests of this folder.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "station/store/record-reader.h"
#include "station/store/store.h"
#include "tests/unit/temp-folder.h"

// A run id that ends in the number.
inline std::string run_id(unsigned number) {
  std::string digits = std::to_string(number);
  return "00000000-0000-4000-a000-" + std::string(12 - digits.size(), '0') + digits;
}

// The text of a record with one measured step.
inline std::string record_of(unsigned number, const std::string& verdict = "PASS", const std::string& serial = "A1",
                             const std::string& plan = "board") {
  return R"({"schema_version":1,"run_id":")" + run_id(number) +
         R"(","station":{"name":"line"},"phone":{"name":"left"},)" + R"("plan":{"name":")" + plan +
         R"(","revision":"3"},"serial":")" + serial + R"(","verdict":")" + verdict +
         R"(","complete":true,"message":null,"started":"2026-11-20T08:00:)" + (number % 60 < 10 ? "0" : "") +
         std::to_string(number % 60) + R"(.000Z","duration_ms":1500.5,"steps":[{"name":"voltage","group":null,)" +
         R"("teardown":false,"verdict":")" + verdict + R"(","value":3.81,"unit":"V","limits":{"low":3.6,"high":4.2,)" +
         R"("equals":null,"matches":null,"one_of":null},"marginal":false,"message":null,"duration_ms":12.25,"attempts":[{}]}]})";
}

inline result_st result_of(const std::string& record) {
  result_st result;
  EXPECT_EQ(store_read_record(record, &result), "");
  return result;
}

inline std::string record_name(unsigned number) {
  std::string digits = std::to_string(number);
  return "r" + std::string(8 - digits.size(), '0') + digits + ".json";
}

// All run ids of a store, in its order.
inline std::vector<std::string> run_ids(store_st* store) {
  std::vector<std::string> ids;
  EXPECT_EQ(store->visit({}, false, 0, [&](const result_st& one) { return ids.push_back(one.m_run_id), true; }), "");
  return ids;
}
