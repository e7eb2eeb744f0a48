// One word on an open line, from its arguments to its outcome: the line comes into step first where that is needed, and
// what was written is read back where that is wanted.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "station/wire/link.h"
#include "station/wire/outcome.h"
#include "station/wire/session.h"
#include "station/words/word.h"

struct station_wishes_st {
  std::chrono::milliseconds m_timeout{5000};  // for the answer, and as long again to come into step
  std::size_t m_expect = 0;                   // end after so many frames and texts; 0: with the answer
  bool m_no_wait = false;                     // end when everything is sent
  std::optional<bool> m_verify;               // read back what was written; none: where it is an identity
};

class station_exchange_st {
 public:
  // Link and session are borrowed; the link is open.
  station_exchange_st(station_link_st* link, station_session_st* session, stream_form_en form)
      : m_link(link), m_session(session), m_form(form) {}

  station_outcome_st run(const station_word_st& word, const station_arguments_st& arguments,
                         const station_wishes_st& wishes);

 private:
  station_exit_en come_into_step(const station_word_st& word, const station_request_st& request, bool is_forced,
                                 const station_wishes_st& wishes, station_outcome_st* outcome);
  station_outcome_st ask(const station_word_st& word, const station_request_st& request, bool is_forced,
                         const station_wishes_st& wishes);
  station_outcome_st failed(station_exit_en code) const;
  void verify(const station_word_st& word, const station_arguments_st& reading, const std::string& expected,
              const station_wishes_st& wishes, station_outcome_st* outcome);

  station_link_st* m_link;
  station_session_st* m_session;
  stream_form_en m_form;
};

// What is wrong with a word's arguments and wishes before anything is sent; empty when nothing is.
std::string station_check_arguments(const station_word_st& word, const station_arguments_st& arguments,
                                    const station_wishes_st& wishes);
