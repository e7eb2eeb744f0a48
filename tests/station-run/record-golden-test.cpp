// Whole records, kept as text: a change of what a station writes shows as a difference. VX_UPDATE_GOLDEN=1 writes them
// anew.
#include <cstdlib>
#include <fstream>
#include <regex>

#include "tests/station-run/line-phone.h"

namespace {

using nlohmann::ordered_json;

const std::string FOLDER = PROJECT_FOLDER "/tests/station-run/golden/";

// What differs from run to run.
void mask(ordered_json* value) {
  if (value->is_array()) {
    for (auto& entry : *value) mask(&entry);
  }
  if (!value->is_object()) return;
  for (auto& [key, entry] : value->items()) {
    const bool is_moving = key == "time" || key == "started" || key == "ended" || key == "duration_ms" ||
                           key == "run_id" || key == "pc" || key == "file";
    if (is_moving && !entry.is_null()) {
      entry = "*";
    } else {
      mask(&entry);
    }
  }
}

class RecordGolden : public LineTest {
 protected:
  void expect_golden(const std::string& name) const {
    std::string path;
    for (const auto& entry : std::filesystem::directory_iterator(records_folder())) {
      if (entry.path().extension() == ".json") path = entry.path();
    }
    ordered_json kept = ordered_json::parse(read_whole_file(path));
    mask(&kept);
    const std::string text = kept.dump(1) + "\n";
    const std::string golden = FOLDER + name + ".json";
    if (std::getenv("VX_UPDATE_GOLDEN") != nullptr) std::ofstream(golden) << text;
    EXPECT_EQ(text, read_whole_file(golden)) << golden;
  }

  station_outcome run_golden(const std::string& name, const line_phone_st& phone) const {
    return run(FOLDER + name + ".toml", phone.port());
  }
};

TEST_F(RecordGolden, GoodPhone_LeavesTheKeptRecord) {
  const line_phone_st phone(m_folder, "good");
  EXPECT_EQ(run_golden("good", phone).m_status, 0);
  expect_golden("good");
}

TEST_F(RecordGolden, BadPhone_LeavesTheKeptRecord) {
  const line_phone_st phone(m_folder, "bad");
  phone.control({"adc", "1500"});
  phone.control({"modem", "silent", "on"});
  EXPECT_EQ(run_golden("bad", phone).m_status, 20);
  expect_golden("bad");
}

}  // namespace
