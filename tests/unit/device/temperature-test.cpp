#include "amt/amt-device/temperature.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>

#include "tests/unit/links.h"
#include "tests/unit/temp-folder.h"

namespace {

constexpr char READ_TEMPERATURE[] = "06 00 BB 37 00 00";
constexpr char TEMPERATURE_FAILURE[] = "0F 00 BB 38 09 00 EE 01 01 04 00 0A 00 00 00";

// The driver's file is looked for below the working folder.
class Temperature : public context_test {
 protected:
  Temperature() {
    set_link(g_handle_context.m_pty_app.m_ptm_fd, m_app.service_end());
    std::filesystem::current_path(m_folder.path(""));
  }
  ~Temperature() override { std::filesystem::current_path(m_before); }
  void write_temperature(std::string_view content) {
    std::filesystem::create_directories("sys/class/power_supply/battery");
    m_folder.write("sys/class/power_supply/battery/temp", content);
  }
  std::string to_app() { return m_app.received_hex(); }

  socket_link m_app;
  std::filesystem::path m_before = std::filesystem::current_path();
  temp_folder m_folder;
};

TEST_F(Temperature, OfTheBattery_IsAnsweredWithoutAModem) {
  g_no_modem = 1;
  write_temperature("298\n");
  EXPECT_EQ(run(amt_modem_handle_temperature, READ_TEMPERATURE), ERR_NONE);
  EXPECT_EQ(to_app(), "18 00 BB 38 12 00 EE 16 01 04 00 2A 01 00 00 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has("Battery temperature: 298"));
  EXPECT_EQ(m_modem.received(), "");
}

TEST_F(Temperature, FileMissing_IsAnsweredWithAnErrorResponse) {
  EXPECT_EQ(run(amt_modem_handle_temperature, READ_TEMPERATURE), ERR_NONE);
  EXPECT_EQ(to_app(), TEMPERATURE_FAILURE);
  EXPECT_TRUE(has_failure("amt_modem_handle_temperature", ERR_SYSTEM, "fopen error: errno=2"));
}

TEST_F(Temperature, NoNumber_IsAnsweredWithAnErrorResponse) {
  write_temperature("warm\n");
  EXPECT_EQ(run(amt_modem_handle_temperature, READ_TEMPERATURE), ERR_NONE);
  EXPECT_EQ(to_app(), TEMPERATURE_FAILURE);
  EXPECT_TRUE(m_log.contains("fscanf error: errno="));
}

}  // namespace
