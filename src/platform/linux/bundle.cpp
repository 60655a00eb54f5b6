#include "platform/linux/bundle.h"

#include <plist/plist.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <memory>
#include <system_error>
#include <type_traits>

namespace zt::platform {
namespace {

/// Far more than an application needs. libplist is recursive, and a larger file could overflow the stack.
constexpr std::uintmax_t mostBytes = std::uintmax_t{256} * 1024;

using Plist = std::unique_ptr<std::remove_pointer_t<plist_t>, decltype(&plist_free)>;

Plist parsePlist(std::string_view data) {
  const auto size = static_cast<std::uint32_t>(data.size());
  // Not plist_from_memory(): its parameters differ between releases of libplist.
  const auto parse = plist_is_binary(data.data(), size) != 0 ? plist_from_bin : plist_from_xml;
  plist_t root = nullptr;
  parse(data.data(), size, &root);
  return {root, plist_free};
}

std::string textOf(plist_t dictionary, const char* key) {
  auto* node = plist_dict_get_item(dictionary, key);
  if (node == nullptr || plist_get_node_type(node) != PLIST_STRING) return {};
  // Not plist_get_string_val(): it ends the process if the string contains a NUL.
  std::uint64_t size = 0;
  const char* text = plist_get_string_ptr(node, &size);
  return text == nullptr ? std::string{} : std::string(text, static_cast<std::size_t>(size));
}

}  // namespace

bool hasBundleName(const std::filesystem::path& path) {
  return path.extension() == ".app";
}

std::optional<Bundle> readBundle(const std::filesystem::path& path) {
  if (!hasBundleName(path)) return std::nullopt;
  const auto infoPlist = path / infoPlistInBundle;
  std::error_code error;
  // Opening anything else, such as a named pipe, could block for good.
  if (!std::filesystem::is_regular_file(infoPlist, error)) return std::nullopt;
  if (std::filesystem::file_size(infoPlist, error) > mostBytes) return std::nullopt;
  std::ifstream file(infoPlist, std::ios::binary);
  return readBundle(path, std::string{std::istreambuf_iterator<char>(file), {}});
}

std::optional<Bundle> readBundle(const std::filesystem::path& path, std::string_view infoPlist) {
  const Plist plist = parsePlist(infoPlist);
  if (plist == nullptr || plist_get_node_type(plist.get()) != PLIST_DICT) return std::nullopt;
  const std::string identifier = textOf(plist.get(), "CFBundleIdentifier");
  const std::string executable = textOf(plist.get(), "CFBundleExecutable");
  if (identifier.empty() || executable.empty()) return std::nullopt;
  // Joined as text: operator/ would replace the folder by a name that begins with a slash.
  return Bundle{identifier, path / ("Contents/MacOS/" + executable)};
}

}  // namespace zt::platform
