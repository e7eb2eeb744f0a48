// The reader of captures and what cuts their bytes into frames and lines: what is read is written again the same, each
// line is an entry, a bad line or blank, and each byte comes out in one item at most.
#include <algorithm>
#include <vector>

#include "capture/items.h"
#include "capture/line.h"
#include "capture/reader.h"
#include "tests/fuzz/fuzz.h"

namespace {

struct outcome_st {
  std::vector<std::pair<std::size_t, std::string>> m_entries;  // each written again
  std::vector<std::size_t> m_bad;
  std::size_t m_bytes = 0;
  std::size_t m_item_bytes = 0;
  bool operator==(const outcome_st&) const = default;
};

void check_entry(const capture_entry_st& entry) {
  FUZZ_CHECK(entry.m_bytes.size() <= CAPTURE_MOST_BYTES && entry.m_phone.size() <= CAPTURE_LONGEST_PHONE);
  FUZZ_CHECK(entry.m_monotonic_ns >= 0);
  capture_entry_st again;
  FUZZ_CHECK(capture_read_line(capture_line(entry), &again).empty());
  FUZZ_CHECK(again.m_time_us == entry.m_time_us && again.m_monotonic_ns == entry.m_monotonic_ns);
  FUZZ_CHECK(again.m_direction == entry.m_direction && again.m_link == entry.m_link);
  FUZZ_CHECK(again.m_phone == entry.m_phone && again.m_bytes == entry.m_bytes);
}

outcome_st read(std::string_view text, std::size_t piece) {
  outcome_st outcome;
  std::size_t latest = 0;
  const auto number = [&](std::size_t line) {
    FUZZ_CHECK(line > latest);
    latest = line;
    return line;
  };
  capture_items_st items([&](const capture_item_st& item) { outcome.m_item_bytes += item.m_item.m_bytes.size(); });
  capture_reader_st reader(
      [&](const capture_entry_st& entry, std::size_t line) {
        check_entry(entry);
        outcome.m_entries.emplace_back(number(line), capture_line(entry));
        outcome.m_bytes += entry.m_bytes.size();
        items.take(entry, line);
      },
      [&](std::size_t line, const std::string& why) {
        FUZZ_CHECK(!why.empty() && why.size() < 300);
        outcome.m_bad.push_back(number(line));
      });
  for (std::size_t at = 0; at < text.size(); at += piece) reader.feed(text.substr(at, piece));
  reader.finish();
  items.flush();
  FUZZ_CHECK(reader.bad_lines() == outcome.m_bad.size() && outcome.m_item_bytes <= outcome.m_bytes);
  return outcome;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz_input input(data, size);
  const std::size_t piece = 1 + std::size_t{input.byte()};
  const std::string_view text = fuzz_text(input.rest());
  FUZZ_CHECK(read(text, piece) == read(text, text.size() + 1));
  return 0;
}
