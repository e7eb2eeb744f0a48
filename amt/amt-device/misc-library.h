// The board vendor's library ("misc library"), through which some tests reach the hardware. It is opened and closed
// around every single call; nothing of it is kept.
#pragma once

#include <cstdint>

#include "pub/result.h"

// Builds the paths of the board's libraries from its model. Once, before any handler runs.
void amt_device_init_library_paths();

// The path of the misc library, and of the audio library, which is only logged: no operation loads it.
const char* amt_device_misc_library_path();
const char* amt_device_audio_library_path();

// One opened operation of the misc library; the library is closed with it.
class amt_misc_operation {
 public:
  amt_misc_operation(const char* caller, const char* name);
  ~amt_misc_operation();
  amt_misc_operation(const amt_misc_operation&) = delete;
  amt_misc_operation& operator=(const amt_misc_operation&) = delete;
  // The operation's address; null, with the failure logged, when the library or the operation is missing.
  void* address() const { return m_address; }

 private:
  void* m_library;
  void* m_address;
};

// Calls an operation of the misc library for `caller`, a function's name for the log: `use` gets the function, logs,
// calls, and gives the result. ERR_SYSTEM when the library or the operation is missing.
template <typename Function, typename Use>
result_code_en amt_device_call_misc(const char* caller, const char* name, Use use) {
  const amt_misc_operation operation(caller, name);
  if (operation.address() == nullptr) return ERR_SYSTEM;
  // The library's own result is given as a code, on purpose: callers only check whether it is 0.
  return static_cast<result_code_en>(use(reinterpret_cast<Function*>(operation.address())));
}
