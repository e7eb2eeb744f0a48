// A browser's connection, bounded in size and time, whatever comes from there.
#pragma once

#include <httplib.h>

#include <chrono>
#include <functional>

class web_stream_st : public httplib::Stream {
 public:
  // The socket is borrowed. is_over: the server ends, so nothing more is waited for.
  web_stream_st(int socket, std::function<bool()> is_over) : m_socket(socket), m_is_over(std::move(is_over)) {}

  bool is_readable() const override;
  bool is_writable() const override;
  ssize_t read(char* data, std::size_t size) override;
  // All of it or a failure, in one bounded time.
  ssize_t write(const char* data, std::size_t size) override;
  void get_remote_ip_and_port(std::string& address, int& port) const override;
  void get_local_ip_and_port(std::string& address, int& port) const override;
  socket_t socket() const override { return m_socket; }

 private:
  using clock = std::chrono::steady_clock;

  bool wait(short events, clock::time_point deadline) const;

  int m_socket;
  std::function<bool()> m_is_over;
  std::size_t m_taken = 0;  // bytes of the request
  clock::time_point m_begin = clock::now();
};
