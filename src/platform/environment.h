#pragma once

#include <string>
#include <vector>

namespace zt::platform {

/// This process's environment for a bash that is to print one word and nothing else, as texts NAME=value. Left out are
/// the variables that make bash(1) or ld.so(8) run or print more (such as BASH_ENV, SHELLOPTS and LD_PRELOAD), all
/// exported functions, and an LC_ALL that this machine does not have. All others are there, for the word to use.
std::vector<std::string> environmentForBash();

}  // namespace zt::platform
