#pragma once

#include <string>
#include <string_view>

namespace zt {

/// Reads `format` as the plain log does: "%@" stands for an object, the conversions of printf(3) for C values, and "%%"
/// for a percent sign. The first "%@" prints `argument`. Every other directive has no argument: those for objects and
/// strings print "(null)", the others "0", whatever their flags, width and precision. An unknown or unfinished
/// directive is printed unchanged.
std::string expandPlainFormat(std::string_view format, std::string_view argument);

/// The same without any argument.
std::string expandPlainFormat(std::string_view format);

}  // namespace zt
