// One session of a service of which one call fails: what is asked, and what may come of it. Everything that may not is
// written down as a finding.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "handset/phone/phone.h"

namespace faults {

enum class outcome {
  done,     // the answer of success
  refused,  // an answer of failure, also to two more tries
  silent,   // no answer, also to further tries
  ended,    // the service has ended instead
};

struct request {
  std::string name;
  std::string bytes;
  std::string answer;  // of success, whole
};

class session {
 public:
  explicit session(handset::phone& phone) : m_phone(phone) {}

  handset::phone& phone() { return m_phone; }
  const std::vector<std::string>& findings() const { return m_findings; }
  // Whether the last request was answered to its first try.
  bool was_smooth() const { return m_was_smooth; }
  bool was_silent() const { return m_was_silent; }
  bool was_refused_twice() const { return m_was_refused_twice; }
  bool has_ended();
  void find(const std::string& what) { m_findings.push_back(what); }

  // Waits for something the service does. False when it has ended, or the time is over, which is a finding.
  bool await(const std::string& what, const std::function<bool()>& is_there,
             std::chrono::milliseconds within = std::chrono::seconds(20));
  // The same, but the thing need not come.
  bool hope(const std::function<bool()>& is_there, std::chrono::milliseconds within);

  // Sends a request as a station does: again when no answer comes, and again when it is refused. `look` is called after
  // each answer, with whether it reported success.
  outcome ask(handset::tty_end& tty, const request& wanted, const std::function<void(bool)>& look = {});
  // The same for a request that writes a record, which is the old one, the new one or empty, and the new one once
  // success was answered. Several contents can be as good as the old one; "" is no file or an empty one. The modem's
  // success is not about the record.
  outcome write(handset::tty_end& tty, const request& wanted, const std::string& path, const std::string& content,
                std::vector<std::string> others = {}, bool is_modems_answer = false);

  // SIGTERM, when the service still runs.
  void end();

 private:
  std::optional<outcome> listen(handset::tty_end& tty, const request& wanted, std::chrono::milliseconds within);

  handset::phone& m_phone;
  std::vector<std::string> m_findings;
  bool m_was_smooth = true;
  bool m_is_hung = false;  // then nothing more is tried
  bool m_was_silent = false;
  bool m_was_refused_twice = false;
};

struct session_plan {
  const char* name;
  handset::phone_options (*options)();
  void (*play)(session&);
};

// Every session, in the order in which they are played.
const std::vector<session_plan>& sessions();

}  // namespace faults
