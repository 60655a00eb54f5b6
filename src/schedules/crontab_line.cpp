#include "schedules/crontab_line.h"

#include <charconv>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace zt {

CrontabLine::CrontabLine(std::string line) : crontabLine_(std::move(line)) {
  parts_.reserve(fieldCount);
  const std::string_view text = crontabLine_;
  std::size_t start = 0;
  for (auto tab = text.find('\t'); tab != text.npos; tab = text.find('\t', start)) {
    parts_.emplace_back(text.substr(start, tab - start));
    start = tab + 1;
  }
  parts_.emplace_back(text.substr(start));
}

const std::string& CrontabLine::part(Field field) const {
  if (field >= parts_.size()) std::abort();
  return parts_[field];
}

std::optional<std::int64_t> readInteger(std::string_view text) {
  // from_chars() knows the minus sign only.
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return std::nullopt;
  }
  std::int64_t value{};
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc{} || rest != end) return std::nullopt;
  return value;
}

}  // namespace zt
