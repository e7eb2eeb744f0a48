#include "station/run/work-order.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/temp-folder.h"

namespace {

using testing::HasSubstr;

class WorkOrder : public testing::Test {
 protected:
  std::string read(const std::string& text) { return m_order.read(m_folder.write("order.csv", text)); }

  temp_folder m_folder;
  run_work_order_st m_order;
};

TEST_F(WorkOrder, Cells_AreFoundBySerialNumber) {
  ASSERT_EQ(read("\xEF\xBB\xBFserial,color\r\nA1,\"red, \"\"dark\"\"\"\r\nA2,\r\n"), "");
  EXPECT_EQ(m_order.find("A1", "color"), "red, \"dark\"");
  EXPECT_EQ(m_order.find("A2", "color"), std::nullopt);
  EXPECT_EQ(m_order.find("A3", "color"), std::nullopt);
  EXPECT_EQ(m_order.find("A1", "size"), std::nullopt);
}

TEST_F(WorkOrder, MissingColumn_IsRefused) {
  EXPECT_THAT(read("number\n1\n"), HasSubstr("has no column 'serial'"));
}

TEST_F(WorkOrder, ShortRow_IsRefusedWithItsNumber) {
  EXPECT_THAT(read("serial,color\nA1,red\nA2\n"), HasSubstr("row 3 has 1 cells, the head line has 2"));
}

TEST_F(WorkOrder, SerialNumberTwice_IsRefused) {
  EXPECT_THAT(read("serial\nA1\nA1\n"), HasSubstr("row 3: the serial number 'A1' is there twice"));
}

TEST_F(WorkOrder, OpenQuote_IsRefused) {
  EXPECT_THAT(read("serial\n\"A1\n"), HasSubstr("order.csv: row 2"));
}

TEST_F(WorkOrder, EmptyFile_IsRefused) {
  EXPECT_THAT(read(""), HasSubstr("has no head line"));
}

TEST_F(WorkOrder, MissingFile_IsRefused) {
  EXPECT_NE(m_order.read("/there/is/no/such/order"), "");
}

}  // namespace
