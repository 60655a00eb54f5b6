#include "platform/trust.h"

#include <errno.h>
#include <grp.h>
#include <linux/magic.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/vfs.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <charconv>
#include <deque>
#include <fstream>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace zt::platform {
namespace {

namespace fs = std::filesystem;

bool isOurs(uid_t owner) {
  struct stat root {};
  return owner == ::geteuid() || owner == 0 || (::stat("/", &root) == 0 && owner == root.st_uid);
}

/// Whether errno, cleared before, says that a database of accounts could be read to its end (getpwnam(3), RETURN
/// VALUE).
bool wasReadable() {
  return errno == 0 || errno == ENOENT || errno == ESRCH;
}

/// Whether a user can take on a number in a user namespace, by a file in the format of subuid(5).
bool isSubordinate(id_t number, const char* file) {
  std::ifstream lines(file);
  for (std::string line; std::getline(lines, line);) {
    unsigned long first{};
    unsigned long count{};
    char colon{};
    std::istringstream range(line.substr(line.find(':') + 1));
    if (range >> first >> colon >> count && first <= number && number - first < count) return true;
  }
  return false;
}

bool isNobodys(uid_t number) {
  constexpr uid_t unmapped = 65534;  // user_namespaces(7), "Unmapped user and group IDs": can be anybody
  if (number == unmapped) return false;
  // An unreadable database does not always show in errno, but then our own account is missing as well.
  if (::getpwuid(::geteuid()) == nullptr) return false;
  errno = 0;
  return ::getpwuid(number) == nullptr && wasReadable() && !isSubordinate(number, "/etc/subuid");
}

/// If the databases cannot be read, there can be any.
bool hasOtherMembers(gid_t group) {
  bool found = isSubordinate(group, "/etc/subgid");
  errno = 0;
  const auto* entry = ::getgrgid(group);
  if (entry == nullptr && !wasReadable()) return true;
  for (char* const* member = entry == nullptr ? nullptr : entry->gr_mem; member != nullptr && *member != nullptr;
       ++member) {
    errno = 0;
    const auto* account = ::getpwnam(*member);
    found = found || (account == nullptr ? !wasReadable() : !isOurs(account->pw_uid));
  }
  errno = 0;
  ::setpwent();
  while (const auto* account = ::getpwent()) found = found || (account->pw_gid == group && !isOurs(account->pw_uid));
  found = found || !wasReadable();
  ::endpwent();
  return found;
}

bool othersCanWrite(const fs::path& path, const struct stat& status) {
  if ((status.st_mode & S_IWOTH) != 0) return true;
  if ((status.st_mode & S_IWGRP) == 0) return false;
  // With an access control list, the bits of the group are the most that any entry of it allows (acl(5)).
  return ::getxattr(path.c_str(), "system.posix_acl_access", nullptr, 0) > 0 || hasOtherMembers(status.st_gid);
}

/// Whether a path is on a FUSE file system that another user has mounted (proc(5), mountinfo).
bool isOnMountOfAnother(const fs::path& path, const struct stat& status) {
  struct statfs system {};
  if (::statfs(path.c_str(), &system) == 0 && system.f_type != FUSE_SUPER_MAGIC) return false;
  const auto device = std::to_string(major(status.st_dev)) + ":" + std::to_string(minor(status.st_dev));
  std::ifstream file("/proc/self/mountinfo");
  for (std::string line; std::getline(file, line);) {
    std::string skipped;
    std::string number;
    std::istringstream(line) >> skipped >> skipped >> number;
    static constexpr std::string_view option = "user_id=";
    const auto start = line.rfind(option);
    if (number != device || start == line.npos) continue;
    uid_t user{};
    const auto text = std::string_view(line).substr(start + option.size());
    return std::from_chars(text.begin(), text.end(), user).ec != std::errc{} || !isOurs(user);
  }
  return true;
}

/// Resolves a path as the kernel does, name by name, and stops at the first one that others decide.
class Walk {
 public:
  explicit Walk(const fs::path& path) {
    const auto end = path.native().rfind(".app/Contents/");
    add(path, end == std::string::npos ? "" : path.native().substr(0, end + 4));
  }

  std::optional<std::string> problem() {
    while (!names_.empty()) {
      const Name name = std::move(names_.front());
      names_.pop_front();
      auto problem = name.text == ".." ? leave() : follow(name);
      if (problem || isMissing_) return problem;
    }
    return std::nullopt;
  }

 private:
  struct Name {
    fs::path text;
    bool isBundle;
  };
  struct Folder {
    fs::path path;
    bool isShared;  ///< others can create names in it
  };

  /// Puts the names of a path in front of those to come. `bundle` is as much of the path as leads to the bundle.
  void add(const fs::path& path, const fs::path& bundle) {
    if (path.is_absolute()) folders_.clear();
    auto names = namesOf(path);
    if (const auto count = namesOf(bundle).size(); count > 0) names.at(count - 1).isBundle = true;
    names_.insert(names_.begin(), names.begin(), names.end());
  }

  static std::vector<Name> namesOf(const fs::path& path) {
    std::vector<Name> names;
    for (const auto& name : path) {
      const bool leadsNowhere = name.empty() || name == ".";
      if (!leadsNowhere) names.push_back({name, false});
    }
    return names;
  }

  std::optional<std::string> leave() {
    if (folders_.size() > 1) folders_.pop_back();
    return std::nullopt;
  }

  std::optional<std::string> follow(const Name& name) {
    const Folder folder = folders_.empty() ? Folder{"", false} : folders_.back();
    const auto path = folder.path / name.text;
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
      isMissing_ = errno == ENOENT && !folder.isShared;
      if (isMissing_) return std::nullopt;
      return errno == ENOENT ? "other users can create " + path.string() : "cannot check " + path.string();
    }
    const bool isInBundle = name.isBundle || (!bundle_.empty() && path.native().starts_with(bundle_.native() + "/"));
    const auto owner = status.st_uid;
    const bool isTrusted = isOurs(owner) || (isInBundle && !folder.isShared && isNobodys(owner));
    if (!isTrusted) return path.string() + " belongs to another user";
    return S_ISLNK(status.st_mode) ? followLink(path, name) : enter(path, status, name.isBundle, isInBundle);
  }

  std::optional<std::string> followLink(const fs::path& path, const Name& name) {
    std::error_code error;
    const auto target = fs::read_symlink(path, error);
    constexpr int mostLinks = 40;  // path_resolution(7)
    if (error || ++links_ > mostLinks) return "cannot check " + path.string();
    add(target, name.isBundle ? target : fs::path());
    return std::nullopt;
  }

  std::optional<std::string> enter(const fs::path& path, const struct stat& status, bool isBundle, bool isInBundle) {
    if (isOnMountOfAnother(path, status)) {
      return path.string() + " is on a file system that another user has mounted";
    }
    const bool isShared = othersCanWrite(path, status);
    const bool isSticky = S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX) != 0;
    if (isShared && (isInBundle || !isSticky)) return "other users can write " + path.string();
    if (isBundle) bundle_ = path;
    folders_.push_back({path, isShared});
    return std::nullopt;
  }

  std::deque<Name> names_;       ///< to come
  std::vector<Folder> folders_;  ///< from the root folder to where the walk is
  fs::path bundle_;              ///< once it is reached
  int links_ = 0;
  bool isMissing_ = false;  ///< there is nothing, and others cannot change that
};

}  // namespace

std::optional<std::string> distrust(const fs::path& path) {
  return Walk(path).problem();
}

}  // namespace zt::platform
