#include <sstream>

#include "driver/wake_scheduling.h"
#include "logging/log_factory.h"
#include "property.h"
#include "support/fakes.h"
#include "util/text.h"

namespace zt {

using namespace platform;
using namespace util;

/// Input: a listing of wake events.
void check(std::string_view input) {
  const std::string agent = "/opt/Z.app/Contents/MacOS/ZTAgent";
  FakeWakeEvents wakeEvents;
  wakeEvents.hasListing = isValidUtf8(input);
  wakeEvents.events = lines(input);

  Texts calls;
  Texts messages{"Canceling any existing wake events."};
  for (const auto& line : wakeEvents.events) {
    Texts words;  // separated by blanks alone, not by tabs
    std::istringstream stream(line);
    for (std::string word; std::getline(stream, word, ' ');) {
      if (!word.empty()) words.push_back(word);
    }
    const bool isOurs = line.find("ZTAgent") != line.npos || line.find("ztbackupbytime") != line.npos;
    if (!wakeEvents.hasListing || !isOurs || words.size() != 7) continue;
    calls.push_back(agent + " cancel " + words[3] + " " + words[4]);
    messages.push_back("Canceling " + line);
  }

  FakeUnifiedLog unified;
  FakePlainLog plain;
  FakeFileManager fileManager;
  const Log log = LogFactory::helper("fuzz", {&unified, plain});
  WakeScheduling wakeScheduling(wakeEvents, fileManager, agent, log);
  wakeScheduling.cancelExisting();
  require(wakeEvents.calls.empty() && unified.entries.size() == 1, "without an agent nothing is cancelled");

  fileManager.executables = {agent};
  unified.entries.clear();
  wakeScheduling.cancelExisting();
  require(wakeEvents.calls == calls, "our events are cancelled, and no others");
  require(std::ranges::equal(unified.entries, messages, {}, &FakeUnifiedLog::Entry::message),
          "each cancelled event is in the log");
}

}  // namespace zt
