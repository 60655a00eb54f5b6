#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "ztschedules/new_line.h"

namespace zt {

/// What the command line of ztschedules asks for. At most one of `count`, `month`, `json`, `next`, `explain`, `doctor`,
/// `history` and `newSchedule` is set, but `json` can be set together with `doctor` or `history`.
struct Options {
  std::optional<std::string> at;
  std::optional<std::size_t> count;
  std::optional<std::string> month;  ///< empty for the current one
  bool json = false;
  bool next = false;
  std::optional<std::string> explain;  ///< the number of a line, or time fields
  bool history = false;
  std::optional<std::string> since, until;  ///< of the history
  bool all = false;                         ///< of it
  std::optional<NewSchedule> newSchedule;
  bool check = false;
  bool doctor = false;
  std::optional<std::string> file;  ///< "-" for standard input
};

/// Reads the command line. Gives nullopt after it has answered --help or --version on standard output. Throws a
/// std::exception that tells what is wrong with it.
std::optional<Options> readOptions(int count, const char* const* arguments);

}  // namespace zt
