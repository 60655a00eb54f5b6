#include "platform/task.h"

#include <errno.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <utility>

#include "platform/linux/fatal.h"

namespace zt {
namespace {

/// What posix_spawn(3) is to do in the child before the program starts.
class SpawnSetup {
 public:
  SpawnSetup() {
    ::posix_spawn_file_actions_init(&actions_);
    ::posix_spawnattr_init(&attributes_);
    sigset_t signals;
    ::sigfillset(&signals);
    ::posix_spawnattr_setsigdefault(&attributes_, &signals);
    ::sigemptyset(&signals);
    ::posix_spawnattr_setsigmask(&attributes_, &signals);
    ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
  }
  SpawnSetup(const SpawnSetup&) = delete;
  SpawnSetup& operator=(const SpawnSetup&) = delete;
  ~SpawnSetup() {
    ::posix_spawn_file_actions_destroy(&actions_);
    ::posix_spawnattr_destroy(&attributes_);
  }

  void connect(int source, int target) {
    const int error = ::posix_spawn_file_actions_adddup2(&actions_, source, target);
    if (error != 0) fatal("cannot connect a stream of a child", error);
  }

  /// 0, or the error number of what failed: preparing the child or executing its program.
  int spawn(pid_t& child, const char* path, char* const* arguments) {
    // Close-on-exec covers what this process opened, not what it was itself handed by its parent.
    ::posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
    return ::posix_spawn(&child, path, &actions_, &attributes_, arguments, ::environ);
  }

 private:
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
};

/// The end of the pipe that the child gets, the file, or null for an inherited stream.
FileHandle* childsEnd(const Task::Stream& stream, FileHandle& (Pipe::*end)()) {
  if (const auto* pipe = std::get_if<std::shared_ptr<Pipe>>(&stream)) return &((**pipe).*end)();
  if (const auto* file = std::get_if<std::shared_ptr<FileHandle>>(&stream)) return file->get();
  return nullptr;
}

}  // namespace

void Task::setArguments(std::optional<std::vector<std::string>> arguments) {
  arguments_ = std::move(arguments).value_or(std::vector<std::string>{});
}

void Task::launch() {
  struct Connection {
    const Stream& stream;
    FileHandle* end;
    int target;
  };
  const std::array<Connection, 3> connections{
      {{standardInput_, childsEnd(standardInput_, &Pipe::fileHandleForReading), STDIN_FILENO},
       {standardOutput_, childsEnd(standardOutput_, &Pipe::fileHandleForWriting), STDOUT_FILENO},
       {standardError_, childsEnd(standardError_, &Pipe::fileHandleForWriting), STDERR_FILENO}}};

  SpawnSetup setup;
  for (const auto& [stream, end, target] : connections) {
    if (end != nullptr) setup.connect(end->fileDescriptor(), target);
  }

  std::vector<char*> arguments{launchPath_.data()};
  for (auto& argument : arguments_) arguments.push_back(argument.data());
  arguments.push_back(nullptr);

  if (const int error = setup.spawn(processIdentifier_, launchPath_.c_str(), arguments.data())) {
    fatal("cannot start " + launchPath_, error);
  }
  for (const auto& [stream, end, target] : connections) {
    // Otherwise a reader of the pipe would wait for an end of file that this process holds back.
    if (std::holds_alternative<std::shared_ptr<Pipe>>(stream)) end->closeFile();
  }
}

void Task::waitUntilExit() {
  const auto child = std::exchange(processIdentifier_, 0);
  if (child == 0) return;
  int status = 0;
  while (::waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) fatal("cannot wait for " + launchPath_, errno);
  }
  terminationStatus_ = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace zt
