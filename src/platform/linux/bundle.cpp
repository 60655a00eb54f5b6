#include "platform/linux/bundle.h"

#include <plist/plist.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <system_error>
#include <type_traits>

namespace zt {
namespace {

using Plist = std::unique_ptr<std::remove_pointer_t<plist_t>, decltype(&plist_free)>;

Plist readPlist(const std::filesystem::path& path) {
  Plist none(nullptr, plist_free);
  // Opening anything else, a named pipe for one, could block for good.
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return none;
  std::ifstream file(path, std::ios::binary);
  const std::string data{std::istreambuf_iterator<char>(file), {}};
  const auto size = static_cast<std::uint32_t>(data.size());
  // Not plist_from_memory(): its parameters differ from one release of libplist to the next.
  const auto parse = plist_is_binary(data.data(), size) != 0 ? plist_from_bin : plist_from_xml;
  plist_t root = nullptr;
  parse(data.data(), size, &root);
  return {root, plist_free};
}

std::string textOf(plist_t dictionary, const char* key) {
  auto* node = plist_dict_get_item(dictionary, key);
  if (node == nullptr || plist_get_node_type(node) != PLIST_STRING) return {};
  char* value = nullptr;
  plist_get_string_val(node, &value);
  const std::unique_ptr<char, decltype(&std::free)> owner(value, std::free);
  return value == nullptr ? std::string{} : std::string{value};
}

}  // namespace

std::optional<Bundle> readBundle(const std::filesystem::path& path) {
  if (path.extension() != ".app") return std::nullopt;
  const auto contents = path / "Contents";
  const Plist plist = readPlist(contents / "Info.plist");
  if (plist == nullptr || plist_get_node_type(plist.get()) != PLIST_DICT) return std::nullopt;
  const std::string identifier = textOf(plist.get(), "CFBundleIdentifier");
  const std::string executable = textOf(plist.get(), "CFBundleExecutable");
  if (identifier.empty() || executable.empty()) return std::nullopt;
  return Bundle{identifier, contents / "MacOS" / executable};
}

}  // namespace zt
