#include "platform/task.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <iterator>
#include <list>
#include <mutex>
#include <utility>

#include "platform/linux/background_thread.h"
#include "platform/linux/fatal.h"

namespace zt::platform {
namespace {

/// What posix_spawn(3) does in the child before the program starts.
class SpawnSetup {
 public:
  explicit SpawnSetup(Task::Group group) {
    ::posix_spawn_file_actions_init(&actions_);
    ::posix_spawnattr_init(&attributes_);
    sigset_t signals;
    ::sigfillset(&signals);
    ::posix_spawnattr_setsigdefault(&attributes_, &signals);
    ::sigemptyset(&signals);
    ::posix_spawnattr_setsigmask(&attributes_, &signals);
    ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | groupFlag(group));
  }
  SpawnSetup(const SpawnSetup&) = delete;
  SpawnSetup& operator=(const SpawnSetup&) = delete;
  ~SpawnSetup() {
    ::posix_spawn_file_actions_destroy(&actions_);
    ::posix_spawnattr_destroy(&attributes_);
  }

  /// Makes the descriptor `source` the child's `target`. Gives 0 or the error number.
  int connect(int source, int target) {
    if (source <= STDERR_FILENO) {
      // The child makes its connections one by one, and an earlier one may have replaced this descriptor.
      source = ::fcntl(source, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
      if (source < 0) return errno;
      outOfTheWay_.emplace_back(source);
    }
    return ::posix_spawn_file_actions_adddup2(&actions_, source, target);
  }

  /// Gives 0, or the error number of what failed: preparing the child or executing its program.
  int spawn(pid_t& child, const char* path, char* const* arguments, char* const* environment) {
    // Close-on-exec covers what this process opened, but not what its own parent passed to it.
    const int error = ::posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
    if (error != 0) return error;
    return ::posix_spawn(&child, path, &actions_, &attributes_, arguments, environment);
  }

 private:
  static short groupFlag(Task::Group group) {
    switch (group) {
      case Task::Group::inherited:
        return 0;
      case Task::Group::own:
        return POSIX_SPAWN_SETPGROUP;  // to 0, the default: the group gets the number of the child
      case Task::Group::inOwnSession:
        return POSIX_SPAWN_SETSID;
    }
    return 0;
  }

  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
  std::list<FileHandle> outOfTheWay_;
};

/// The same texts as execve(2) takes them.
std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (auto& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

/// The end of the pipe that the child gets, or the file; null for an inherited stream.
FileHandle* childsEnd(const Task::Stream& stream, FileHandle& (Pipe::*end)()) {
  if (const auto* pipe = std::get_if<std::shared_ptr<Pipe>>(&stream)) return &((**pipe).*end)();
  if (const auto* file = std::get_if<std::shared_ptr<FileHandle>>(&stream)) return file->get();
  return nullptr;
}

}  // namespace

struct Task::State {
  /// Waits for the exit of the child, unless `options` has WNOHANG, and records it.
  void awaitExit(int options) {
    if (hasExited) return;
    int status = 0;
    pid_t ended = 0;
    do {
      ended = ::waitpid(processIdentifier, &status, options);
    } while (ended < 0 && errno == EINTR);
    if (ended < 0) fatal("cannot wait for " + commandLine.front(), errno);
    if (ended == 0) return;
    wasKilled = WIFSIGNALED(status);
    terminationStatus = wasKilled ? WTERMSIG(status) : WEXITSTATUS(status);
    hasExited = true;
  }

  std::vector<std::string> commandLine = {{}};  ///< the launch path and the arguments
  std::optional<std::vector<std::string>> environment;
  Group group = Group::inherited;
  Stream standardInput;
  Stream standardOutput;
  Stream standardError;
  TerminationHandler terminationHandler;

