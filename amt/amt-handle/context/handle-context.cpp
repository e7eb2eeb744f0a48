#include "amt/amt-handle/context/handle-context.h"

#include <new>
#include <type_traits>

handle_context_st g_handle_context;

// exit() runs while threads are alive: nothing here may be destroyed under them.
static_assert(std::is_trivially_destructible_v<handle_context_st>);

void amt_handle_clear_context() {
  new (&g_handle_context) handle_context_st();
}
