#include "platform/log.h"

// The phone's log daemon decides what is kept.
void platform_log_init() {}
