// The configuration: one record, filled once at start-up from a file of key=value lines and only read afterwards.
#pragma once

#include <cstdint>

#include "pub/result.h"

struct amt_cfg_st {
  char m_tty_pc_a[28];      // PC link device
  char m_tty_app_a[28];     // path under which the test application finds the APP link
  char m_tty_modem_a[28];   // modem data device; "/dev/ttyS..." marks a real UART, whose speed is set
  char m_tty_at_mux_a[28];  // modem AT command device
  char m_audio_file_a[48];  // sound file of the audio test
  std::int32_t m_audio_sample_rate;
  std::int32_t m_audio_format;
  std::int32_t m_audio_frame_count;
  char m_mode_file_a[28];                  // read into the record; nothing else reads it
  std::int32_t m_modem_uart_at_baudrate;   // bit/s, once the PC speaks AT text
  std::int32_t m_modem_uart_amt_baudrate;  // bit/s, for the serial set-up
};

extern amt_cfg_st g_amt_cfg;

// Resets the record (zeros, both baud rates 115200) and reads the file. Lines that make no sense and unknown keys are
// skipped; text is cut to its field. 0, ERR_ARGUMENT for a null path, ERR_SYSTEM when the file cannot be opened.
result_code_en amt_cfg_init(const char* path);
