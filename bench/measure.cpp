#include "measure.h"

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include "platform/file_handle.h"

namespace zt::bench {
namespace {

using platform::FileHandle;
using std::chrono::steady_clock;

std::vector<char*> argumentsOf(const Command& command) {
  std::vector<char*> arguments;
  for (const auto& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  return arguments;
}

/// Both output streams go to `output`.
pid_t start(const Command& command, int output) {
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, output, STDERR_FILENO);
  pid_t child{};
  const int error =
      ::posix_spawn(&child, command[0].c_str(), &actions, nullptr, argumentsOf(command).data(), ::environ);
  ::posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::system_error(error, std::generic_category(), command[0]);
  return child;
}

FileHandle& nullDevice() {
  static FileHandle file(::open("/dev/null", O_RDWR | O_CLOEXEC));
  return file;
}

void check(int result, const char* what) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), what);
}

Milliseconds milliseconds(const timeval& time) {
  return std::chrono::seconds{time.tv_sec} + std::chrono::microseconds{time.tv_usec};
}

}  // namespace

void adoptOrphans() {
  check(::prctl(PR_SET_CHILD_SUBREAPER, 1), "cannot adopt processes");
}

void endSleepsAtOnce() {
  static constexpr auto number = static_cast<std::uint32_t>(offsetof(seccomp_data, nr));
  // These calls do nothing and return 0. A sleep has then succeeded. A timer is descriptor 0, now the null device: like
  // a timer whose time has come, it can be read at once.
  check(::dup2(nullDevice().fileDescriptor(), STDIN_FILENO), "cannot replace the input");
  std::array<sock_filter, 6> filter{{
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, number),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_clock_nanosleep, 3, 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_timerfd_create, 2, 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_timerfd_settime, 1, 0),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | 0),
  }};
  sock_fprog program{.len = filter.size(), .filter = filter.data()};
  check(::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program), "cannot set a filter for sleeps");
}

Cost costOf(const Command& command) {
  const int output = nullDevice().fileDescriptor();
  int status = 0;
  rusage usage{};
  const auto begin = steady_clock::now();
  const pid_t child = start(command, output);
  check(::wait4(child, &status, 0, &usage), "cannot wait");
  const Milliseconds wall = steady_clock::now() - begin;
  if (status != 0) throw std::runtime_error(command[0] + " failed");
  while (::wait(nullptr) >= 0) {
  }
  return {.wall = wall, .cpu = milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime)};
}

Milliseconds timeToFirstMessage(const Command& command) {
  platform::Pipe pipe;
  const auto begin = steady_clock::now();
  const pid_t child = start(command, pipe.fileHandleForWriting().fileDescriptor());
  pipe.fileHandleForWriting().closeFile();
  const bool wrote = !pipe.fileHandleForReading().availableData().empty();
  const Milliseconds time = steady_clock::now() - begin;
  ::kill(child, SIGKILL);
  while (::wait(nullptr) >= 0) {
  }
  if (!wrote) throw std::runtime_error(command[0] + " writes nothing");
  return time;
}

long peakMemory(const Command& command) {
  const auto arguments = argumentsOf(command);
  const int output = nullDevice().fileDescriptor();
  const pid_t child = ::fork();
  check(child, "cannot fork");
  if (child == 0) {
    ::dup2(output, STDOUT_FILENO);
    ::dup2(output, STDERR_FILENO);
    ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    ::execv(arguments[0], arguments.data());
    ::_exit(127);
  }
  // ru_maxrss of getrusage(2) would include its children and this process. So it is traced: it stops when its program
  // begins and, because of the option, when it ends, while its memory is still there.
  long peak = 0;
  int status = 0;
  check(::waitpid(child, &status, 0), "cannot wait");
  ::ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACEEXIT);
  for (; WIFSTOPPED(status); check(::waitpid(child, &status, 0), "cannot wait")) {
    const long signal = WSTOPSIG(status) == SIGTRAP ? 0 : WSTOPSIG(status);
    if (status >> 8 == (SIGTRAP | (PTRACE_EVENT_EXIT << 8))) {
      std::ifstream file("/proc/" + std::to_string(child) + "/status");
      for (std::string word; file >> word;) {
        if (word == "VmHWM:") file >> peak;
      }
    }
    ::ptrace(PTRACE_CONT, child, nullptr, signal);
  }
  while (::wait(nullptr) >= 0) {
  }
  if (status != 0 || peak == 0) throw std::runtime_error(command[0] + " failed");
  return peak;
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::ranges::nth_element(values, middle);
  return *middle;
}

}  // namespace zt::bench
