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

// If something cannot be measured, these throw a std::runtime_error.

/// Makes this process inherit what its children leave running, so that it can wait for it.
void adoptOrphans();

/// From now on the sleeps of this process and its children end at once, and so do waits for timers of
/// timerfd_create(2), by a filter in the kernel: the programs themselves stay unchanged. Their input is the null
/// device. For root, also of a user namespace.
void endSleepsAtOnce();

/// Runs a program to its end, with its output to /dev/null, and then waits for what it leaves running.
Cost costOf(const Command& command);

/// The time until a program writes its first byte. Then it is killed.
Milliseconds timeToFirstMessage(const Command& command);

/// The peak memory of a program in one run (VmHWM of proc(5)) without its children, in KiB.
long peakMemory(const Command& command);

/// Needs at least one value. Of an even number it is the upper one of the two in the middle.
double median(std::vector<double> values);

}  // namespace zt::bench
