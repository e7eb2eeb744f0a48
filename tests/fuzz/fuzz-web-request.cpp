// What a browser may send to the operator's page: every request ends in an answer, only a reading one from this host
// gets the page, and nothing of the run changes.
#include <httplib.h>

#include <cstring>

#include "station/web/routes.h"
#include "station/web/server.h"
#include "tests/fuzz/fuzz.h"

namespace {

// A connection that is text in both directions.
class text_stream : public httplib::Stream {
 public:
  explicit text_stream(std::string text) : m_text(std::move(text)) {}

  bool is_readable() const override { return m_at < m_text.size(); }
  bool is_writable() const override { return true; }
  ssize_t read(char* data, std::size_t size) override {
    const std::size_t count = std::min(size, m_text.size() - m_at);
    std::memcpy(data, m_text.data() + m_at, count);
    m_at += count;
    return static_cast<ssize_t>(count);
  }
  ssize_t write(const char* data, std::size_t size) override {
    m_answer.append(data, size);
    return static_cast<ssize_t>(size);
  }
  void get_remote_ip_and_port(std::string&, int&) const override {}
  void get_local_ip_and_port(std::string&, int&) const override {}
  socket_t socket() const override { return -1; }

  const std::string& answer() const { return m_answer; }

 private:
  std::string m_text;
  std::size_t m_at = 0;
  std::string m_answer;
};

class server : public httplib::Server {
 public:
  explicit server(web_site_st* site) { web_set_routes(this, site); }
  void serve(text_stream* stream) {
    bool is_closed = false;
    process_request(*stream, true, is_closed, nullptr);
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static web_board_st board({"plan", "1", "station"}, {"A", "B"});
  static web_site_st site{&board, "127.0.0.1", 8700};
  static server page(&site);
  board.close();  // or a watcher would stay
  const std::string text(data, data + std::min<std::size_t>(size, 16 * 1024));
  text_stream stream(text);
  page.serve(&stream);
  if (stream.answer().starts_with("HTTP/1.1 200")) {
    FUZZ_CHECK(text.starts_with("GET ") || text.starts_with("HEAD "));
    FUZZ_CHECK(stream.answer().find("Content-Security-Policy") != std::string::npos);
  }
  FUZZ_CHECK(site.m_watchers == 0);

  const bool is_own = web_is_own_host(text, "127.0.0.1", 8700);
  FUZZ_CHECK(!is_own || text.ends_with(":8700"));
  web_address_st address;
  FUZZ_CHECK(!web_parse_address(text, &address).empty() || (address.m_port >= 0 && address.m_port <= 0xFFFF));
  return 0;
}
