// The battery's calibration: the record that its driver reads again at the phone's next start.
#pragma once

#include <cstdint>

#include "pub/result.h"

inline constexpr char AMT_CALIBRATION_FILE[] = "/amt/vbatt";

// Keeps the four values, as the driver's command words them. 0 or ERR_FAIL.
result_code_en amt_write_adc_diff_value(std::int32_t value1, std::int32_t value2, std::int32_t value3,
                                        std::int32_t value4);
