#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <stdexcept>

#include "support/test.h"
#include "util/process_runner.h"

namespace zt {

/// The output of a script.
inline Texts bash(const std::string& script) {
  return shell(Task("/bin/bash", Texts{"-c", script})).value_or(Texts{"not UTF-8"});
}

/// Each test finds the home folder and the crontab spool empty.
struct PrivateMachine : testing::Test {
  PrivateMachine() {
    if (::getenv("PRIVATE_MACHINE") == nullptr) {
      throw std::runtime_error("this test empties the home folder: start it with demo/private-machine");
    }
    bash("rm -rf ~/* /var/spool/cron/crontabs/*");
  }

  const fs::path home = ::getenv("HOME");
};

/// A Unix socket in place of a service's. Nothing reads from it by itself.
struct ServiceSocket {
  ServiceSocket(int type, const fs::path& path) : handle(::socket(AF_UNIX, type, 0)) {
    sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
    path.string().copy(static_cast<char*>(address.sun_path), sizeof(address.sun_path) - 1);
    fs::create_directories(path.parent_path());
    fs::remove(path);
    EXPECT_EQ(::bind(handle.fileDescriptor(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    ::listen(handle.fileDescriptor(), 1);  // only stream sockets can
  }

  FileHandle handle;
};

}  // namespace zt
