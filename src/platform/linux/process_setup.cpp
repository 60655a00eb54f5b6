#include "platform/linux/process_setup.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include "platform/linux/fatal.h"

namespace zt::platform {

namespace {

void openStandardStreams() {
  int descriptor;
  do {
    descriptor = ::open("/dev/null", O_RDWR);
    if (descriptor < 0) fatal("cannot open /dev/null", errno);
  } while (descriptor <= STDERR_FILENO);
  ::close(descriptor);
}

}  // namespace

void setUpProcess() {
  openStandardStreams();
  ::signal(SIGCHLD, SIG_DFL);
  ::signal(SIGPIPE, SIG_IGN);
}

}  // namespace zt::platform
