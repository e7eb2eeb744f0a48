// The station's splitter: every byte comes out once and in order, the items do not depend on how the bytes came, and a
// frame without a fault is a well-formed one.
#include <algorithm>
#include <vector>

#include "capture/stream.h"
#include "tests/fuzz/fuzz.h"

namespace {

struct item_st {
  stream_kind_en m_kind;
  stream_fault_en m_fault;
  std::vector<std::uint8_t> m_bytes;
  bool operator==(const item_st&) const = default;
};

void check_item(const stream_item_st& item) {
  FUZZ_CHECK(!item.m_bytes.empty() && item.m_bytes.size() <= AMT_FRAME_SIZE);
  FUZZ_CHECK(stream_payload(item).size() <= item.m_bytes.size());
  const std::string line = stream_line(item.m_bytes);
  FUZZ_CHECK(line.empty() || (line.front() != '\r' && line.back() != '\n'));
  if (item.m_kind == stream_kind_en::PRE_RESPONSE) FUZZ_CHECK(std::ranges::equal(item.m_bytes, AMT_PRE_RESPONSE));
  if (item.m_kind != stream_kind_en::FRAME || item.m_fault != stream_fault_en::NONE) return;
  const bool is_wrapped = item.m_form == stream_form_en::WRAPPED;
  FUZZ_CHECK(!is_wrapped || amt_is_wrapped(item.m_bytes));
  const fuzz_bytes frame = stream_payload(item);
  FUZZ_CHECK(frame.size() == item.m_bytes.size() - (is_wrapped ? AMT_WRAP_SIZE : 0) &&
             amt_read_u16(frame.data()) == frame.size());
}

std::vector<item_st> split(fuzz_bytes bytes, std::size_t piece, stream_form_en form) {
  std::vector<item_st> items;
  const stream_sink sink = [&items](const stream_item_st& item) {
    check_item(item);
    items.push_back({item.m_kind, item.m_fault, {item.m_bytes.begin(), item.m_bytes.end()}});
  };
  stream_splitter_st splitter(form);
  for (std::size_t at = 0; at < bytes.size(); at += piece) {
    splitter.feed(bytes.subspan(at, std::min(piece, bytes.size() - at)), sink);
  }
  splitter.flush(sink);
  FUZZ_CHECK(splitter.pending() == stream_pending_en::NOTHING);
  return items;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz_input input(data, size);
  const std::uint8_t how = input.byte();
  const std::size_t piece = 1 + std::size_t{how};
  const stream_form_en form = how < 0x80 ? stream_form_en::WRAPPED : stream_form_en::BARE;
  const fuzz_bytes bytes = input.rest();
  const std::vector<item_st> items = split(bytes, piece, form);
  std::vector<std::uint8_t> joined;
  for (const item_st& item : items) joined.insert(joined.end(), item.m_bytes.begin(), item.m_bytes.end());
  FUZZ_CHECK(std::ranges::equal(joined, bytes));
  FUZZ_CHECK(items == split(bytes, bytes.size() + 1, form));
  return 0;
}
