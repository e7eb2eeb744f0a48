// The names of this user's phones: each is a link in the user's folder that leads to the phone's own folder.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace handset {

// At most 20 letters, digits, dots, dashes and underscores.
bool is_phone_name(const std::string& text);

// Gives a phone its name for as long as the object lives. Throws error when a running phone has that name; an empty
// name means the first of "phone1", "phone2" that is free.
class phone_name {
 public:
  phone_name(const std::string& wanted, const std::filesystem::path& folder);
  ~phone_name();
  phone_name(const phone_name&) = delete;
  phone_name& operator=(const phone_name&) = delete;

  const std::string& text() const { return m_text; }

 private:
  std::string m_text;
};

// The phones that run now, in the order of their names.
struct named_phone {
  std::string name;
  std::filesystem::path folder;
};
std::vector<named_phone> running_phones();

// The control socket in a phone's folder.
std::filesystem::path control_socket(const std::filesystem::path& folder);

}  // namespace handset
