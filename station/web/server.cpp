#include "station/web/server.h"

#include <fmt/format.h>
#include <httplib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <charconv>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "station/web/routes.h"
#include "station/web/stream.h"

namespace {

// A thread for each connection, so that a slow reader keeps nobody waiting. When there are too many, new connections
// wait until one ends: those that watch are fewer, and the others end after some seconds.
class connections_st : public httplib::TaskQueue {
 public:
  void enqueue(std::function<void()> serve) override {
    std::unique_lock lock(m_lock);
    m_has_ended.wait(lock, [this] { return m_count < WEB_MOST_WATCHERS + SPARE; });
    ++m_count;
    std::thread([this, serve = std::move(serve)] {
      serve();
      const std::lock_guard ended(m_lock);
      --m_count;
      m_has_ended.notify_all();
    }).detach();
  }

  void shutdown() override {
    std::unique_lock lock(m_lock);
    m_has_ended.wait(lock, [this] { return m_count == 0; });
  }

 private:
  static constexpr unsigned SPARE = 32;

  std::mutex m_lock;
  std::condition_variable m_has_ended;
  unsigned m_count = 0;
};

// The library's server with this project's streams.
class server_st : public httplib::Server {
 public:
  explicit server_st(const std::atomic<bool>* is_over) : m_is_over(is_over) {}

 private:
  bool process_and_close_socket(socket_t socket) override {
    web_stream_st stream(socket, [this] { return m_is_over->load(); });
    bool is_closed = false;
    const bool is_done = process_request(stream, true, is_closed, nullptr);
    ::shutdown(socket, SHUT_RDWR);
    ::close(socket);
    return is_done;
  }

  const std::atomic<bool>* m_is_over;
};

}  // namespace

struct web_server_st::parts_st {
  std::atomic<bool> m_is_over = false;
  std::atomic<bool> m_is_ended = false;
  server_st m_server{&m_is_over};
  web_site_st m_site;
  std::jthread m_thread;
};

std::string web_parse_address(const std::string& text, web_address_st* address) {
  std::string wrong = fmt::format("{}: must be ADDRESS:PORT, such as {}", text, WEB_DEFAULT_ADDRESS);
  const std::size_t colon = text.rfind(':');
  if (colon == std::string::npos || colon == 0) return wrong;
  std::string host = text.substr(0, colon);
  const bool is_bracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
  if (is_bracketed) host = host.substr(1, host.size() - 2);
  if (is_bracketed != (host.find(':') != std::string::npos)) return wrong;
  unsigned port = 0;
  const auto [end, error] = std::from_chars(text.data() + colon + 1, text.data() + text.size(), port);
  if (error != std::errc() || end != text.data() + text.size() || port > 0xFFFF) return wrong;
  *address = {host, static_cast<int>(port)};
  return {};
}

web_server_st::web_server_st(web_board_st* board) : m_parts(std::make_unique<parts_st>()) {
  m_parts->m_site.m_board = board;
  m_parts->m_server.new_task_queue = [] { return new connections_st; };  // the server deletes it
  // Two programs never share a port.
  m_parts->m_server.set_socket_options([](socket_t socket) {
    const int yes = 1;
    ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
  });
  web_set_routes(&m_parts->m_server, &m_parts->m_site);
}

web_server_st::~web_server_st() {
  m_parts->m_is_over = true;
  m_parts->m_site.m_board->close();
  m_parts->m_server.stop();
}

std::string web_server_st::start(const web_address_st& address) {
  httplib::Server& server = m_parts->m_server;
  web_site_st& site = m_parts->m_site;
  site.m_address = address.m_host;
  site.m_port = address.m_port;
  if (address.m_port == 0) {
    site.m_port = server.bind_to_any_port(address.m_host);
  } else if (!server.bind_to_port(address.m_host, address.m_port)) {
    site.m_port = -1;
  }
  if (site.m_port <= 0)
    return fmt::format("{}:{}: the page's port cannot be had: it is taken, or the address is none of this machine",
                       address.m_host, address.m_port);
  m_parts->m_thread = std::jthread([this, &server] {
    server.listen_after_bind();
    m_parts->m_is_ended = true;
  });
  while (!server.is_running() && !m_parts->m_is_ended) std::this_thread::yield();
  return m_parts->m_is_ended ? "the page's server failed" : "";
}

std::string web_server_st::url() const {
  const web_site_st& site = m_parts->m_site;
  const bool is_v6 = site.m_address.find(':') != std::string::npos;
  return fmt::format(fmt::runtime(is_v6 ? "http://[{}]:{}/" : "http://{}:{}/"), site.m_address, site.m_port);
}
