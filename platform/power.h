// Switching the phone off.
#pragma once

// Switches the power off. Does not return when it works; -1 and errno otherwise. On a development host it asks the
// service to end instead, and returns 0.
int platform_power_off();
