// docs/protocol.md against the code: which requests there are, and the example of the checksum.
#include "amt/amt-convert/wrap.h"
#include "amt/amt-handle/modem/forward.h"
#include "amt/amt-handle/service/registrations.h"
#include "tests/hex.h"
#include "tests/unit/docs/text.h"

namespace {

std::string protocol() {
  return project_text("docs/protocol.md");
}

std::string pc_section() {
  return between(protocol(), "## Requests on the PC link\n", "\n## ");
}

std::string app_section() {
  return between(protocol(), "## Requests on the application's link\n", "\n## ");
}

// The ids that the rows of a table begin with: "| 45 version |", "| 170, 172, 174 |".
std::set<int> ids_of_rows(const std::string& section) {
  std::set<int> result;
  for (const auto& row : matches(section, "\n\\| ([0-9, ]+)")) result.merge(numbers(row));
  return result;
}

std::set<int> forwarded_in_document() {
  return numbers(between(app_section() + "end", "carried to the modem as they are:", "end"));
}

std::set<int> registered(std::uint8_t link, bool is_forwarded) {
  std::set<int> result;
  for (const auto& row : amt_handle_registrations()) {
    if (row.m_link == link && (row.m_handler == amt_modem_handle_req) == is_forwarded) result.insert(row.m_request_id);
  }
  return result;
}

std::uint32_t hex_value(const std::string& digits) {
  return static_cast<std::uint32_t>(std::stoul(digits, nullptr, 16));
}

std::string checksum_section() {
  return between(protocol(), "### Checksum\n", "\n### ");
}

byte_string covered_bytes() {
  return bytes_from_hex(between(checksum_section(), "the covered bytes are `", "`"));
}

}  // namespace

TEST(ProtocolDocument, PcRequests_AreTheRegisteredOnes) {
  EXPECT_EQ(ids_of_rows(pc_section()), registered(AMT_LINK_PC, false));
}

TEST(ProtocolDocument, ApplicationRequests_AreTheRegisteredOnes) {
  EXPECT_EQ(ids_of_rows(app_section()), registered(AMT_LINK_APP, false));
}

// What a later row of the registration takes over is no longer forwarded.
TEST(ProtocolDocument, ForwardedRequests_AreTheRegisteredOnes) {
  std::set<int> expected = registered(AMT_LINK_APP, true);
  for (const int id : registered(AMT_LINK_APP, false)) expected.erase(id);
  EXPECT_EQ(forwarded_in_document(), expected);
}

// Each atom that the code knows is described: among those of the service's requests, or of the modem's.
TEST(ProtocolDocument, Atoms_AreThoseOfTheCode) {
  const std::string atoms = between(protocol(), "## The atoms of these requests\n", "\n## ");
  std::set<int> known;
  for (const auto& cell : matches(atoms, "\n\\| ([0-9]+(?:(?:, | to )[0-9]+)?)")) {
    const auto ends = numbers(cell);
    for (int id = *ends.begin(); id <= *ends.rbegin(); ++id) known.insert(id);
  }
  const std::string carried = between(protocol(), "## Requests carried to the modem\n", "\n## ");
  for (const auto& cell : matches(carried, "([0-9]+) (?:int|bytes|flag)")) known.merge(numbers(cell));
  for (const auto& id : matches(project_text("amt/amt-convert/ids.h"), "AMT_ATOM_[A-Z0-9_]+ = ([0-9]+),")) {
    EXPECT_TRUE(known.contains(std::stoi(id))) << id;
  }
}

TEST(ProtocolDocument, ChecksumExample_IsWhatTheCodeComputes) {
  auto covered = covered_bytes();
  ASSERT_EQ(covered.size(), 12u);
  const std::uint32_t result = hex_value(between(checksum_section(), "The result is 0x", ","));
  EXPECT_EQ(amt_wrap_checksum(covered), result);

  const auto sent = bytes_from_hex(between(checksum_section(), "sent as `", "`"));
  ASSERT_EQ(sent.size(), 4u);
  EXPECT_EQ(amt_read_u32(sent.data()), result);

  covered[9] = 0;
  EXPECT_EQ(amt_wrap_checksum(covered), hex_value(between(checksum_section(), "With sub-kind 0 it would be 0x", ".")));
}

TEST(ProtocolDocument, PreResponse_IsTheOneThatIsSent) {
  const auto shown = bytes_from_hex(between(protocol(), "### Pre-response\n\n`", "`"));
  EXPECT_EQ(shown, byte_string(AMT_PRE_RESPONSE.begin(), AMT_PRE_RESPONSE.end()));
  auto example = covered_bytes();
  const auto sent = bytes_from_hex(between(checksum_section(), "sent as `", "`"));
  example.insert(example.end(), sent.begin(), sent.end());
  EXPECT_EQ(shown, example);
}
