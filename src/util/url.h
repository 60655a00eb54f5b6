#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace zt {

/// A URL reference (RFC 3986): a whole URL, or a relative reference such as a bare path.
class URL {
 public:
  /// Takes the text as it is, adding no scheme and encoding nothing; nullopt when it is no URL
  /// reference, for one because it holds a character that has to be percent-encoded.
  static std::optional<URL> parse(std::string_view text);

  /// The text of the whole reference, percent-encoded as it was given.
  const std::string& absoluteString() const { return text_; }
  /// The path component with its percent-encoding taken off.
  const std::string& path() const { return path_; }

 private:
  URL(std::string_view text, std::string path) : text_(text), path_(std::move(path)) {}

  std::string text_;
  std::string path_;
};

}  // namespace zt
