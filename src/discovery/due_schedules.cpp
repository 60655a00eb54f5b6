#include "discovery/due_schedules.h"

#include <ostream>
#include <string>
#include <utility>

#include "platform/environment.h"
#include "platform/task.h"
#include "util/text.h"

namespace zt {

std::vector<util::URL> matchingSchedules(std::span<const CrontabLine> lines, Instant time, const Calendar& calendar,
                                         platform::Commands& commands, std::ostream& output) {
  // All lines are tested before the first shell runs.
  std::vector<const CrontabLine*> due;
  for (const auto& line : lines) {
    if (runsAt(line, time, calendar)) due.push_back(&line);
  }
  std::vector<util::URL> urls;
  for (const auto* line : due) {
    if (auto url = commandURL(*line, commands, output)) urls.push_back(*std::move(url));
  }
  return urls;
}

std::optional<util::URL> commandURL(const CrontabLine& line, platform::Commands& commands, std::ostream& output) {
  const auto command = line.part(CrontabLine::command);
  const auto fail = [&](std::string_view problem, std::string_view text, std::string_view from) {
    // Flushed at once: the message must not be lost if the run ends abnormally later.
    output << "ztbackupbytime: " << problem << " \"" << text << "\" " << from << " \"" << line.crontabLine() << "\"."
           << std::endl;
    return std::nullopt;
  };

  // An empty piece counts as a word, so this cannot happen.
  const auto words = util::split(command, ' ');
  if (words.empty()) return fail("crontab executable had no space in it. Was", command, "from");

  const std::string script = "echo -n " + std::string(words.back());
  std::optional<std::vector<std::string>> unescaped;
  if (platform::Task::isArgument(script)) {
    unescaped = commands.run({"/bin/bash", {"-c", script}, platform::environmentForBash()});
  }
  if (!unescaped || unescaped->empty()) return fail("failed to unescape", command, "from");

  const std::string& text = unescaped->front();
  auto url = platform::Task::isArgument(text) ? util::URL::parse(text) : std::nullopt;
  if (!url) {
    return fail("unable to create URL from unescaped", text, "extracted and unescaped from");
  }
  return url;
}

}  // namespace zt
