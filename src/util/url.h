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
/// URLs are compared as locations, by their path components alone: scheme, host, query and fragment do not count, nor
/// does percent-encoding. Whole components are compared, in order, as isSame() compares texts. The file system is not
/// consulted: "." and ".." are ordinary names, so /a/b/../c is below /a/b. Everything is below a URL without a path.
class URL {
 public:
  /// Takes the text as it is, without adding a scheme or encoding anything; nullopt if it is not a URL reference, for
  /// example because it contains a character that has to be percent-encoded.
  static std::optional<URL> parse(std::string_view text);

  /// The file URL (RFC 8089) of an absolute path. All bytes but letters, digits, "-._~" and slashes are
  /// percent-encoded.
  static URL ofFile(const std::string& path);

  /// The text of the whole reference, as it was given.
  const std::string& absoluteString() const { return text_; }
  /// Whether it is a whole URL, and not a relative reference.
  bool hasScheme() const;
  /// The path, percent-decoded.
  std::string path() const;

  /// "/" if the path starts at the root, then each name, percent-decoded. A slash within a name (%2F) does not separate
  /// names. Empty names, such as after a trailing slash, are left out.
  std::vector<std::string> pathComponents() const;

  /// Whether the path is written as that of a directory, with a trailing slash.
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
