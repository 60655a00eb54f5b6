#include "platform/file_contents.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <system_error>

#include "platform/file_handle.h"

namespace zt::platform {
namespace {

constexpr std::size_t sizeLimit = std::size_t{4} * 1024 * 1024;

[[noreturn]] void fail(int error, const std::string& name) {
  throw std::system_error(error, std::generic_category(), "cannot read " + name);
}

}  // namespace

std::string fileContents(const std::string& path) {
  const FileHandle file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (file.fileDescriptor() < 0) fail(errno, path);
  return fileContents(file.fileDescriptor(), path);
}

std::string fileContents(int fileDescriptor, const std::string& name) {
  std::string contents;
  std::array<char, std::size_t{64} * 1024> buffer;
  for (;;) {
    const ssize_t count = ::read(fileDescriptor, buffer.data(), buffer.size());
    if (count == 0) return contents;
    if (count > 0) {
      contents.append(buffer.data(), static_cast<std::size_t>(count));
      if (contents.size() > sizeLimit) fail(EFBIG, name);
    } else if (errno != EINTR) {
      fail(errno, name);
    }
  }
}

}  // namespace zt::platform
