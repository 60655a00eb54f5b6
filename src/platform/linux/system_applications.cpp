#include "platform/linux/system_applications.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <system_error>
#include <utility>

#include "platform/file_handle.h"
#include "platform/linux/bundle.h"
#include "platform/trust.h"

namespace zt::platform {
namespace {

namespace fs = std::filesystem;

/// The target of a symbolic link; empty if it cannot be read.
std::string targetOf(int folder, const char* link) {
  std::array<char, PATH_MAX> target;
  const auto size = ::readlinkat(folder, link, target.data(), target.size());
  return size < 0 ? std::string{} : std::string{target.data(), static_cast<std::size_t>(size)};
}

/// One process, by its folder in /proc (proc(5)). The folder stays open, so all answers are about the same process.
/// When that has ended they are empty, even if another process gets its number.
class Process {
 public:
  explicit Process(const std::string& folder) : folder_(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)) {}

  /// Whether it runs the program at a path, or ran it until that was removed or replaced, as an update does. Another
  /// file at that path, in a mount namespace of the process's own, is not that program.
  bool runs(const fs::path& program) const {
    static constexpr const char* removed = " (deleted)";  // what proc(5) puts behind a name that is gone
    const std::string path = targetOf(descriptor(), "exe");
    if (path == program.native() + removed) return true;
    struct stat running {};
    struct stat found {};
    return path == program && ::fstatat(descriptor(), "exe", &running, 0) == 0 && ::stat(path.c_str(), &found) == 0 &&
           running.st_dev == found.st_dev && running.st_ino == found.st_ino;
  }

  bool isOurs() const {
    std::istringstream status(read("status"));
    for (std::string line; std::getline(status, line);) {
      if (!line.starts_with("Uid:")) continue;
      uid_t real{};
      uid_t effective{};
      std::istringstream(line.substr(4)) >> real >> effective;
      return real == ::getuid() && effective == ::geteuid();
    }
    return false;
  }

  /// In clock ticks since boot.
  std::uint64_t startTime() const {
    // The name, in parentheses, may contain anything. Field 3 follows it, and field 22 is the start time.
    const std::string stat = read("stat");
    std::istringstream fields(stat.substr(stat.rfind(')') + 1));
    std::string skipped;
    for (int field = 3; field < 22; ++field) fields >> skipped;
    std::uint64_t start{};
    fields >> start;
    return start;
  }

 private:
  int descriptor() const { return folder_.fileDescriptor(); }

  std::string read(const char* name) const {
    FileHandle file(::openat(descriptor(), name, O_RDONLY | O_CLOEXEC));
    std::array<char, 4096> text;
    const auto size = ::read(file.fileDescriptor(), text.data(), text.size());
    return size < 0 ? std::string{} : std::string{text.data(), static_cast<std::size_t>(size)};
  }

  FileHandle folder_;
};

/// The bundle that has `executable` as its main program, judging by its path: X.app/Contents/MacOS/name.
std::optional<fs::path> bundleAround(std::string_view executable) {
  static constexpr std::string_view folder = "/Contents/MacOS/";
  const auto place = executable.rfind(folder);
  if (place == executable.npos || executable.find('/', place + folder.size()) != executable.npos) return std::nullopt;
  return executable.substr(0, place);
}

std::vector<fs::path> entriesOf(const fs::path& folder) {
  std::vector<fs::path> entries;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    entries.push_back(entry->path());
  }
  return entries;
}

/// The bundle at a location, if it has the identifier and nobody else can have put its programs there. What another
/// user can have written is not even read.
std::optional<Bundle> findBundle(const fs::path& location, std::string_view identifier,
                                 const Applications::Refused& refused) {
  const auto isTrusted = [&](const fs::path& path) {
    const auto reason = distrust(path);
    if (!reason) return true;
    std::string text = "Not using " + location.string() + ": " + *reason;
    // Another user can have chosen the names.
    std::ranges::replace_if(
        text, [](unsigned char byte) { return byte < ' ' || byte == 0x7f; }, '?');
    refused(text);
    return false;
  };
  if (!hasBundleName(location) || !isTrusted(location / infoPlistInBundle)) return std::nullopt;
  auto bundle = readBundle(location);
  if (!bundle || bundle->identifier != identifier) return std::nullopt;
  const auto programs = {bundle->executable, location / controllerInBundle, location / agentInBundle};
  if (!std::ranges::all_of(programs, isTrusted)) return std::nullopt;
  return bundle;
}

}  // namespace

std::vector<std::optional<fs::path>> SystemApplications::running(std::string_view bundleIdentifier,
                                                                 const Refused& refused) const {
  struct Copy {
    std::uint64_t startTime;
    int processIdentifier;  // orders copies that were started in the same tick
    fs::path bundle;
  };
  std::vector<Copy> copies;
  for (const auto& entry : entriesOf("/proc")) {
    const std::string& folder = entry.native();
    const auto name = std::string_view(folder).substr(std::string_view("/proc/").size());
    int processIdentifier{};
    const auto [end, error] = std::from_chars(name.begin(), name.end(), processIdentifier);
    if (error != std::errc{} || end != name.end()) continue;

    // Reading one link rules out most of a machine's hundreds of processes. The others get a Process.
    const auto location = bundleAround(targetOf(AT_FDCWD, (folder + "/exe").c_str()));
    if (!location) continue;
    const Process process(folder);
    if (!process.isOurs()) continue;
    const auto bundle = findBundle(*location, bundleIdentifier, refused);
    if (bundle && process.runs(bundle->executable)) {
      copies.push_back({process.startTime(), processIdentifier, *location});
    }
  }
  std::ranges::sort(copies, {}, [](const Copy& copy) { return std::pair(copy.startTime, copy.processIdentifier); });

  std::vector<std::optional<fs::path>> bundles;
  bundles.reserve(copies.size());
  for (auto& copy : copies) bundles.emplace_back(std::move(copy.bundle));
  return bundles;
}

std::optional<fs::path> SystemApplications::installed(std::string_view bundleIdentifier, const Refused& refused) const {
  for (const auto& folder : folders_) {
    auto entries = entriesOf(folder);
    std::ranges::sort(entries);
    for (auto& entry : entries) {
      if (findBundle(entry, bundleIdentifier, refused)) return std::move(entry);
    }
  }
  return std::nullopt;
}

std::vector<fs::path> SystemApplications::defaultFolders() {
  std::vector<fs::path> folders;
  const char* home = std::getenv("HOME");
  if (home != nullptr && *home == '/') folders.push_back(fs::path(home) / "Applications");
  folders.insert(folders.end(), {"/Applications", "/opt"});
  return folders;
}

}  // namespace zt::platform
