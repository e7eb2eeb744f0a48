// `export`: the packet capture, byte by byte and as tshark and its dissector see it; the table.
#include <array>
#include <cctype>
#include <cstdio>
#include <memory>
#include <regex>

#include "amt/amt-convert/ids.h"
#include "station/wire/atoms.h"
#include "tests/capture/lines.h"
#include "tests/station/scripted-phone.h"
#include "tests/unit/temp-folder.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

// What a command prints, its errors too.
std::string output_of(const std::string& command) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(::popen((command + " 2>&1").c_str(), "r"), ::pclose);
  std::string text;
  std::array<char, 4096> chunk{};
  while (const std::size_t count = std::fread(chunk.data(), 1, chunk.size(), pipe.get()))
    text.append(chunk.data(), count);
  return text;
}

class Export : public testing::Test {
 protected:
  outcome_st to(const std::string& text, const std::vector<std::string>& options) const {
    std::vector<std::string> all = {"export", m_folder.write("c", text)};
    all.insert(all.end(), options.begin(), options.end());
    return run_station(all);
  }

  // Lines of fields of the packets that a filter lets through.
  std::vector<std::string> tshark(const std::string& text, const std::string& filter,
                                  const std::vector<std::string>& fields) const {
    EXPECT_EQ(to(text, {"--pcap", m_folder.path("p")}).m_status, 0);
    // Two passes, for what points forward; nothing of the user's own settings.
    std::string command = "HOME=" + m_folder.path("") + " tshark -2 -r " + m_folder.path("p") +
                          " -X lua_script:" PROJECT_FOLDER "/packaging/wireshark/vxamt.lua -T fields -E separator='|'";
    if (!filter.empty()) command += " -Y '" + filter + "'";
    for (const auto& field : fields) command += " -e " + field;
    std::istringstream lines(output_of(command));
    std::vector<std::string> all;
    for (std::string line; std::getline(lines, line);) {
      if (line.find("Running as user \"root\"") == std::string::npos) all.push_back(line);
    }
    return all;
  }

  static byte_string damaged() {
    byte_string bad = VERSION_OK;
    bad.back() ^= 1;
    return bad;
  }
  static std::string session() {
    return capture_text(0, "sent", "pc", plain_hex(VERSION_REQUEST), "A") +
           capture_text(3, "received", "pc", plain_hex(PRE_RESPONSE), "A") +
           capture_text(10, "received", "pc", plain_hex(VERSION_OK), "A") +
           capture_text(20, "sent", "pc", plain_hex("AT^DSVER\r"), "B") +
           capture_text(25, "received", "pc", plain_hex("^DSVER: 7\r\n\r\nOK\r\n"), "B") +
           capture_text(30, "sent", "app", plain_hex(BARE_REQUEST), "A") +
           capture_text(31, "received", "app", plain_hex(BARE_OK), "A") +
           capture_text(40, "received", "modem", plain_hex(damaged()), "A") +
           capture_text(41, "received", "at", "FF00FF0D0A", "A") +
           capture_text(50, "sent", "pc", plain_hex(VERSION_REQUEST), "A") +
           capture_text(52, "received", "pc", plain_hex(VERSION_ERROR), "A");
  }

  temp_folder m_folder;
};

// The file by hand: magic, 2.4, no zone, 65535 bytes at most, link type 147; then each packet's seconds, microseconds
// and two lengths, the four bytes of the header and the item.
TEST_F(Export, PacketCapture_HasTheDocumentedForm) {
  const std::string text =
      capture_text(2500, "sent", "pc", "41540D") + capture_text(2501, "received", "modem", "4F4B0D0A", "A");
  ASSERT_EQ(to(text, {"--pcap", m_folder.path("p")}).m_status, 0);
  EXPECT_EQ(to_hex(read_whole_file(m_folder.path("p"))),
            to_hex(bytes_from_hex("D4C3B2A1 0200 0400 00000000 00000000 FFFF0000 93000000"
                                  "02F2A369 20A10700 07000000 07000000 01000000 41540D"
                                  "02F2A369 08A50700 08000000 08000000 01010201 4F4B0D0A")));
}

TEST_F(Export, TsharksFields_AreThoseOfTheFrames) {
  EXPECT_THAT(tshark(session(), "amt.id == 45",
                     {"frame.number", "amt.phone", "amt.link", "amt.name", "amt.atom.id", "amt.atom.name",
                      "amt.atom.int", "amt.checksum.status"}),
              ElementsAre("1|1|0|AMT_VERSION_CMD|19|module|64|1", "7|1|1|AMT_VERSION_CMD|19|module|64|",
                          "11|1|0|AMT_VERSION_CMD|19|module|64|1"));
}

TEST_F(Export, TsharksRequestsAndResponses_AreLinked) {
  EXPECT_THAT(
      tshark(session(), "amt.response or amt.request", {"frame.number", "amt.request", "amt.response", "amt.time"}),
      ElementsAre("1||3|", "3|1||0.010000000", "4||6|", "6|4||0.005000000", "7||8|", "8|7||0.001000000", "11||12|",
                  "12|11||0.002000000"));
}

TEST_F(Export, TsharksKinds_TellDamageAndNoise) {
  EXPECT_THAT(tshark(session(), "", {"frame.number", "amt.kind"}),
              ElementsAre("1|frame", "2|pre-response", "3|frame", "4|text", "5|text", "6|text", "7|frame", "8|frame",
                          "9|damaged frame", "10|noise", "11|frame", "12|frame"));
  EXPECT_THAT(tshark(session(), "amt.checksum.status == 0", {"frame.number", "amt.id"}), ElementsAre("9|46"));
  EXPECT_THAT(tshark(session(), "amt.result != 0", {"frame.number", "amt.result"}), ElementsAre("12|1"));
  EXPECT_THAT(tshark(session(), "amt.text contains \"DSVER\"", {"frame.number", "amt.text"}),
              ElementsAre("4|AT^DSVER", "5|^DSVER: 7"));
}

