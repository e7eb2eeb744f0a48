// Waiting for something that another thread brings about and that has no descriptor to wait on.
#pragma once

#include <chrono>
#include <thread>

// Whether the condition came true before the deadline.
template <typename Condition>
bool wait_for(const Condition& is_true, std::chrono::milliseconds within = std::chrono::seconds(20)) {
  const auto deadline = std::chrono::steady_clock::now() + within;
  while (!is_true()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::yield();
  }
  return true;
}
