// A fork takes the locks of the C library and of the platform's log as they are: one that another thread held would be
// held in the child for ever, because no such thread is there. A phone's C library frees none of its files' locks in
// the child. So whoever calls what takes such a lock passes here, and a fork waits until nobody is inside.
#pragma once

// The calling thread is inside for as long as this lives. There must be no wait point meanwhile: no thread is ever
// stopped inside.
class pub_gate_pass {
 public:
  pub_gate_pass();
  ~pub_gate_pass();
  pub_gate_pass(const pub_gate_pass&) = delete;
  pub_gate_pass& operator=(const pub_gate_pass&) = delete;
};

// Between the two nobody is inside, and who comes waits. The caller must not come itself. The child of a fork has no
// other threads and passes true.
void pub_gate_close();
void pub_gate_open(bool is_child);
