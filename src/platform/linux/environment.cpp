#include "platform/environment.h"

#include <locale.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace zt::platform {
namespace {

bool isKnownLocale(std::string_view name) {
  const locale_t locale = ::newlocale(LC_ALL_MASK, std::string(name).c_str(), nullptr);
  if (locale == nullptr) return false;
  ::freelocale(locale);
  return true;
}

/// Whether a variable can make bash do something else than to print its word.
bool disturbsBash(std::string_view variable) {
  static constexpr std::array names = {"BASHOPTS", "BASH_COMPAT", "BASH_ENV", "BASH_XTRACEFD", "SHELLOPTS", "SHLVL"};
  const auto name = variable.substr(0, variable.find('='));
  // bash warns of no other variable for the locale.
  static constexpr std::string_view locale = "LC_ALL=";
  if (variable.starts_with(locale)) return !isKnownLocale(variable.substr(locale.size()));
  // A function can replace echo, and bash writes an error about one that it cannot parse.
  return name.starts_with("LD_") || name.starts_with("BASH_FUNC_") || std::ranges::find(names, name) != names.end();
}

}  // namespace

std::vector<std::string> environmentForBash() {
  std::vector<std::string> variables;
  for (char* const* variable = ::environ; *variable != nullptr; ++variable) {
    if (!disturbsBash(*variable)) variables.emplace_back(*variable);
  }
  return variables;
}

}  // namespace zt::platform
