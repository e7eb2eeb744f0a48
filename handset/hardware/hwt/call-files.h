// The files by which a simulated library is watched and steered, all in one folder of the phone's tree. Nothing depends
// on them: where they cannot be made or read, the library works without them.
//
//   state     written: what the hardware does, one "name=value" a line
//   calls     appended: one line for each call, "hwt_gpsCtrl(2, 5) = 0"
//   control   read before each call, written by the test: lines "<start of a call> = <result>"; the first line that
//             fits decides; "wait <start of a call> = <milliseconds>" makes a call slow
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace hwt {

class call_files {
 public:
  explicit call_files(std::string folder) : m_folder(std::move(folder)) {}

  using state = std::map<std::string, int>;
  // The state last saved; empty when there is none. A state that cannot be kept as a file is kept in memory.
  state load_state() const;
  void save_state(const state& values) const;
  void set_state(const char* name, int value) const;
  void append_call(std::string_view call, int result) const;
  // `wanted` begins with the left side of a control line: the number on the right side of the first such line.
  std::optional<int> controlled(std::string_view wanted) const;
  // Sleeps when the control file makes this call slow.
  void take_time(const std::string& call) const;

 private:
  bool write_whole(const char* name, int flags, std::string_view text) const;

  std::string m_folder;
  mutable state m_remembered;  // for a tree in which the file cannot be kept
};

}  // namespace hwt
