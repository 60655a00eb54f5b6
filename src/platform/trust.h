#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace zt::platform {

/// Why others can have put what is at `path`, an absolute one, or can still replace it: a main clause without a full
/// stop. nullopt if only this user and root can, or if nothing is there. In a path of a bundle, the bundle is the
/// folder before "/Contents/" whose name ends in ".app".
///
/// Every name from the root folder to `path` is checked, and likewise every name on the way of each symbolic link:
/// - It belongs to this user or root. The bundle and what is in it may also belong to a number without an account,
/// which
///   is what root gets by unpacking an archive, if nobody else can write the folder that the bundle is in.
/// - Nobody else can write it: not everybody, no group with other members, and no group if there is an access control
///   list. A folder above the bundle may be open to others if it is sticky, like /tmp.
/// - It is not on a FUSE file system that another user has mounted, which can show any owner (mount.fuse3(8)).
///
/// That is enough. A name can only be created, removed or renamed by someone who can write its folder; in a sticky one,
/// only by the owners of the folder and of what has the name (unlink(2), rename(2)). So whatever is found was put there
/// by this user or root, and stays until one of them removes it. A name that is missing is refused if others can create
/// it. What root has mounted, such as somebody's removable disk, is trusted as it is.
///
/// Whoever owns the root folder counts as root: in a user namespace that is its number. Members of groups are those
/// that getgrgid(3) and getpwent(3) list.
std::optional<std::string> distrust(const std::filesystem::path& path);

}  // namespace zt::platform
