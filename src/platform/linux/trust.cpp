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
#include <fstream>
#include <sstream>
#include <string_view>
#include <system_error>

namespace zt::platform {
namespace {

namespace fs = std::filesystem;

bool isOurs(uid_t owner) {
  struct stat root {};
  return owner == ::geteuid() || owner == 0 || (::stat("/", &root) == 0 && owner == root.st_uid);
}

/// Whether a user can take on a number in a user namespace (subuid(5)).
bool isSubordinate(uid_t number) {
  std::ifstream file("/etc/subuid");
  for (std::string line; std::getline(file, line);) {
    unsigned long first{};
    unsigned long count{};
    char colon{};
    std::istringstream range(line.substr(line.find(':') + 1));
    if (range >> first >> colon >> count && first <= number && number - first < count) return true;
  }
  return false;
}

bool isNobodys(uid_t number) {
  return ::getpwuid(number) == nullptr && !isSubordinate(number);
}

bool hasOtherMembers(gid_t group) {
  if (const auto* entry = ::getgrgid(group)) {
    for (char* const* member = entry->gr_mem; *member != nullptr; ++member) {
      const auto* account = ::getpwnam(*member);
      if (account != nullptr && !isOurs(account->pw_uid)) return true;
    }
  }
  bool found = false;
  ::setpwent();
  while (const auto* account = ::getpwent()) found = found || (account->pw_gid == group && !isOurs(account->pw_uid));
  ::endpwent();
  return found;
}

bool othersCanWrite(const fs::path& place, const struct stat& status) {
  if ((status.st_mode & S_IWOTH) != 0) return true;
  if ((status.st_mode & S_IWGRP) == 0) return false;
  // With an access control list, the bits of the group are the most that any entry of it allows (acl(5)).
  return ::getxattr(place.c_str(), "system.posix_acl_access", nullptr, 0) > 0 || hasOtherMembers(status.st_gid);
}

/// Whether a place is on a FUSE file system that another user has mounted (proc(5), mountinfo).
bool isOnMountOfAnother(const fs::path& place, const struct stat& status) {
  struct statfs system {};
  if (::statfs(place.c_str(), &system) == 0 && system.f_type != FUSE_SUPER_MAGIC) return false;
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

/// How much of a path is above its bundle; all of it if it is in none.
std::size_t lengthAboveBundle(std::string_view path) {
  const auto end = path.rfind(".app/Contents/");
  return end == path.npos ? path.size() : path.rfind('/', end);
}

/// A name on a path, and what it leads to.
struct Place {
  fs::path path;
  bool isInBundle;
  bool isInSharedFolder;  ///< others can write the folder that has the name
  struct stat name {};    ///< of a link, itself
  struct stat contents {};
  bool isShared = false;  ///< others can write what is there
};

std::optional<std::string> problemOf(const Place& place) {
  for (const auto owner : {place.name.st_uid, place.contents.st_uid}) {
    const bool isUnpacked = place.isInBundle && !place.isInSharedFolder && isNobodys(owner);
    if (!isOurs(owner) && !isUnpacked) return place.path.string() + " belongs to another user";
  }
  if (isOnMountOfAnother(place.path, place.contents)) {
    return place.path.string() + " is on a file system that another user has mounted";
  }
  const bool isSticky = S_ISDIR(place.contents.st_mode) && (place.contents.st_mode & S_ISVTX) != 0;
  if (place.isShared && (place.isInBundle || !isSticky)) return "other users can write " + place.path.string();
  return std::nullopt;
}

}  // namespace

std::optional<std::string> distrust(const fs::path& path) {
  const auto above = lengthAboveBundle(path.native());
  fs::path folder;
  bool folderIsShared = false;
  for (const auto& name : path) {
    Place place{.path = folder / name, .isInBundle = false, .isInSharedFolder = folderIsShared};
    place.isInBundle = place.path.native().size() > above;
    if (::lstat(place.path.c_str(), &place.name) != 0 || ::stat(place.path.c_str(), &place.contents) != 0) {
      if (errno == ENOENT) return std::nullopt;
      return "cannot check " + place.path.string();
    }
    place.isShared = othersCanWrite(place.path, place.contents);
    if (S_ISLNK(place.name.st_mode)) {
      if (auto reason = distrust(folder / fs::read_symlink(place.path))) return reason;
    }
    if (auto reason = problemOf(place)) return reason;
    folder = place.path;
    folderIsShared = place.isShared;
  }
  return std::nullopt;
}

}  // namespace zt::platform
