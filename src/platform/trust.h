#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace zt::platform {

/// Whether others than this user and root can have put what is at `path`, an absolute one, or can put something there
/// now. If so, why, such as "other users can write /opt". In a path of a bundle, the bundle is the folder before
/// "/Contents/" whose name ends in ".app".
///
/// Every name from the root folder to `path` is checked. A symbolic link is checked itself, and then every name of its
/// target:
/// - It belongs to this user or root. The bundle and what is in it may also belong to a number without an account, as
///   after root has unpacked an archive, if nobody else can write the folder that the bundle is in.
/// - Nobody else can write it: not everybody, no group with other members, and no group if there is an access control
///   list. A folder above the bundle may be open to others if it is sticky, like /tmp.
/// - It is not on a FUSE file system that another user has mounted, which can show any owner (mount.fuse3(8)).
/// - If it is missing, others cannot create it.
///
/// This is enough because only someone who can write a folder can create, remove or rename names in it. Everybody can
/// create names in a sticky folder, but what others create belongs to them, and only its owner and that of the folder
/// can remove or rename it (unlink(2), rename(2)). Moving somebody else's folder there would take the right to write
/// that folder, too. So what is found was put there by this user or root, and stays until one of them removes it. What
/// root has mounted, such as somebody's removable disk, is trusted as it is.
///
/// Whoever owns the root folder counts as root. In a user namespace without root that is everybody who is not mapped.
/// The members of a group are those that getgrgid(3) and getpwent(3) list, and whoever has its number in subgid(5). A
/// number in subuid(5) is not without an account, and none is while the account database cannot be read.
std::optional<std::string> distrust(const std::filesystem::path& path);

}  // namespace zt::platform
