#include "driver/wake_scheduling.h"

#include "util/text.h"
#include "util/time_text.h"

namespace zt {
namespace {

bool isOurs(std::string_view line) {
  return line.find("ztbackupbytime") != line.npos || line.find("ZTAgent") != line.npos;
}

}  // namespace

void WakeScheduling::cancelExisting() {
  log_.info("Canceling any existing wake events.");
  const auto listing = wakeEvents_.list(agent_);
  if (!listing) return;
  for (const auto& line : *listing) {
    if (!isOurs(line)) continue;
    auto words = util::split(line, ' ');
    std::erase(words, "");
    if (words.size() != 7 || !agentIsExecutable()) continue;
    log_.info("Canceling " + line);
    wakeEvents_.cancel(agent_, std::string(words[3]).append(" ").append(words[4]));
  }
}

void WakeScheduling::set(Instant date, const Calendar& calendar) {
  if (agentIsExecutable()) wakeEvents_.wake(agent_, util::wakeTimeText(date, calendar));
}

}  // namespace zt
