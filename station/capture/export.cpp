#include "station/capture/export.h"

#include <fmt/format.h>
#include <pcap/pcap.h>

#include <algorithm>
#include <array>
#include <ostream>
#include <vector>

#include "capture/line.h"
#include "station/capture/requests.h"
#include "station/report/text.h"

namespace {

constexpr int SNAPSHOT = 65535;
constexpr std::uint8_t HEADER_VERSION = 1;
constexpr std::int64_t MICROS = 1'000'000;

constexpr std::array<const char*, 9> COLUMNS = {"time", "monotonic_ns", "phone", "link", "direction",
                                                "kind", "id",           "what",  "hex"};

const char* kind_of(const stream_item_st& item) {
  static constexpr std::array<const char*, 4> NAMES = {"frame", "pre-response", "text", "noise"};
  return item.m_fault == stream_fault_en::NONE ? NAMES.at(static_cast<std::size_t>(item.m_kind)) : "damaged frame";
}

}  // namespace

struct capture_pcap_st::inside_st {
  pcap_t* m_pcap = nullptr;
  pcap_dumper_t* m_dumper = nullptr;
  std::string m_path;
};

capture_pcap_st::capture_pcap_st() : m_inside(std::make_unique<inside_st>()) {}

capture_pcap_st::~capture_pcap_st() {
  close();
}

std::string capture_pcap_st::open(const std::string& path) {
  m_inside->m_path = path;
  m_inside->m_pcap = ::pcap_open_dead(DLT_USER0, SNAPSHOT);
  if (m_inside->m_pcap == nullptr) return "no memory";
  m_inside->m_dumper = ::pcap_dump_open(m_inside->m_pcap, path.c_str());
  return m_inside->m_dumper == nullptr ? ::pcap_geterr(m_inside->m_pcap) : "";
}

void capture_pcap_st::add(const capture_item_st& item) {
  constexpr std::size_t MOST_PHONES = 255;
  std::uint8_t phone = 0;
  if (!item.m_phone.empty()) {
    const auto next = static_cast<std::uint8_t>(std::min(m_phones.size() + 1, MOST_PHONES));
    phone = m_phones.size() < MOST_PHONES     ? m_phones.try_emplace(item.m_phone, next).first->second
            : m_phones.contains(item.m_phone) ? m_phones.at(item.m_phone)
                                              : next;
  }
  std::vector<std::uint8_t> packet = {HEADER_VERSION, static_cast<std::uint8_t>(item.m_direction),
                                      static_cast<std::uint8_t>(item.m_link), phone};
  packet.insert(packet.end(), item.m_item.m_bytes.begin(), item.m_item.m_bytes.end());
  pcap_pkthdr header{};
  const std::int64_t seconds = item.m_time_us >= 0 ? item.m_time_us / MICROS : 0;
  header.ts.tv_sec = seconds;
  header.ts.tv_usec = item.m_time_us >= 0 ? item.m_time_us % MICROS : 0;
  header.caplen = header.len = static_cast<bpf_u_int32>(packet.size());
  ::pcap_dump(reinterpret_cast<u_char*>(m_inside->m_dumper), &header, packet.data());
}

std::string capture_pcap_st::close() {
  const bool is_whole = m_inside->m_dumper == nullptr || ::pcap_dump_flush(m_inside->m_dumper) == 0;
  if (m_inside->m_dumper != nullptr) ::pcap_dump_close(m_inside->m_dumper);
  if (m_inside->m_pcap != nullptr) ::pcap_close(m_inside->m_pcap);
  m_inside->m_dumper = nullptr;
  m_inside->m_pcap = nullptr;
  return is_whole ? "" : fmt::format("{}: it could not be written whole", m_inside->m_path);
}

void capture_csv_titles(std::ostream* out) {
  *out << fmt::format("{}\r\n", fmt::join(COLUMNS, ","));
}

void capture_csv_line(const capture_item_st& item, std::ostream* out) {
  const auto id = capture_frame_id(item.m_item);
  const std::array<std::string, COLUMNS.size()> cells = {
      capture_time_text(item.m_time_us),
      std::to_string(item.m_monotonic_ns),
      item.m_phone,
      capture_link_name(item.m_link),
      capture_direction_name(item.m_direction),
      kind_of(item.m_item),
      id ? std::to_string(*id) : "",
      station_render_item(item.m_item, item.m_direction == capture_direction_en::SENT),
      fmt::format("{:02X}", fmt::join(item.m_item.m_bytes, ""))};
  const char* separator = "";
  for (const auto& cell : cells) {
    *out << separator << report_csv_cell(report_clean(cell));
    separator = ",";
  }
  *out << "\r\n";
}
