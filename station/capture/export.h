// A capture in the forms of other programs: a packet capture for Wireshark, and a table for a spreadsheet. Each frame
// or text is a packet, and a line of the table.
#pragma once

#include <iosfwd>
#include <map>
#include <memory>
#include <string>

#include "capture/items.h"
#include "station/wire/render.h"

// The packet capture: the link type is USER0, and each packet begins with four bytes. docs/capture.md describes them.
class capture_pcap_st {
 public:
  capture_pcap_st();
  ~capture_pcap_st();
  capture_pcap_st(const capture_pcap_st&) = delete;
  capture_pcap_st& operator=(const capture_pcap_st&) = delete;

  // Returns why the file cannot be written; empty: it can.
  std::string open(const std::string& path);
  void add(const capture_item_st& item);
  // Returns why the file is not whole; empty: it is.
  std::string close();

 private:
  struct inside_st;
  std::unique_ptr<inside_st> m_inside;
  std::map<std::string, std::uint8_t> m_phones;  // by the order in which they come; 0: without a name
};

// The table, with a line of titles.
void capture_csv_titles(std::ostream* out);
void capture_csv_line(const capture_item_st& item, std::ostream* out);
