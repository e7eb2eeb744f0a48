// The surroundings of the service while a target runs it: its links are socket pairs that never block, its files,
// properties and libraries hold what the input gives, and nothing of the machine is touched: no command runs, no file
// is written, nothing waits, no process is killed and no power goes off.
#pragma once

#include <vector>

#include "amt/amt-handle/context/handle-context.h"
#include "tests/fuzz/fuzz.h"

enum fuzz_fault_en : std::uint8_t {
  FUZZ_NO_READING = 1,        // files cannot be opened for reading
  FUZZ_NO_WRITING = 2,        // ... for writing
  FUZZ_NO_HARDWARE = 4,       // every operation of the device-test library fails
  FUZZ_NO_BOARD_LIBRARY = 8,  // the board's library is missing
  FUZZ_NO_COMMANDS = 16,      // shell commands fail
  FUZZ_NO_ACCESS = 32,        // no file is there when it is asked for
  FUZZ_PROPERTIES = 64,       // every property holds the content of the files
  FUZZ_NO_MODEM = 128,        // both links to the modem are closed
};

// A service whose context is fresh and whose links are open, for one input.
class fuzz_phone {
 public:
  // `file` is the content of every file that is opened.
  fuzz_phone(std::uint8_t faults, fuzz_bytes file);
  ~fuzz_phone();
  fuzz_phone(const fuzz_phone&) = delete;
  fuzz_phone& operator=(const fuzz_phone&) = delete;

  // Has the modem answer on its AT link, in pieces, as they are read, and now and then one too many at a time; then the
  // link is as if reset.
  void answer(fuzz_bytes text, std::size_t piece);
  // What the service has sent.
  std::vector<std::uint8_t> sent_to_pc();
  std::vector<std::uint8_t> sent_to_app();
  std::vector<std::uint8_t> sent_to_modem();

 private:
  handle_context_st& m_context = g_handle_context;
};

// Registers every handler of the service.
void fuzz_register_handlers();
// Whether a result is one of the service's codes.
bool fuzz_is_result_code(std::int32_t result);
// What the service sends has to be well-formed: bare frames back to back, or the wrapped stream of the PC link.
void fuzz_check_frames(fuzz_bytes sent);
void fuzz_check_stream(fuzz_bytes sent);
