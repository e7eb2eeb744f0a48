// The reports of kept records, byte for byte, and what independent readers make of them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "station/program/command-line.h"
#include "station/report/report.h"
#include "station/store/sender.h"
#include "tests/station-results/results.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

const std::string FOLDER = RESULTS_FOLDER;

class Reports : public testing::Test {
 protected:
  Reports() {
    fs::copy(FOLDER + "/records", m_folder.path("records"));
    const store_sent_st sent =
        store_outbox_st(m_folder.path("r.db"), m_folder.path("records")).send([] { return false; });
    EXPECT_EQ(sent.m_failure, "");
    EXPECT_TRUE(sent.m_wrong.empty()) << sent.m_wrong[0];
    EXPECT_EQ(m_store.open(m_folder.path("r.db"), store_mode_en::READ), "");
  }

  std::string report(report_form_en form) {
    std::ostringstream out;
    EXPECT_EQ(report_write(form, &m_store, {}, "2026-11-22T10:00:00.000Z", &out), "");
    return out.str();
  }

  // Compares with the kept report. AMT_NEW_REPORTS=1 in the environment writes it anew, to be looked at.
  void expect_kept(const std::string& text, const std::string& name) {
    const std::string path = FOLDER + "/reports/" + name;
    if (std::getenv("AMT_NEW_REPORTS") != nullptr) std::ofstream(path, std::ios::binary) << text;
    EXPECT_EQ(text, read_whole_file(path)) << "the report " << name << " is another one";
  }

  // Runs a reader on the report; its output comes with a failure.
  void expect_accepted(const std::string& reader, report_form_en form) {
    const std::string path = m_folder.write("report", report(form));
    const std::string said = m_folder.path("said");
    const int status = std::system((reader + " " + path + " >" + said + " 2>&1").c_str());
    EXPECT_EQ(status, 0) << read_whole_file(said);
  }

  temp_folder m_folder;
  store_st m_store;
};

TEST_F(Reports, Csv_IsAsKept) {
  expect_kept(report(report_form_en::CSV), "results.csv");
}
TEST_F(Reports, JUnit_IsAsKept) {
  expect_kept(report(report_form_en::JUNIT), "results.xml");
}
TEST_F(Reports, Page_IsAsKept) {
  expect_kept(report(report_form_en::HTML), "results.html");
}
TEST_F(Reports, Yield_IsAsKept) {
  std::vector<store_yield_st> plans;
  EXPECT_EQ(m_store.yield({}, &plans), "");
  std::ostringstream out;
  report_yield(plans, &out);
  expect_kept(out.str(), "yield.txt");
}
TEST_F(Reports, List_IsAsKept) {
  std::ostringstream out;
  EXPECT_EQ(report_list(&m_store, {}, 0, &out), "");
  expect_kept(out.str(), "list.txt");
}
TEST_F(Reports, OneRun_IsShownAsKept) {
  std::ostringstream out;
  EXPECT_EQ(m_store.visit({}, true, 7, [&](const auto& unit) { return report_show(unit, &out), false; }), "");
  expect_kept(out.str(), "show.txt");
}

TEST_F(Reports, ShowWithoutAnId_GivesTheNewestRunThatTheFiltersName) {
  const auto shown = [this](std::vector<std::string> words, int status) {
    std::ostringstream out;
    std::ostringstream err;
    words.insert(words.begin(),
                 {"results", "show", "--db", m_folder.path("r.db"), "--records", m_folder.path("records")});
    EXPECT_EQ(station_run(words, {&out, &err}), status) << testing::PrintToString(words) << err.str();
    return out.str() + err.str();
  };
  EXPECT_THAT(shown({"--serial", "A0002"}, 0), HasSubstr("425a3d13-94ca-48a3-aefd-5acdcee62284"));
  EXPECT_THAT(shown({"--serial", "A0002", "--verdict", "FAIL"}, 0), HasSubstr("32d8c6c9-dff6-439c-a98b-b54fda1d17ee"));
  EXPECT_THAT(shown({"--plan", "board test", "--json"}, 0), HasSubstr("2e604607-3a30-43a8-abfc-a265d339d396"));
  EXPECT_THAT(shown({"--until", "2026-11-20T08:02:00Z"}, 0), HasSubstr("32d8c6c9-dff6-439c-a98b-b54fda1d17ee"));
  EXPECT_THAT(shown({}, 0), HasSubstr("1c91ed54-61e1-4bba-aef8-230291071780"));
  EXPECT_THAT(shown({"--serial", "A9999"}, 1), HasSubstr("there is no such run"));
  EXPECT_THAT(shown({"b945", "--serial", "A0001"}, 2), HasSubstr("excludes"));
}

TEST_F(Reports, Json_HasTheRecordsThemselves) {
  std::string expected = "[";
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(FOLDER + "/records")) names.push_back(entry.path());
  std::ranges::sort(names);
  for (const auto& name : names) {
    const std::string text = read_whole_file(name);
    expected += (expected.size() > 1 ? ",\n" : "\n") + text.substr(0, text.size() - 1);
  }
  EXPECT_EQ(report(report_form_en::JSON), expected + "\n]\n");
}

TEST_F(Reports, Csv_IsReadByAnotherReader) {
  expect_accepted(FOLDER + "/check-csv", report_form_en::CSV);
}
TEST_F(Reports, JUnit_IsReadByAnotherReader) {
  expect_accepted(FOLDER + "/check-junit", report_form_en::JUNIT);
  expect_accepted("xmllint --noout", report_form_en::JUNIT);
}
TEST_F(Reports, Page_IsReadByAnotherReader) {
  expect_accepted(FOLDER + "/check-page", report_form_en::HTML);
  expect_accepted("tidy -e -q --strict-tags-attributes yes --warn-proprietary-attributes no", report_form_en::HTML);
}

TEST_F(Reports, EmptyStore_MakesEmptyReports) {
  m_store.close();
  ASSERT_EQ(m_store.open(m_folder.path("empty.db"), store_mode_en::WRITE), "");
  EXPECT_EQ(report(report_form_en::JSON), "[\n]\n");
  EXPECT_THAT(report(report_form_en::HTML), HasSubstr("No units."));
  expect_accepted("xmllint --noout", report_form_en::JUNIT);
  expect_accepted("tidy -e -q", report_form_en::HTML);
}

}  // namespace
