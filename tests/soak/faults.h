// What can be broken about a phone, and is, by chance, between two requests.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "handset/phone/phone.h"
#include "tests/soak/random-source.h"

namespace soak {

class faults {
 public:
  faults(handset::phone& phone, random_source& random);

  // Once in a while breaks or heals something.
  void step();
  void heal();
  // Only the modem's behaviour, for steps that need it to answer.
  void heal_modem();
  bool any() const;
  bool is_broken(std::string_view part) const;  // or a part whose name begins so
  std::string show() const;                     // what is broken now
  std::size_t changes() const { return m_changes; }

 private:
  struct part {
    std::string name;
    std::function<void()> fail;
    std::function<void()> heal;
    bool is_broken = false;
  };

  void add(std::string name, std::function<void()> fail, std::function<void()> heal);
  void add_file(const std::string& name, const std::string& path, handset::file_fault fault);
  void add_library(const std::string& name, const std::string& folder, const std::vector<std::string>& calls);
  void add_modem(const std::string& name, const std::function<void(handset::modem_switches&)>& fail);
  void add_device_call(const std::string& words, int error);
  void set_device_calls();
  void add_files();
  void change(part& wanted, bool is_broken);
  void unlock_addresses();

  handset::phone& m_phone;
  random_source& m_random;
  std::vector<part> m_parts;
  std::vector<std::pair<std::string, int>> m_device_calls;  // those that fail now
  std::size_t m_changes = 0;
};

}  // namespace soak
