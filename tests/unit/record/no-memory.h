// A process that runs out of memory.
#pragma once

// While it lives, operator new gives no memory, and the log is silent.
class no_memory {
 public:
  no_memory();
  ~no_memory();
  no_memory(const no_memory&) = delete;
  no_memory& operator=(const no_memory&) = delete;

 private:
  int m_old_priority;
};

// The result of a function of the records that is called without memory.
template <typename Function>
auto without_memory(Function function) {
  const no_memory none;
  return function();
}
