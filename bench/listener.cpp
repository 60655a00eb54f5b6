// listener SOCKET: takes the place of the journal. Receives and discards every datagram that is sent to the socket.

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <string_view>

int main(int count, char** arguments) {
  if (count != 2) return 2;
  sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
  std::string_view(arguments[1]).copy(static_cast<char*>(address.sun_path), sizeof(address.sun_path) - 1);
  const int listener = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) return 1;
  std::array<char, 4096> datagram;
  while (::recv(listener, datagram.data(), datagram.size(), 0) >= 0) {
  }
}
