#include "util/url.h"

#include <uriparser/Uri.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>

namespace zt::util {
namespace {

std::string encodedPathOf(const UriUriA& uri) {
  std::string path = uri.absolutePath != URI_FALSE ? "/" : "";
  // After a host, every segment begins with a slash, the first one too.
  bool slash = uri.hostText.first != nullptr;
  for (const auto* segment = uri.pathHead; segment != nullptr; segment = segment->next) {
    if (slash) path += '/';
    path.append(segment->text.first, segment->text.afterLast);
    slash = true;
  }
  return path;
}

std::string decoded(std::string text) {
  const char* end = uriUnescapeInPlaceA(text.data());
  text.resize(static_cast<std::size_t>(end - text.data()));
  return text;
}

auto matching(CompareOptions options) {
  return [options](const std::string& a, const std::string& b) { return isSame(a, b, options); };
}

}  // namespace

std::optional<URL> URL::parse(std::string_view text) {
  if (text.empty()) text = "";  // uriparser takes no null pointer
  UriUriA uri;
  const char* error = nullptr;
  if (uriParseSingleUriExA(&uri, text.data(), text.data() + text.size(), &error) != URI_SUCCESS) {
    return std::nullopt;
  }
  const std::unique_ptr<UriUriA, decltype(&uriFreeUriMembersA)> owner(&uri, uriFreeUriMembersA);
  return URL(text, encodedPathOf(uri));
}

URL URL::ofFile(const std::string& path) {
  std::string text("file://" + std::string(3 * path.size(), ' ') + '\0');
  uriUnixFilenameToUriStringA(path.c_str(), text.data());
  return *parse(text.c_str());
}

bool URL::hasScheme() const {
  // In a relative reference, no colon comes before the first slash (RFC 3986, section 4.2).
  const auto delimiter = text_.find_first_of(":/?#");
  return delimiter != text_.npos && text_[delimiter] == ':';
}

std::string URL::path() const {
  return decoded(encodedPath_);
}

std::vector<std::string> URL::pathComponents() const {
  std::vector<std::string> components;
  if (encodedPath_.starts_with('/')) components.emplace_back("/");
  for (const auto name : split(encodedPath_, '/')) {
    if (!name.empty()) components.push_back(decoded(std::string(name)));
  }
  return components;
}

bool URL::isEqual(const URL& other, CompareOptions options) const {
  return std::ranges::equal(pathComponents(), other.pathComponents(), matching(options));
}

bool URL::startsWithPath(const URL& base, CompareOptions options) const {
  const auto ours = pathComponents();
  const auto theirs = base.pathComponents();
  return std::ranges::mismatch(theirs, ours, matching(options)).in1 == theirs.end();
}

std::vector<URL> URL::startsWithPaths(std::span<const URL> bases, CompareOptions options) const {
  std::vector<URL> result;
  std::ranges::copy_if(bases, std::back_inserter(result),
                       [&](const URL& base) { return startsWithPath(base, options); });
  return result;
}

bool URL::startsWithAnyPath(std::span<const URL> bases, CompareOptions options) const {
  return std::ranges::any_of(bases, [&](const URL& base) { return startsWithPath(base, options); });
}

}  // namespace zt::util
