// A start on USB insertion as it is to be followed at the terminal: what the service has reached, and what it waits
// for.
#pragma once

#include <string>
#include <string_view>

namespace handset {

class usb_steps {
 public:
  // Takes the next piece of the service's log. Gives the steps that it shows, one a line.
  std::string take(std::string_view piece);

 private:
  std::string m_line;  // the begin of a line that has not ended
  bool m_is_ending = false;
};

}  // namespace handset
