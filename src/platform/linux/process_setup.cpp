#include "platform/linux/process_setup.h"

#include <errno.h>
#include <fcntl.h>
#include <locale.h>
#include <signal.h>
#include <stdlib.h>
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

void dropUnknownLocale() {
  const char* name = ::getenv("LC_ALL");
  if (name == nullptr) return;
  if (const locale_t locale = ::newlocale(LC_ALL_MASK, name, nullptr)) {
    ::freelocale(locale);
  } else {
    ::unsetenv("LC_ALL");
  }
}

}  // namespace

void setUpProcess() {
  openStandardStreams();
  dropUnknownLocale();
  ::signal(SIGCHLD, SIG_DFL);
  ::signal(SIGPIPE, SIG_IGN);
}

}  // namespace zt::platform
