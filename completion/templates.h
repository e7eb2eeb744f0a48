// The parts of the scripts that are the same for every program; files of their own, which an editor knows as what they
// are.
#pragma once

extern const char COMPLETION_BASH[];
extern const char COMPLETION_ZSH[];
extern const char COMPLETION_FISH[];
extern const char COMPLETION_WALK[];  // of bash and zsh
