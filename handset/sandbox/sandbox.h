// Room `sandbox`: a phone's file tree on the host, the namespaces and mounts that make it a root of its own, and the
// agent in it with the link to it. Other rooms decide what lies in the tree and what runs there.
//
// The sandbox of a phone: bubblewrap with user, mount, process, network and IPC namespaces, whether root or somebody
// else asks, and the agent as its process 1. Inside everything runs as one user: uid 0 (root), as the service on a phone,
// or uid 1000 (system); gid 1001 (radio), the one group that a sandbox can have.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

#include "handset/wire/error.h"
#include "handset/wire/mounts.h"
#include "pub/util/fd.h"

namespace handset {

class phone_tree;

// No sandbox can be made on this machine; the text names what is missing.
struct sandbox_error : error {
  using error::error;
};

class sandbox {
 public:
  sandbox() = default;
  ~sandbox();
  sandbox(const sandbox&) = delete;
  sandbox& operator=(const sandbox&) = delete;

  // Starts the sandbox. Call it on a thread that lives as long as the sandbox shall: the kernel ends the sandbox with
  // that thread. Throws sandbox_error when bubblewrap is missing.
  void start(const phone_tree& tree, const std::vector<bind_mount>& binds, const std::vector<storage_card>& cards,
             phone_user user);
  // The agent's socket: ends when the sandbox does.
  int agent() const { return m_agent.get(); }
  // Why it ended before the agent's hello: bubblewrap's messages, and what of this machine may be the reason.
  std::string why_not();
  // Ends everything in the sandbox and waits until all has ended.
  void stop();

 private:
  pub_fd m_agent;
  pub_fd m_complaints;  // bubblewrap's standard error
  pid_t m_bwrap = 0;
};

}  // namespace handset
