// What the platform log needs before the first line is written.
#pragma once

void platform_log_init();
