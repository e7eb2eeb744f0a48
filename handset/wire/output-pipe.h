// One output stream of a process: a pipe that an event loop reads into a log.
#pragma once

#include "handset/wire/event-loop.h"
#include "handset/wire/text-log.h"
#include "pub/util/fd.h"

namespace handset {

class output_pipe {
 public:
  explicit output_pipe(event_loop& loop) : m_loop(loop) {}

  // The end for the process. size: the pipe's capacity in bytes, 0 for the usual one.
  pub_fd open(int size);
  void pause();
  void resume();
  // On the loop's thread: takes all that is there, paused or not. finish() closes the pipe: no more will come.
  void drain();
  void finish();

  text_log log;

 private:
  void watch();

  event_loop& m_loop;
  pub_fd m_read_end;
};

}  // namespace handset
