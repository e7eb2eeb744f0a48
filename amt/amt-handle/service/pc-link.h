// The PC link: reads what the PC sends and hands every block to the dispatcher.
#pragma once

#include <cstdint>
#include <span>

// Whether a block is the PC's opening probe: "AT\r" in any case, of 3 to 5 bytes in all, or doubled ("AT\r\nAT\r").
enum class amt_probe_en { NONE, SHORT, DOUBLED };
amt_probe_en amt_recognise_probe(std::span<const std::uint8_t> block);

// Thread entry. Its end, with the PC link or the modem link gone, is the end of the service.
void amt_handle_read_pc_loop();
