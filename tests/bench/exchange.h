// What is timed: blocks through a contender and back, requests that it answers itself, streams of blocks one way.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "tests/bench/terminal.h"

// Median of the times, in microseconds, in which a block went from PC to modem and back. Every byte is compared.
double time_round_trips(const terminal& pc, const terminal& modem, std::span<const std::uint8_t> block, int count);
// Median of the times, in microseconds, from a request to the last byte of its answer. Every byte is compared.
double time_answers(const terminal& pc, std::span<const std::uint8_t> request, std::span<const std::uint8_t> answer,
                    int count);
// Bytes per second of a stream of 4000-byte blocks. Every byte is compared.
double measure_stream(const terminal& from, const terminal& to, int blocks);

// Sends the block until the other side shows something, then lets both become quiet: the contender is up. False: the
// contender does not come up, or carries nothing back.
bool wait_until_relaying(const terminal& pc, const terminal& modem, std::span<const std::uint8_t> block);
// The same for a contender that answers; returns its answer.
std::vector<std::uint8_t> learn_answer(const terminal& pc, std::span<const std::uint8_t> request);
