#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zt {

/// A schedule to write, in the words of the command line.
struct NewSchedule {
  std::string copy{};                    ///< a URL, or the path of a folder
  std::string time{};                    ///< such as "09:30"
  std::optional<std::string> days{};     ///< such as "mon,wed-fri"; every day without it
  std::optional<std::string> weeks{};    ///< such as "1,3" or "last-two"; every week without it
  std::optional<std::string> command{};  ///< what stands before the URL, as in a crontab
};

struct NewLine {
  std::string line;                   ///< without its LF
  std::vector<std::string> warnings;  ///< where the line may not be what was meant
};

/// The line of a crontab for a schedule. If that has no command, the line gets `program`, or a command that does
/// nothing if that is nullopt. The line has been read back: it has exactly the times that were asked for, and bash
/// gives exactly the URL. Throws a std::invalid_argument that tells what a line cannot say, and what it can.
NewLine newLine(const NewSchedule& asked, const std::optional<std::filesystem::path>& program);

}  // namespace zt
