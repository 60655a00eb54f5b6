#pragma once

#include <string>
#include <string_view>

namespace zt {

/// Reads `format` the way the plain log does: "%@" stands for an object and the conversions of
/// printf(3) for C values, "%%" for one percent sign. The first "%@" prints `argument`. Every other
/// directive has no argument: those for objects and strings print "(null)", the others "0",
/// whatever flags, width and precision they bear. An unknown or unfinished directive is printed as
/// it stands.
std::string expandPlainFormat(std::string_view format, std::string_view argument);

/// The same without an argument at all.
std::string expandPlainFormat(std::string_view format);

}  // namespace zt
