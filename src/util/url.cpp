#include "util/url.h"

#include <uriparser/Uri.h>

#include <cstddef>
#include <memory>

namespace zt {
namespace {

std::string pathOf(const UriUriA& uri) {
  std::string path = uri.absolutePath != URI_FALSE ? "/" : "";
  // Behind a host every segment has its slash, the first one too.
  bool slash = uri.hostText.first != nullptr;
  for (const auto* segment = uri.pathHead; segment != nullptr; segment = segment->next) {
    if (slash) path += '/';
    path.append(segment->text.first, segment->text.afterLast);
    slash = true;
  }
  const char* end = uriUnescapeInPlaceA(path.data());
  path.resize(static_cast<std::size_t>(end - path.data()));
  return path;
}

}  // namespace

std::optional<URL> URL::parse(std::string_view text) {
  UriUriA uri;
  const char* error = nullptr;
  if (uriParseSingleUriExA(&uri, text.data(), text.data() + text.size(), &error) != URI_SUCCESS) {
    return std::nullopt;
  }
  const std::unique_ptr<UriUriA, decltype(&uriFreeUriMembersA)> owner(&uri, uriFreeUriMembersA);
  return URL(text, pathOf(uri));
}

}  // namespace zt
