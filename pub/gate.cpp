#include "pub/gate.h"

#include <atomic>

namespace {

std::atomic<int> g_inside;
std::atomic<bool> g_is_closed;

void leave() {
  if (--g_inside == 0 && g_is_closed) g_inside.notify_all();
}

bool enter() {
  ++g_inside;
  if (!g_is_closed) return true;
  leave();
  return false;
}

}  // namespace

pub_gate_pass::pub_gate_pass() {
  while (!enter()) g_is_closed.wait(true);
}

pub_gate_pass::~pub_gate_pass() {
  leave();
}

void pub_gate_close() {
  g_is_closed = true;
  for (int inside = g_inside; inside != 0; inside = g_inside) g_inside.wait(inside);
}

void pub_gate_open(bool is_child) {
  if (is_child) g_inside = 0;  // the fork may have caught a thread of the parent on its way out
  g_is_closed = false;
  g_is_closed.notify_all();
}
