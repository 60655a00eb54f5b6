#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "util/text.h"

namespace zt::util {

/// A URL reference (RFC 3986): a whole URL, or a relative reference such as a bare path.
///
/// URLs are compared as locations, by their path components alone: scheme, host, query and fragment do not
/// count, and neither does how a character was written, percent-encoded or not. Whole components are
/// compared, in order, as isSame() compares texts. The disk is not asked: "." and ".." are names like others,
/// so that /a/b/../c counts as below /a/b. Everything is below a URL without a path.
class URL {
 public:
  /// Takes the text as it is, adding no scheme and encoding nothing; nullopt when it is no URL
  /// reference, for one because it holds a character that has to be percent-encoded.
  static std::optional<URL> parse(std::string_view text);

  /// The text of the whole reference, percent-encoded as it was given.
  const std::string& absoluteString() const { return text_; }
  /// The path component with its percent-encoding taken off.
  std::string path() const;

  /// "/" if the path starts at the root, then each name with its percent-encoding taken off. A slash in a
  /// name (%2F) separates nothing; empty names, as after a trailing slash, are left out.
  std::vector<std::string> pathComponents() const;

  /// Whether the path is written as that of a directory, with a slash at its end.
  bool myHasDirectoryPath() const { return encodedPath_.ends_with('/'); }

  /// Whether both have the same path components.
  bool isEqual(const URL& other, CompareOptions options) const;

  /// Whether this location is `base` or below it: its path components start with those of `base`.
  bool startsWithPath(const URL& base, CompareOptions options) const;
  /// Those of `bases` that this location is at or below, in their order.
  std::vector<URL> startsWithPaths(std::span<const URL> bases, CompareOptions options) const;
  /// Whether there is one.
  bool startsWithAnyPath(std::span<const URL> bases, CompareOptions options) const;

 private:
  URL(std::string_view text, std::string encodedPath) : text_(text), encodedPath_(std::move(encodedPath)) {}

  std::string text_;
  std::string encodedPath_;
};

}  // namespace zt::util