  std::atomic<pid_t> processIdentifier = 0;  ///< 0 before the launch
  std::mutex waiting;                        ///< guards what follows; held through waitpid(2)
  bool hasExited = false;
  std::int32_t terminationStatus = 0;
  bool wasKilled = false;
};

bool Task::isArgument(std::string_view text) {
  // execve(2), "Limits on size of arguments and environment": 128 KiB with the NUL at its end.
  constexpr std::size_t longest = std::size_t{128} * 1024 - 1;
  return text.size() <= longest && text.find('\0') == text.npos;
}

Task::Task(std::string launchPath, std::optional<std::vector<std::string>> arguments)
    : state_(std::make_shared<State>()) {
  setLaunchPath(std::move(launchPath));
  setArguments(std::move(arguments));
}

void Task::setLaunchPath(std::string path) {
  configuration().commandLine.front() = std::move(path);
}

void Task::setArguments(std::optional<std::vector<std::string>> arguments) {
  auto& commandLine = configuration().commandLine;
  commandLine.resize(1);
  if (arguments) std::ranges::move(*arguments, std::back_inserter(commandLine));
}

void Task::setEnvironment(std::optional<std::vector<std::string>> environment) {
  configuration().environment = std::move(environment);
}

void Task::setGroup(Group group) {
  configuration().group = group;
}

void Task::setStandardInput(Stream stream) {
  configuration().standardInput = std::move(stream);
}

void Task::setStandardOutput(Stream stream) {
  configuration().standardOutput = std::move(stream);
}

void Task::setStandardError(Stream stream) {
  configuration().standardError = std::move(stream);
}

const Task::Stream& Task::standardOutput() const {
  return state_->standardOutput;
}

void Task::setTerminationHandler(TerminationHandler handler) {
  configuration().terminationHandler = std::move(handler);
}

void Task::launch() {
  auto& state = configuration();
  struct Connection {
    const Stream& stream;
    FileHandle* end;
    int target;
  };
  const std::array<Connection, 3> connections{
      {{state.standardInput, childsEnd(state.standardInput, &Pipe::fileHandleForReading), STDIN_FILENO},
       {state.standardOutput, childsEnd(state.standardOutput, &Pipe::fileHandleForWriting), STDOUT_FILENO},
       {state.standardError, childsEnd(state.standardError, &Pipe::fileHandleForWriting), STDERR_FILENO}}};

  int error = 0;
  SpawnSetup setup(state.group);
  for (const auto& [stream, end, target] : connections) {
    if (end != nullptr && error == 0) error = setup.connect(end->fileDescriptor(), target);
  }

  const auto& path = state.commandLine.front();
  const auto arguments = pointersTo(state.commandLine);
  const auto variables = state.environment ? pointersTo(*state.environment) : std::vector<char*>();
  pid_t child = 0;
  if (error == 0) {
    error = setup.spawn(child, path.c_str(), arguments.data(), state.environment ? variables.data() : ::environ);
  }
  if (error != 0) fatal("cannot start " + path, error);

  for (const auto& [stream, end, target] : connections) {
    // Only the child may hold its ends of the pipes: as long as ours are open, a reader never gets an end of file.
    if (std::holds_alternative<std::shared_ptr<Pipe>>(stream)) end->closeFile();
  }

  auto handler = std::exchange(state.terminationHandler, nullptr);
  state.processIdentifier = child;
  state.processIdentifier.notify_all();
  if (!handler) return;
  startBackgroundThread([task = *this, handler = std::move(handler)](const std::stop_token&) mutable {
    task.waitUntilExit();
    handler(task);
  }).detach();
}

std::int32_t Task::processIdentifier() const {
  return state_->processIdentifier;
}

void Task::waitUntilExit() {
  state_->processIdentifier.wait(0);
  const std::lock_guard lock(state_->waiting);
  state_->awaitExit(0);
}

bool Task::hasExited() {
  const std::unique_lock lock(state_->waiting, std::try_to_lock);
  if (!lock || state_->processIdentifier == 0) return false;  // a thread that waits for it has the lock
  state_->awaitExit(WNOHANG);
  return state_->hasExited;
}

void Task::killGroup() {
  const pid_t child = state_->processIdentifier;
  if (child == 0 || state_->group == Group::inherited) std::abort();
  // The system gives no process the number of a group that has processes.
  const bool exited = hasExited();
  const bool isReused = exited && (::kill(child, 0) == 0 || errno == EPERM);
  if (!isReused) ::kill(-child, SIGKILL);
  if (!exited) ::kill(child, SIGKILL);  // it can have changed its group
}

std::int32_t Task::terminationStatus() const {
  return state_->terminationStatus;
}

bool Task::wasKilled() const {
  return state_->wasKilled;
}

Task::State& Task::configuration() {
  if (state_->processIdentifier != 0) std::abort();
  return *state_;
}

}  // namespace zt::platform
