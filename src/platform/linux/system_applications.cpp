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

  /// Empty for kernel threads, and for other users' processes unless we are root.
  std::string executable() const {
    std::string path = targetOf(descriptor(), "exe");
    const auto program = file();
    if (program && program->st_nlink == 0 && path.ends_with(deleted)) path.resize(path.size() - deleted.size());
    return path;
  }

  /// Whether the process runs the file at `path`, or ran it until the owner of that file replaced it, as an update
  /// does. The path alone proves nothing: the process can have its own mount namespace.
  bool runs(const fs::path& path) const {
    const auto running = file();
    struct stat found {};
    if (!running || ::stat(path.c_str(), &found) != 0) return false;
    return (running->st_dev == found.st_dev && running->st_ino == found.st_ino) ||
           (running->st_nlink == 0 && running->st_uid == found.st_uid);
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
  static constexpr std::string_view deleted = " (deleted)";

  int descriptor() const { return folder_.fileDescriptor(); }

  /// The file that it runs. If that has been removed since, its link count is 0.
  std::optional<struct stat> file() const {
    struct stat result {};
    if (::fstatat(descriptor(), "exe", &result, 0) != 0) return std::nullopt;
    return result;
  }

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

}  // namespace

std::vector<std::optional<fs::path>> SystemApplications::running(std::string_view bundleIdentifier) const {
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
    if (!bundleAround(targetOf(AT_FDCWD, (folder + "/exe").c_str()))) continue;
    const Process process(folder);
    const auto executable = process.executable();
    const auto location = bundleAround(executable);
    if (!location || !process.isOurs() || !process.runs(executable)) continue;
    const auto bundle = readBundle(*location);
    if (bundle && bundle->identifier == bundleIdentifier && bundle->executable == executable) {
      copies.push_back({process.startTime(), processIdentifier, *location});
    }
  }
  std::ranges::sort(copies, {}, [](const Copy& copy) { return std::pair(copy.startTime, copy.processIdentifier); });

  std::vector<std::optional<fs::path>> bundles;
  bundles.reserve(copies.size());
  for (auto& copy : copies) bundles.emplace_back(std::move(copy.bundle));
  return bundles;
}

std::optional<fs::path> SystemApplications::installed(std::string_view bundleIdentifier) const {
  for (const auto& folder : folders_) {
    auto entries = entriesOf(folder);
    std::ranges::sort(entries);
    for (auto& entry : entries) {
      const auto bundle = readBundle(entry);
      if (bundle && bundle->identifier == bundleIdentifier) return std::move(entry);
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
