#include "station/web/routes.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <httplib.h>
#include <openssl/evp.h>

#include <array>

#include "station/web/page.h"

namespace {

constexpr std::chrono::milliseconds SIGN_OF_LIFE{3000};  // the page waits for three of them
constexpr std::size_t LONGEST_PATH = 256;
constexpr std::size_t MOST_HEADERS = 64;

using handled = httplib::Server::HandlerResponse;

// As a content security policy names an inline script or style.
std::string hash_of(std::string_view text) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned size = 0;
  EVP_Digest(text.data(), text.size(), digest.data(), &size, EVP_sha256(), nullptr);
  std::array<unsigned char, std::size_t{2} * EVP_MAX_MD_SIZE> encoded{};
  const int length = EVP_EncodeBlock(encoded.data(), digest.data(), static_cast<int>(size));
  return "'sha256-" + std::string(encoded.begin(), encoded.begin() + length) + "'";
}

// What stands between <name> and </name>.
std::string_view inside(std::string_view page, std::string_view name) {
  const std::string begin = fmt::format("<{}>", name);
  const std::size_t first = page.find(begin);
  const std::size_t last = page.find(fmt::format("</{}>", name));
  return page.substr(first + begin.size(), last - first - begin.size());
}

std::string policy() {
  const std::string_view page = web_page();
  return fmt::format(
      "default-src 'none'; script-src {}; style-src {}; img-src data:; connect-src 'self'; base-uri 'none'; "
      "form-action 'none'; frame-ancestors 'none'",
      hash_of(inside(page, "script")), hash_of(inside(page, "style")));
}

bool is_loopback(const std::string& address) {
  return address == "localhost" || address == "::1" || address.starts_with("127.");
}

bool is_number(const std::string& name) {
  std::array<unsigned char, 16> ignored{};
  return ::inet_pton(AF_INET, name.c_str(), ignored.data()) == 1 ||
         ::inet_pton(AF_INET6, name.c_str(), ignored.data()) == 1;
}

handled refuse(httplib::Response& response, int status, const char* why) {
  response.status = status;
  response.set_content(std::string(why) + "\n", "text/plain; charset=utf-8");
  return handled::Handled;
}

handled check(const httplib::Request& request, httplib::Response& response, const web_site_st& site) {
  const bool is_read = request.method == "GET" || request.method == "HEAD";
  if (!is_read) {
    response.set_header("Allow", "GET, HEAD");
    return refuse(response, 405, "only reading is possible here");
  }
  if (request.path.size() > LONGEST_PATH) return refuse(response, 414, "too long");
  if (request.headers.size() > MOST_HEADERS) return refuse(response, 431, "too many headers");
  if (request.has_header("Range")) return refuse(response, 416, "the page comes whole");
  const bool is_own = request.get_header_value_count("Host") == 1 &&
                      web_is_own_host(request.get_header_value("Host"), site.m_address, site.m_port);
  return is_own ? handled::Unhandled : refuse(response, 421, "this is another host");
}

// One watcher: the whole board, then what changes, until he leaves or the board is closed.
class watcher_st {
 public:
  explicit watcher_st(web_site_st* site) : m_site(site) {}
  ~watcher_st() { --m_site->m_watchers; }
  watcher_st(const watcher_st&) = delete;
  watcher_st& operator=(const watcher_st&) = delete;

  bool send(httplib::DataSink& sink) {
    const web_frame frame =
        m_next == 0 ? m_site->m_board->whole(&m_next) : m_site->m_board->next(&m_next, SIGN_OF_LIFE);
    if (frame) return sink.write(frame->data(), frame->size());
    sink.done();
    return true;
  }

 private:
  web_site_st* m_site;
  std::uint64_t m_next = 0;
};

void watch(httplib::Response& response, web_site_st* site) {
  if (++site->m_watchers > WEB_MOST_WATCHERS) {
    --site->m_watchers;
    response.set_header("Retry-After", "10");
    refuse(response, 503, "too many watch already");
    return;
  }
  const auto watcher = std::make_shared<watcher_st>(site);
  response.set_chunked_content_provider(
      "text/event-stream", [watcher](std::size_t, httplib::DataSink& sink) { return watcher->send(sink); });
}

}  // namespace

bool web_is_own_host(std::string_view host, const std::string& address, int port) {
  std::string name(host);
  const std::string end = ":" + std::to_string(port);
  if (name.ends_with(end)) {
    name.resize(name.size() - end.size());
  } else if (port != 80) {
    return false;
  }
  const bool is_bracketed = name.size() > 2 && name.front() == '[' && name.back() == ']';
  if (is_bracketed) name = name.substr(1, name.size() - 2);
  if (is_bracketed != (name.find(':') != std::string::npos)) return false;
  if (name == address) return true;
  if (is_loopback(address)) return is_loopback(name) && (name == "localhost" || is_number(name));
  // Whoever listens on all addresses cannot know them; but only a name can lead somewhere else than it says.
  const bool is_any = address == "0.0.0.0" || address == "::";
  return is_any && (name == "localhost" || is_number(name));
}

void web_set_routes(httplib::Server* server, web_site_st* site) {
  server->set_default_headers({{"Content-Security-Policy", policy()},
                               {"X-Content-Type-Options", "nosniff"},
                               {"Referrer-Policy", "no-referrer"},
                               {"Cross-Origin-Resource-Policy", "same-origin"},
                               {"Cache-Control", "no-store"}});
  server->set_payload_max_length(0);
  server->set_pre_routing_handler(
      [site](const auto& request, auto& response) { return check(request, response, *site); });
  server->Get("/", [](const auto&, auto& response) { response.set_content(web_page(), "text/html; charset=utf-8"); });
  server->Get("/events", [site](const auto&, auto& response) { watch(response, site); });
}
