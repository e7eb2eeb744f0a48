#include "handset/wire/signals.h"

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <utility>

namespace handset {

end_signals::end_signals(event_loop& loop, std::function<void(int)> action) {
  sigset_t wanted;
  sigemptyset(&wanted);
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&wanted, number);
  ::pthread_sigmask(SIG_BLOCK, &wanted, nullptr);
  m_signals.reset(::signalfd(-1, &wanted, SFD_CLOEXEC | SFD_NONBLOCK));
  loop.watch(m_signals.get(), POLLIN, [fd = m_signals.get(), act = std::move(action)](short) {
    signalfd_siginfo information;
    while (::read(fd, &information, sizeof information) == sizeof information) {
      act(static_cast<int>(information.ssi_signo));
    }
  });
}

}  // namespace handset
