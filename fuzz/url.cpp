#include "util/url.h"

#include <algorithm>

#include "property.h"

namespace zt {

using namespace util;
namespace {

/// Whether a text has only characters of RFC 3986, section 2, and each percent sign begins an escape.
bool hasOnlyURLCharacters(std::string_view text) {
  constexpr std::string_view hexDigits = "0123456789ABCDEFabcdef";
  constexpr std::string_view characters =
      "%:/?#[]@!$&'()*+,;=-._~0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
  if (text.find_first_not_of(characters) != text.npos) return false;
  for (auto percent = text.find('%'); percent != text.npos; percent = text.find('%', percent + 1)) {
    const auto digits = text.substr(percent + 1, 2);
    if (digits.size() != 2 || digits.find_first_not_of(hexDigits) != digits.npos) return false;
  }
  return true;
}

/// The path by RFC 3986, appendix B: after scheme and authority, and before query and fragment.
std::string_view pathOf(std::string_view text) {
  text = text.substr(0, text.find_first_of("?#"));
  const auto delimiter = text.find_first_of(":/");
  if (delimiter != text.npos && text[delimiter] == ':') text.remove_prefix(delimiter + 1);
  if (text.starts_with("//")) text.remove_prefix(std::min(text.find('/', 2), text.size()));
  return text;
}

std::string decoded(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isEscape = text[i] == '%';
    result += isEscape ? static_cast<char>(std::stoi(std::string(text.substr(i + 1, 2)), nullptr, 16)) : text[i];
    if (isEscape) i += 2;
  }
  return result;
}

std::vector<std::string> componentsOf(std::string_view path) {
  std::vector<std::string> components;
  if (path.starts_with('/')) components.emplace_back("/");
  while (!path.empty()) {
    const auto name = path.substr(0, path.find('/'));
    if (!name.empty()) components.push_back(decoded(name));
    path.remove_prefix(std::min(name.size() + 1, path.size()));
  }
  return components;
}

std::optional<URL> checkedURL(std::string_view text) {
  auto url = URL::parse(text);
  const bool mayBeURL = hasOnlyURLCharacters(text) && std::ranges::count(text, '#') <= 1;
  require(mayBeURL || !url, "a URL has no characters that must be encoded");
  require(!mayBeURL || url || text.find_first_of(":@[]") != text.npos, "only a colon or host can be wrong otherwise");
  if (!url) return url;
  require(url->absoluteString() == text, "a URL keeps its text");
  require(url->path() == decoded(pathOf(text)), "the path is the part between authority and query");
  require(url->myHasDirectoryPath() == pathOf(text).ends_with('/'), "a directory path ends in a slash");
  require(url->pathComponents() == componentsOf(pathOf(text)), "components are the parts between slashes");
  return url;
}

void checkComparison(const URL& a, const URL& b, CompareOptions options) {
  const bool startsWithB = a.startsWithPath(b, options);
  require(a.isEqual(a, options) && a.startsWithPath(a, options), "a URL is equal to itself, and below itself");
  require(a.isEqual(b, options) == b.isEqual(a, options), "equality is symmetric");
  require(a.isEqual(b, options) == (startsWithB && b.startsWithPath(a, options)), "equal URLs are below each other");
  const std::vector<URL> bases = {b, a, b};
  const auto found = a.startsWithPaths(bases, options);
  const auto& expected = startsWithB ? bases : std::vector{a};
  require(std::ranges::equal(found, expected, {}, &URL::absoluteString, &URL::absoluteString),
          "startsWithPaths() finds what startsWithPath() finds");
  require(a.startsWithAnyPath(found, options), "startsWithAnyPath() finds one of several URLs");
  require(a.startsWithAnyPath(std::vector{b}, options) == startsWithB, "any of one URL is that one");
}

}  // namespace

/// Input: two URLs, one on a line.
void check(std::string_view input) {
  const auto a = checkedURL(takeLine(input));
  const auto b = checkedURL(input);
  if (!a || !b) return;
  for (const bool caseInsensitive : {false, true}) {
    for (const bool literal : {false, true}) checkComparison(*a, *b, {caseInsensitive, literal});
  }
}

}  // namespace zt
