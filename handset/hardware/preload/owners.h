// Files that are given away: written down, because a sandbox has one user and one group only.
#pragma once

#include <sys/types.h>

namespace preload {

// Notes the change in the file "owners", a line "PATH USER GROUP" each; -1 stands for one that stays. Gives what the
// call gives in a phone: what failed only for want of rights, which the sandbox cannot have, has worked.
int give_away(const char* path, uid_t user, gid_t group, int result);

}  // namespace preload
