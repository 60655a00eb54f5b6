// floor WORD...: runs one command after another, reads the output of each, and does nothing else. A command ends with
// the word ";", or with "&" to leave it running with its output unread.

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string_view>

int main(int, char** words) {
  for (char** command = ++words; *words != nullptr; ++words) {
    const std::string_view word = *words;
    if (word != ";" && word != "&") continue;
    if (words == command) std::abort();
    *words = nullptr;
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    std::array<int, 2> pipe;
    if (word == ";") {
      if (::pipe2(pipe.data(), O_CLOEXEC) != 0) std::abort();
      ::posix_spawn_file_actions_adddup2(&actions, pipe[1], STDOUT_FILENO);
      ::posix_spawn_file_actions_adddup2(&actions, pipe[1], STDERR_FILENO);
    }
    pid_t child;
    if (::posix_spawn(&child, *command, &actions, nullptr, command, ::environ) != 0) std::abort();
    ::posix_spawn_file_actions_destroy(&actions);
    if (word == ";") {
      ::close(pipe[1]);
      static std::array<char, 65536> output;
      while (::read(pipe[0], output.data(), output.size()) > 0) {
      }
      ::close(pipe[0]);
      ::waitpid(child, nullptr, 0);
    }
    command = words + 1;
  }
}
