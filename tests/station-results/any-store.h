// What holds of every store, of whatever database; each database's test names it.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/station-results/results.h"

// Adds nine runs of two plans and asks for them in every way.
inline void check_store(const std::string& address) {
  store_st store;
  ASSERT_EQ(store.open(address, store_mode_en::WRITE), "");
  const auto add = [&](unsigned number, const std::string& verdict, const std::string& serial,
                       const std::string& plan) {
    const std::string text = record_of(number, verdict, serial, plan);
    bool is_new = false;
    ASSERT_EQ(store.add(result_of(text), text, &is_new), "");
    EXPECT_TRUE(is_new) << number;
  };
  add(5, "PASS", "A2", "board");
  add(1, "FAIL", "A1", "board");
  add(2, "PASS", "A1", "board");
  add(3, "TIMEOUT", "A3", "board");
  add(4, "SKIPPED", "A4", "board");
  add(6, "PASS", "A1", "radio");
  // Two runs without a serial number are two units.
  add(7, "ERROR", "", "radio");
  add(8, "PASS", "", "radio");

  const auto ids = [](std::initializer_list<unsigned> numbers) {
    std::vector<std::string> all;
    for (const unsigned number : numbers) all.push_back(run_id(number));
    return all;
  };
  EXPECT_EQ(run_ids(&store), ids({1, 2, 3, 4, 5, 6, 7, 8}));
  const auto found = [&](const store_filter_st& filter, std::size_t from_last = 0) {
    std::vector<std::string> all;
    EXPECT_EQ(store.visit(filter, false, from_last, [&](const auto& one) { return all.push_back(one.m_run_id), true; }),
              "");
    return all;
  };
  store_filter_st filter;
  filter.m_serial = "A1";
  EXPECT_EQ(found(filter), ids({1, 2, 6}));
  filter.m_plan = "board";
  EXPECT_EQ(found(filter), ids({1, 2}));
  filter.m_verdicts = {verdict_en::FAIL, verdict_en::TIMEOUT};
  EXPECT_EQ(found(filter), ids({1}));
  filter = {};
  filter.m_since_ms = result_of(record_of(3)).m_started_ms;
  filter.m_until_ms = result_of(record_of(6)).m_started_ms;
  EXPECT_EQ(found(filter), ids({3, 4, 5}));
  EXPECT_EQ(found(filter, 2), ids({4, 5}));
  EXPECT_EQ(found({}, 100).size(), 8u);
  filter = {};
  filter.m_serial = "' OR 1=1 --";
  EXPECT_TRUE(found(filter).empty());

  // What comes out is what went in.
  result_st read;
  EXPECT_EQ(store.visit({}, true, 0, [&](const auto& one) { return read = one, false; }), "");
  EXPECT_EQ(read, result_of(record_of(1, "FAIL", "A1", "board")));
  std::string document;
  EXPECT_EQ(store.document(run_id(1), &document), "");
  EXPECT_EQ(document, record_of(1, "FAIL", "A1", "board"));
  EXPECT_EQ(store.document(run_id(99), &document), "");
  EXPECT_EQ(document, "");

  // A second time it is known.
  bool is_new = true;
  EXPECT_EQ(store.add(result_of(record_of(1)), record_of(1), &is_new), "");
  EXPECT_FALSE(is_new);
  EXPECT_EQ(store.document(run_id(1), &document), "");
  EXPECT_EQ(document, record_of(1, "FAIL", "A1", "board"));

  std::vector<std::string> beginnings;
  EXPECT_EQ(store.find("00000000-0000-4000-a000-000000000007", &beginnings), "");
  EXPECT_EQ(beginnings, ids({7}));
  EXPECT_EQ(store.find("00000000", &beginnings), "");
  EXPECT_EQ(beginnings.size(), 3u);
  EXPECT_EQ(store.find("%", &beginnings), "");
  EXPECT_TRUE(beginnings.empty());

  std::vector<store_yield_st> plans;
  ASSERT_EQ(store.yield({}, &plans), "");
  ASSERT_EQ(plans.size(), 2u);
  // PASS, SKIPPED, NOT_RUN, FAIL, TIMEOUT, ERROR, ABORTED
  EXPECT_EQ(plans[0], (store_yield_st{"board", 4, 2, 3, 5, {2, 1, 0, 1, 1, 0, 0}, {{"voltage", 2}}}));
  EXPECT_EQ(plans[1], (store_yield_st{"radio", 3, 2, 2, 3, {2, 0, 0, 0, 0, 1, 0}, {{"voltage", 1}}}));
}
