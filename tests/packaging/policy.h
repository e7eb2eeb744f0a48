// The service's policy, compiled by the platform's compiler together with stand-ins for the platform's own part.
#pragma once

#include <string>

#include "tests/packaging/command.h"
#include "tests/unit/temp-folder.h"

inline const std::string POLICY_FOLDER = PROJECT_FOLDER "/packaging/sepolicy";

class policy {
 public:
  // rules: more rules, as another folder of a tree would bring them.
  explicit policy(const std::string& rules = "") {
    const std::string platform = PROJECT_FOLDER "/tests/packaging/platform";
    m_folder.write("more.te", rules);
    m_result =
        run_command("cd '" + m_folder.path("") + "' && m4 " + platform + "/macros.m4 " + platform + "/types.te " +
                    POLICY_FOLDER + "/vx_kro_amt.te more.te >rules && cat " + platform + "/classes.conf rules " +
                    platform + "/end.conf " + platform + "/genfs_contexts " + POLICY_FOLDER +
                    "/genfs_contexts >policy.conf"
                    " && checkpolicy -M -c 30 -o policy policy.conf"
                    " && checkpolicy -M -C -c 30 -o policy.cil policy.conf"
                    " && secilc -M true -c 30 -o cil-policy -f /dev/null policy.cil");
  }

  bool compiles() const { return m_result.m_status == 0; }
  const std::string& messages() const { return m_result.m_out; }
  // The binary policy.
  std::string file() const { return m_folder.path("policy"); }
  std::string path(std::string_view name) const { return m_folder.path(name); }

  bool knows(const std::string& context) const { return run_command("chkcon " + file() + " " + context).m_status == 0; }
  // Whether a process of a type may do something with an object's type.
  bool allows(const std::string& domain, const std::string& type, const std::string& access) const {
    const bool is_process = type == domain || access.starts_with("process ");
    return run_command("sepol_check_access " + file() + " u:r:" + domain +
                       ":s0 u:" + (is_process ? "r:" : "object_r:") + type + ":s0 " + access)
               .m_status == 0;
  }

 private:
  temp_folder m_folder;
  command_result_st m_result;
};

// The type that file_contexts gives a path; empty when it gives none.
inline std::string type_of_path(const std::string& path) {
  const auto found = run_command("selabel_lookup -b file -f " + POLICY_FOLDER + "/file_contexts -k " + path);
  const std::size_t begin = found.m_out.find("object_r:");
  if (found.m_status != 0 || begin == found.m_out.npos) return "";
  return found.m_out.substr(begin + 9, found.m_out.find(":s0", begin) - begin - 9);
}
