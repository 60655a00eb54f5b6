#include "discovery/crontab_reader.h"

#include <utility>

namespace zt {

bool isMarked(std::string_view line) {
  return line.find(marker) != line.npos;
}

std::optional<std::vector<CrontabLine>> readCrontabLines(platform::Commands& commands) {
  auto output = commands.run({crontabProgram, {crontabArgument}});
  if (!output) return std::nullopt;
  std::erase_if(*output, [](const auto& line) { return !isMarked(line); });

  std::vector<CrontabLine> result;
  result.reserve(output->size());
  for (auto& text : *output) {
    CrontabLine line(std::move(text));
    if (line.parts().size() == CrontabLine::fieldCount) result.push_back(std::move(line));
  }
  return result;
}

}  // namespace zt
