#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace zt::bench {

using Milliseconds = std::chrono::duration<double, std::milli>;
using Command = std::vector<std::string>;

/// What one run of a program costs. The CPU time includes that of the children it has waited for.
struct Cost {
  Milliseconds wall, cpu;
};

// What cannot be measured throws a std::runtime_error.

/// Has this process inherit, and so be able to wait for, what its children leave running.
void adoptOrphans();

/// From now on the sleeps of this process and of all that it starts are over at once. The kernel answers them: the
/// programs are as they are. For root, also of a user namespace.
void endSleepsAtOnce();

/// Runs a program to its end, its output to /dev/null, and waits for what it leaves running before it returns.
Cost costOf(const Command& command);

/// The time until a program writes its first byte. It is killed then.
Milliseconds timeToFirstMessage(const Command& command);

/// The largest that a program is in memory in a run of its own (VmHWM of proc(5)), its children left out, in KiB.
long peakMemory(const Command& command);

/// Of an even number of values the upper of the two in the middle; of none it is undefined.
double median(std::vector<double> values);

}  // namespace zt::bench
