#pragma once

#include <stdlib.h>

#include <array>
#include <fstream>
#include <stdexcept>
#include <string>

namespace zt::bench {

/// One of many lines of a crontab: of each three one is daily, one weekly, and one on one weekday of the month.
inline std::string crontabLine(int number, const std::string& hour, const std::string& command) {
  const auto weekday = std::to_string(number % 7);
  const std::array days{std::string("*\t*\t*"), "*\t*\t" + weekday, "15-21\t*\t" + weekday};
  return std::to_string(number * 7 % 60) + "\t" + hour + "\t" + days.at(number % 3) + "\t" + command;
}

/// Replaces the crontab of root, on a private machine only.
inline void installCrontab(const std::string& text) {
  if (::getenv("PRIVATE_MACHINE") == nullptr) throw std::runtime_error("run bench/run instead");
  if (!(std::ofstream("/var/spool/cron/crontabs/root") << text << std::flush)) {
    throw std::runtime_error("cannot write the crontab");
  }
}

}  // namespace zt::bench
