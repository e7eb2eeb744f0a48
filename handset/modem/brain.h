// What the simulated modem understands: a stream of AT text and wrapped frames in, answers out. No descriptor, thread
// or clock; handset/modem/modem.h gives it a link and its habits.
//
// Policy on input: a line of AT text goes from "AT" (any case) to its CR, a wrapped frame is as long as its length
// field says. A byte that can belong to neither is noise: it is dropped, counted, and the next byte is looked at. CR
// and LF between two requests do not count. Each link has a brain of its own; all brains share one modem_state.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "handset/modem/state.h"

namespace handset {

class modem_brain {
 public:
  explicit modem_brain(modem_state& known) : state(known) {}

  // Takes in a piece of the stream, however it was cut, and gives the answers to the requests that it completed.
  std::vector<std::string> receive(std::string_view bytes, const modem_switches& switches);
  // Whether an unfinished request is held. finish(): no more of it will come, so it is noise or, for the one line that
  // the service sends without its end, a request.
  bool has_partial() const { return !m_input.empty(); }
  std::vector<std::string> finish(const modem_switches& switches);
  void drop_partial();

  modem_state& state;

 private:
  std::string answer_frame(std::string_view wrapped, bool refuse);

  std::string m_input;  // the beginning of a request, or empty
};

}  // namespace handset
