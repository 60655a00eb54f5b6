#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "schedules/crontab_line.h"

namespace zt {

/// A line of a crontab that bears the application's marker, and what there is to say of it.
struct Entry {
  std::size_t number;                    ///< of the line, from 1; empty lines count
  CrontabLine line;                      ///< with any number of fields
  std::string copy{};                    ///< its name, in printable form, shortened
  std::string schedule = "never";        ///< in words
  std::optional<std::string> problem{};  ///< why it makes no copy
  std::optional<std::string> warning{};  ///< where it means something else than it seems to say
  bool due = false;                      ///< whether it fires in the minute in question
  std::optional<Instant> next{};         ///< the first time that it fires from the start of that minute on
};

/// The marked lines of a crontab's text, in its order, and how they stand in the minute of `now`. Of a text that is not
/// valid UTF-8 the tool reads nothing: each of its lines has that for its problem.
std::vector<Entry> readEntries(std::string_view crontab, Instant now, const Calendar& calendar);

}  // namespace zt