TEST_F(Export, TsharksListOfPackets_IsForPeople) {
  to(session(), {"--pcap", m_folder.path("p")});
  const std::string list = output_of("HOME=" + m_folder.path("") + " tshark -r " + m_folder.path("p") +
                                     " -X lua_script:" PROJECT_FOLDER "/packaging/wireshark/vxamt.lua");
  EXPECT_THAT(list, HasSubstr("VXAMT 44 pc <- frame 46 AMT_VERSION_RSPCMD 19(module)=64 1(result)=0"));
  EXPECT_THAT(list, HasSubstr("modem <- damaged: frame 46"));
}

// A packet may be cut anywhere, and its bytes may be anything: the dissector has to bear it.
TEST_F(Export, TsharkOnCutAndChangedFrames_ReportsNoErrorOfItsOwn) {
  std::string text;
  int ms = 0;
  for (const byte_string& whole : {VERSION_TEXT, PRE_RESPONSE, NO_ATOMS}) {
    for (std::size_t size = 1; size <= whole.size(); ++size) {
      const byte_string part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
      ++ms;
      text += capture_text(ms, "received", "pc", plain_hex(part), std::to_string(ms));
    }
  }
  for (std::size_t at = 0; at < BARE_OK.size(); ++at) {
    byte_string changed = BARE_OK;
    changed[at] ^= 0xFF;
    text += capture_text(ms, "received", "app", plain_hex(changed), "x" + std::to_string(at));
  }
  EXPECT_EQ(to(text, {"--pcap", m_folder.path("p")}).m_status, 0);
  const std::string shown = output_of("HOME=" + m_folder.path("") + " tshark -V -r " + m_folder.path("p") +
                                      " -X lua_script:" PROJECT_FOLDER "/packaging/wireshark/vxamt.lua");
  EXPECT_THAT(shown, HasSubstr("Damaged frame"));
  EXPECT_THAT(shown, Not(HasSubstr("Lua Error")));
  EXPECT_THAT(shown, Not(HasSubstr("lua:")));
}

// The names in the dissector are a copy.
TEST_F(Export, DissectorsNames_AreThoseOfTheProgram) {
  const std::string lua = read_whole_file(PROJECT_FOLDER "/packaging/wireshark/vxamt.lua");
  for (int id = 0; id < 256; ++id) {
    const std::string command = amt_command_name(static_cast<std::uint8_t>(id));
    const std::string row = "[" + std::to_string(id) + "] = \"";
    EXPECT_EQ(lua.find(row + command + "\"") != std::string::npos, command != "(undefined)") << id;
    const std::string atom = station_atom_name(static_cast<std::uint8_t>(id));
    if (atom.empty()) continue;
    EXPECT_THAT(lua, HasSubstr(row + atom + "\""));
  }
}

TEST_F(Export, Table_HasALineForEachFrameOrText) {
  const auto got = to(capture_text(0, "sent", "pc", plain_hex(VERSION_REQUEST), "A") +
                          capture_text(3, "received", "pc", plain_hex("=1,\"x\"\r\n"), "=A"),
                      {"--csv", "-"});
  EXPECT_EQ(got.m_status, 0);
  EXPECT_EQ(got.m_out,
            "time,monotonic_ns,phone,link,direction,kind,id,what,hex\r\n"
            "2026-03-01T08:00:00.000000Z,0,A,pc,sent,frame,45,frame 45 (0x2D) AMT_VERSION_CMD "
            "19:int=64(module)," +
                plain_hex(VERSION_REQUEST) +
                "\r\n"
                "2026-03-01T08:00:00.003000Z,3000000,'=A,pc,received,text,,\"text =1,\"\"x\"\"\"," +
                plain_hex("=1,\"x\"\r\n") + "\r\n");
}

TEST_F(Export, OutputThatCannotBeWritten_IsStatusEleven) {
  EXPECT_EQ(to(session(), {"--pcap", m_folder.path("no/folder")}).m_status, 11);
  EXPECT_EQ(to(session(), {"--csv", m_folder.path("no/folder")}).m_status, 11);
  EXPECT_EQ(to(session(), {"--csv", "/dev/full"}).m_status, 11);
  EXPECT_EQ(to(session(), {"--pcap", "/dev/full"}).m_status, 11);
  EXPECT_EQ(to(session(), {}).m_status, 2);
  EXPECT_EQ(to("nonsense\n", {"--csv", "-"}).m_status, 12);
}

TEST_F(Export, MistakeInTheNames_CostsNoFile) {
  const std::string capture = m_folder.write("own", session());
  for (const char* form : {"--pcap", "--csv"}) {
    EXPECT_EQ(run_station({"export", capture, form, capture}).m_status, 2);
    EXPECT_EQ(run_station({"export", m_folder.path("./own"), form, capture}).m_status, 2);
    const std::string kept = m_folder.write("kept", "of yesterday");
    EXPECT_EQ(run_station({"export", m_folder.path("none"), form, kept}).m_status, 12);
    EXPECT_EQ(read_whole_file(kept), "of yesterday");
  }
  EXPECT_EQ(read_whole_file(capture), session());
  EXPECT_EQ(run_station({"export", capture, "--pcap", m_folder.path("same"), "--csv", m_folder.path("same")}).m_status,
            2);
}

}  // namespace
