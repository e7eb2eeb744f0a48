// The WiFi driver's text with the recorded address in it, byte for byte.

#include <tuple>

#include "amt/amt-record/wifi-address.h"
#include "tests/unit/failing-calls.h"
#include "tests/unit/record/record-test.h"

namespace {

constexpr char ADDRESS_RECORD[] = "/amt/WIFI/WIFI_nvram.txt";
constexpr char SOURCE[] = "/system/etc/wifi/nvram.txt";
constexpr char SECOND_SOURCE[] = "/system/etc/wifi/bcmdhd.cal";
constexpr char COPY[] = "/data/misc/wifi/nvram.txt";
constexpr char ADDRESS[] = "AA:BB:CC:DD:EE:FF\n";

std::string lines_of(int count, const std::string& line) {
  std::string text;
  for (int at = 0; at < count; ++at) text += line;
  return text;
}

class Nvram : public record_test {};

struct patch_row {
  const char* m_name;
  std::string m_record;
  std::string m_source;
  std::int32_t m_result;
  std::string m_copy;
};

class NvramPatch : public Nvram, public testing::WithParamInterface<patch_row> {};

TEST_P(NvramPatch, Source_BecomesTheCopy) {
  const auto& row = GetParam();
  write(ADDRESS_RECORD, row.m_record);
  write(SOURCE, row.m_source);
  EXPECT_EQ(amt_write_wifi_to_nvram_file(), row.m_result);
  EXPECT_EQ(read(COPY), row.m_copy);
  EXPECT_EQ(read(SOURCE), row.m_source);
  EXPECT_EQ(syncs(), 2);
}

const std::string LINE_97 = std::string(97, 'a') + "\n";    // 98 characters with its end: one read
const std::string LINE_98 = std::string(98, 'b') + "\n";    // 99: its end is a piece of its own
const std::string LINE_200 = std::string(199, 'c') + "\n";  // 200: three pieces

INSTANTIATE_TEST_SUITE_P(
    Each, NvramPatch,
    testing::Values(
        patch_row{"AddressLine_IsReplaced", ADDRESS, "a=1\nmacaddr=00:11:22:33:44:55\nb=2\n", 0,
                  "a=1\nmacaddr=AA:BB:CC:DD:EE:FF\nb=2\n"},
        patch_row{"Comment_IsCopiedAndTheAddressAppended", ADDRESS, "#macaddr=00:11:22:33:44:55\nb=2\n", 0,
                  "#macaddr=00:11:22:33:44:55\nb=2\nmacaddr=AA:BB:CC:DD:EE:FF\n"},
        patch_row{"CommentAndAddressLine_OnlyTheLineIsReplaced", ADDRESS, "#macaddr=0\nmacaddr=1\n", 0,
                  "#macaddr=0\nmacaddr=AA:BB:CC:DD:EE:FF\n"},
        patch_row{"LeadingBlanks_AreNoHindrance", ADDRESS, "   macaddr=1\nb=2\n", 0,
                  "macaddr=AA:BB:CC:DD:EE:FF\nb=2\n"},
        patch_row{"LeadingTab_MakesItAnotherLine", ADDRESS, "\tmacaddr=1\n", 0,
                  "\tmacaddr=1\nmacaddr=AA:BB:CC:DD:EE:FF\n"},
        patch_row{"BlanksInFrontOfAComment_MakeItAnotherLine", ADDRESS, "  #macaddr=1\n", 0,
                  "  #macaddr=1\nmacaddr=AA:BB:CC:DD:EE:FF\n"},
        patch_row{"OtherTextInFrontOfTheKey_IsCopied", ADDRESS, "old_macaddr=1\n", 0,
                  "old_macaddr=1\nmacaddr=AA:BB:CC:DD:EE:FF\n"},
        patch_row{"KeyWithABlank_IsCopied", ADDRESS, "macaddr =1\n", 0, "macaddr =1\nmacaddr=AA:BB:CC:DD:EE:FF\n"},
        patch_row{"SeveralAddressLines_AreAllReplaced", ADDRESS, "macaddr=1\nb=2\nmacaddr=3\n", 0,
                  "macaddr=AA:BB:CC:DD:EE:FF\nb=2\nmacaddr=AA:BB:CC:DD:EE:FF\n"},
        patch_row{"NoAddressLine_IsAppended", ADDRESS, "a=1\n", 0, "a=1\nmacaddr=AA:BB:CC:DD:EE:FF\n"},
        patch_row{"EmptySource_HoldsTheAddressOnly", ADDRESS, "", 0, "macaddr=AA:BB:CC:DD:EE:FF\n"},
        patch_row{"SourceWithoutAFinalLineEnd_IsAppendedRightBehind", ADDRESS, "a=1", 0,
                  "a=1macaddr=AA:BB:CC:DD:EE:FF\n"},
        patch_row{"AddressLineWithoutALineEnd_GetsTheRecords", ADDRESS, "a=1\nmacaddr=1", 0,
                  "a=1\nmacaddr=AA:BB:CC:DD:EE:FF\n"},
        patch_row{"RecordWithoutALineEnd_JoinsTheNextLine", "AA", "macaddr=1\nb=2\n", 0, "macaddr=AAb=2\n"},
        patch_row{"LineEndsOfTwo_AreKept", "AA\r\n", "a=1\r\nmacaddr=1\r\nb=2\r\n", 0, "a=1\r\nmacaddr=AA\r\nb=2\r\n"},
        patch_row{"EmptyRecord_CopiesTheSourceAndFails", "", "a=1\nmacaddr=1\n", -100, "a=1\nmacaddr=1\n"},
        patch_row{"RecordOf59Characters_IsTakenWithoutItsEnd", std::string(59, 'x') + "\n", "macaddr=1\nb=2\n", 0,
                  "macaddr=" + std::string(59, 'x') + "b=2\n"},
        patch_row{"RecordOf58Characters_IsTakenWhole", std::string(58, 'x') + "\n", "macaddr=1\nb=2\n", 0,
                  "macaddr=" + std::string(58, 'x') + "\nb=2\n"},
        patch_row{"RecordOf4000Characters_IsCutTo59", std::string(4000, 'x'), "macaddr=1\n", 0,
                  "macaddr=" + std::string(59, 'x')},
        patch_row{"LongLines_AreCopiedWhole", ADDRESS, LINE_97 + LINE_98 + LINE_200, 0,
                  LINE_97 + LINE_98 + LINE_200 + "macaddr=AA:BB:CC:DD:EE:FF\n"},
        patch_row{"LongAddressLine_OnlyItsFirstPieceIsReplaced", "AA\n", "macaddr=" + std::string(100, '1') + "\n", 0,
                  "macaddr=AA\n" + std::string(10, '1') + "\n"},
        patch_row{"KeyAtTheStartOfALaterPiece_IsReplaced", "AA\n", std::string(98, 'a') + "macaddr=1\n", 0,
                  std::string(98, 'a') + "macaddr=AA\n"},
        patch_row{"NinetyNineLines_AreCopied", ADDRESS, lines_of(99, "a\n"), 0,
                  lines_of(99, "a\n") + "macaddr=AA:BB:CC:DD:EE:FF\n"},
        patch_row{"HundredLines_AreCopiedAndFail", ADDRESS, lines_of(100, "a\n"), -100,
                  lines_of(100, "a\n") + "macaddr=AA:BB:CC:DD:EE:FF\n"},
        patch_row{"HundredAndFiftyLines_TheRestIsDropped", ADDRESS, lines_of(150, "a\n"), -100,
                  lines_of(100, "a\n") + "macaddr=AA:BB:CC:DD:EE:FF\n"},
        patch_row{"ReplacedLines_AreNotCounted", "A\n", lines_of(10, "macaddr=1\n") + lines_of(99, "a\n"), 0,
                  lines_of(10, "macaddr=A\n") + lines_of(99, "a\n")},
        patch_row{"AddressLineBehindTheHundredth_IsDropped", "A\n", lines_of(100, "a\n") + "macaddr=1\n", -100,
                  lines_of(100, "a\n") + "macaddr=A\n"},
        patch_row{"PiecesOfLongLines_AreCounted", "A\n", lines_of(34, LINE_200), -100,
                  lines_of(33, LINE_200) + std::string(98, 'c') + "macaddr=A\n"}),
    [](const auto& row) { return row.param.m_name; });

TEST_F(Nvram, NoRecord_CopiesTheSource) {
  write(SOURCE, "a=1\nmacaddr=1\n");
  write(COPY, "what was there before, and longer than what comes\n");
  EXPECT_EQ(amt_write_wifi_to_nvram_file(), 0);
  EXPECT_EQ(read(COPY), "a=1\nmacaddr=1\n");
  EXPECT_TRUE(
      m_log.has_in_a_row({"amt_write_wifi_to_nvram_file()", "open  /amt/WIFI/WIFI_nvram.txt fail", "wifi_addr_amt: "}));
  EXPECT_FALSE(m_log.contains("error_code"));
}

TEST_F(Nvram, EmptyRecord_IsLogged) {
  write(ADDRESS_RECORD, "");
  write(SOURCE, "a=1\n");
  EXPECT_EQ(amt_write_wifi_to_nvram_file(), -100);
  EXPECT_TRUE(has_failure("amt_write_wifi_to_nvram_file", -100, "read  /amt/WIFI/WIFI_nvram.txt fail"));
}

TEST_F(Nvram, Replaced_IsLogged) {
  write(ADDRESS_RECORD, ADDRESS);
  write(SOURCE, "macaddr=1\n");
  std::ignore = amt_write_wifi_to_nvram_file();
  EXPECT_EQ(m_log.texts(),
            (std::vector<std::string>{"amt_write_wifi_to_nvram_file()", "wifi_addr_amt: AA:BB:CC:DD:EE:FF\n",
                                      "wifi_addr_nvram: 1\n", "fchmod  /data/misc/wifi/nvram.txt successfully"}));
}

TEST_F(Nvram, Appended_IsLogged) {
  write(ADDRESS_RECORD, ADDRESS);
  write(SOURCE, "");
  std::ignore = amt_write_wifi_to_nvram_file();
  EXPECT_TRUE(m_log.has("new wifi_addr_nvram: AA:BB:CC:DD:EE:FF\n"));
}

TEST_F(Nvram, Copy_MayBeWrittenByAll) {
  write(SOURCE, "a=1\n");
  umask(022);
  std::ignore = amt_write_wifi_to_nvram_file();
  EXPECT_EQ(fs::status(COPY).permissions(), static_cast<fs::perms>(0666));
}

TEST_F(Nvram, FirstSourceMissing_TakesTheSecond) {
  write(ADDRESS_RECORD, ADDRESS);
  write(SECOND_SOURCE, "macaddr=1\n");
  EXPECT_EQ(amt_write_wifi_to_nvram_file(), 0);
  EXPECT_EQ(read(COPY), "macaddr=AA:BB:CC:DD:EE:FF\n");
  EXPECT_TRUE(m_log.has(
      "File \"/system/etc/wifi/nvram.txt\" not exist, so we try to open file \"/system/etc/wifi/bcmdhd.cal\""));
}

TEST_F(Nvram, BothSources_FirstIsTaken) {
  write(SOURCE, "first\n");
  write(SECOND_SOURCE, "second\n");
  std::ignore = amt_write_wifi_to_nvram_file();
  EXPECT_EQ(read(COPY), "first\n");
}

TEST_F(Nvram, NoSource_FailsAndLeavesTheCopyEmpty) {
  write(ADDRESS_RECORD, ADDRESS);
  write(COPY, "OLD\n");
  EXPECT_EQ(amt_write_wifi_to_nvram_file(), -100);
  EXPECT_EQ(read(COPY), "");
  EXPECT_TRUE(has_failure("amt_write_wifi_to_nvram_file", -100, "open  /system/etc/wifi/bcmdhd.cal fail"));
  EXPECT_EQ(syncs(), 0);
}

TEST_F(Nvram, CopyThatCannotBeOpenedAgain_IsLogged) {
  write(SOURCE, "a=1\n");
  const mode_t mask = umask(0777);  // the new file may be written by who made it, and opened by nobody
  std::ignore = amt_write_wifi_to_nvram_file();
  umask(mask);
  EXPECT_EQ(m_log.last(), "open /data/misc/wifi/nvram.txt failed");
}

TEST_F(Nvram, NoSourceAndNoCopy_NamesBoth) {
  fs::remove_all("/data/misc/wifi");
  EXPECT_EQ(amt_write_wifi_to_nvram_file(), -100);
  EXPECT_TRUE(has_failure("amt_write_wifi_to_nvram_file", -100, "open  /system/etc/wifi/bcmdhd.cal fail"));
  EXPECT_TRUE(has_failure("amt_write_wifi_to_nvram_file", -100, "open  /data/misc/wifi/nvram.txt fail"));
}

constexpr char KEPT[] = "keep the old /data/misc/wifi/nvram.txt";

class NvramKept : public Nvram {
 protected:
  // Nothing of the driver's text has changed, and that is logged.
  void expect_kept() {
    EXPECT_EQ(amt_write_wifi_to_nvram_file(), -100);
    EXPECT_EQ(read(COPY), "OLD\n");
    EXPECT_TRUE(m_log.has(KEPT));
  }
};

TEST_F(NvramKept, SourceBreaksInItsMiddle_IsAFailure) {
  write(ADDRESS_RECORD, ADDRESS);
  write(SOURCE, "macaddr=1\n" + lines_of(90, LINE_97));  // more than a stream holds
  write(COPY, "OLD\n");
  const breaking_file breaking(4);  // the record's line, then some of the source
  expect_kept();
  EXPECT_TRUE(m_log.has("wifi_addr_nvram: 1\n"));
  EXPECT_TRUE(has_failure("amt_write_wifi_to_nvram_file", -100, "read  /system/etc/wifi/nvram.txt fail", "21"));
  EXPECT_FALSE(m_log.contains("new wifi_addr_nvram"));
}

TEST_F(NvramKept, SourceIsAFolder_IsAFailure) {
  fs::create_directories(SOURCE);
  write(COPY, "OLD\n");
  expect_kept();
  EXPECT_TRUE(has_failure("amt_write_wifi_to_nvram_file", -100, "read  /system/etc/wifi/nvram.txt fail", "21"));
}

TEST_F(NvramKept, SecondSourceIsAFolder_IsAFailureThatNamesIt) {
  fs::create_directories(SECOND_SOURCE);
  write(COPY, "OLD\n");
  expect_kept();
  EXPECT_TRUE(has_failure("amt_write_wifi_to_nvram_file", -100, "read  /system/etc/wifi/bcmdhd.cal fail", "21"));
}

// Address lines are not counted, so a text can grow without end.
TEST_F(NvramKept, TextTooLong_IsAFailure) {
  write(ADDRESS_RECORD, std::string(56, 'x') + "\n");  // with its key a line of 65 bytes
  write(SOURCE, lines_of(1008, "macaddr=1\n"));
  EXPECT_EQ(amt_write_wifi_to_nvram_file(), 0);
  EXPECT_EQ(read(COPY)->size(), 65520u);
  write(SOURCE, lines_of(1008, "macaddr=1\n") + "sixteen letters\n");
  EXPECT_EQ(amt_write_wifi_to_nvram_file(), 0);
  EXPECT_EQ(read(COPY)->size(), 65536u);
  write(COPY, "OLD\n");
  write(SOURCE, lines_of(1008, "macaddr=1\n") + "sixteen letters.\n");
  expect_kept();
  EXPECT_TRUE(has_failure("amt_write_wifi_to_nvram_file", -100, "/system/etc/wifi/nvram.txt is too long"));
}

TEST_F(NvramKept, LongSourceBehindItsHundredthLine_IsNoMatter) {
  write(SOURCE, lines_of(100, "a\n") + lines_of(2000, LINE_97));
  EXPECT_EQ(amt_write_wifi_to_nvram_file(), -100);
  EXPECT_EQ(read(COPY), lines_of(100, "a\n"));
  EXPECT_FALSE(m_log.has(KEPT));
}

TEST_F(NvramKept, NoSourceCanBeOpened_IsAFailure) {
  make_forbidden(SOURCE);
  write(COPY, "OLD\n");
  expect_kept();
  EXPECT_TRUE(m_log.has("open(\"/system/etc/wifi/nvram.txt\") fail: 13 - Permission denied"));
  EXPECT_TRUE(has_failure("amt_write_wifi_to_nvram_file", -100, "open  /system/etc/wifi/bcmdhd.cal fail"));
}

TEST_F(NvramKept, RecordThatCannotBeOpened_IsAFailure) {
  make_forbidden(ADDRESS_RECORD, ADDRESS);
  write(SOURCE, "macaddr=1\n");
  write(COPY, "OLD\n");
  expect_kept();
  EXPECT_TRUE(has_failure("amt_write_wifi_to_nvram_file", -100, "open  /amt/WIFI/WIFI_nvram.txt fail", "13"));
}

TEST_F(NvramKept, RecordThatCannotBeOpenedForLackOfMemory_IsAFailure) {
  write(ADDRESS_RECORD, ADDRESS);
  write(SOURCE, "macaddr=1\n");
  write(COPY, "OLD\n");
  const failing_call failure("fopen", ENOMEM, ADDRESS_RECORD);
  expect_kept();
}

TEST_F(NvramKept, RecordThatCannotBeRead_IsAFailure) {
  fs::create_directories(ADDRESS_RECORD);
  write(SOURCE, "macaddr=1\n");
  write(COPY, "OLD\n");
  expect_kept();
  EXPECT_TRUE(has_failure("amt_write_wifi_to_nvram_file", -100, "read  /amt/WIFI/WIFI_nvram.txt fail", "21"));
}

TEST_F(Nvram, CopyWithoutItsFolder_Fails) {
  write(SOURCE, "a=1\n");
  fs::remove_all("/data/misc/wifi");
  EXPECT_EQ(amt_write_wifi_to_nvram_file(), -100);
  EXPECT_TRUE(has_failure("amt_write_wifi_to_nvram_file", -100, "open  /data/misc/wifi/nvram.txt fail"));
}

TEST_F(Nvram, CopyThatIsForbidden_FailsAndIsKept) {
  write(SOURCE, "a=1\n");
  make_forbidden(COPY, "OLD\n");
  EXPECT_EQ(amt_write_wifi_to_nvram_file(), -100);
  chmod(COPY, 0644);
  EXPECT_EQ(read(COPY), "OLD\n");
}

TEST_F(Nvram, CopyOnAFullSystem_Fails) {
  write(ADDRESS_RECORD, ADDRESS);
  write(SOURCE, "a=1\n");
  make_full(COPY);
  EXPECT_EQ(amt_write_wifi_to_nvram_file(), -100);
  EXPECT_TRUE(m_log.has("sys call: fputs() failed! errno = 28"));
}

TEST_F(Nvram, LongCopyOnAFullSystem_Fails) {
  write(SOURCE, lines_of(90, LINE_97));  // more than a stream holds back
  make_full(COPY);
  EXPECT_EQ(amt_write_wifi_to_nvram_file(), -100);
}

TEST_F(Nvram, CopyOnAReadOnlySystem_Fails) {
  write(SOURCE, "a=1\n");
  make_read_only_system(COPY);
  EXPECT_EQ(amt_write_wifi_to_nvram_file(), -100);
}

TEST_F(Nvram, CopyWhoseModeIsFixed_IsWrittenAllTheSame) {
  write(SOURCE, "a=1\n");
  fs::create_symlink("/proc/self/comm", COPY);
  EXPECT_EQ(amt_write_wifi_to_nvram_file(), 0);
  EXPECT_EQ(m_log.texts().back(), "fchmod  /data/misc/wifi/nvram.txt failed, Operation not permitted");
}

}  // namespace
