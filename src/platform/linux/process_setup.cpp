#include "platform/linux/process_setup.h"

#include <errno.h>
#include <fcntl.h>
#include <locale.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include "platform/linux/fatal.h"

namespace zt {

void setUpProcess() {
  int descriptor;
  do {
    descriptor = ::open("/dev/null", O_RDWR);
    if (descriptor < 0) fatal("cannot open /dev/null", errno);
  } while (descriptor <= STDERR_FILENO);
  ::close(descriptor);

  if (const locale_t locale = ::newlocale(LC_ALL_MASK, "", nullptr)) {
    ::freelocale(locale);
  } else {
    ::unsetenv("LC_ALL");
  }

  ::signal(SIGCHLD, SIG_DFL);
  ::signal(SIGPIPE, SIG_IGN);
}

}  // namespace zt
