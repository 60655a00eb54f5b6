#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace zt::bench {

using Milliseconds = std::chrono::duration<double, std::milli>;
using Command = std::vector<std::string>;

/// What one run of a program costs. The time of processors includes that of the children it has waited for.
struct Cost {
  Milliseconds wall, processor;
};

/// Runs a program to its end, its output to /dev/null, and waits for what it leaves running before it returns. Throws
/// std::runtime_error where the program fails.
Cost costOf(const Command& command);

/// The time until a program writes the first byte to its standard error. It is killed then.
Milliseconds timeToFirstMessage(const Command& command);

/// The largest that a program is in memory in a run of its own (VmHWM of proc(5)), its children left out, in KiB.
long peakMemory(const Command& command);

/// From now on the sleeps of this process and of all that it starts are over at once. The kernel answers them: the
/// programs are as they are.
void endSleepsAtOnce();

double median(std::vector<double> values);

}  // namespace zt::bench
