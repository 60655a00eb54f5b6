#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/applications.h"
#include "platform/calendar.h"
#include "platform/clock.h"
#include "platform/commands.h"
#include "platform/file_manager.h"
#include "platform/journal.h"
#include "platform/power_assertions.h"
#include "platform/service_manager.h"
#include "platform/service_setup.h"
#include "platform/terminal.h"

namespace zt {

/// What was found out about one thing that a copy needs.
struct Finding {
  enum class Result : std::uint8_t { ok, problem, notChecked };

  std::string check;  ///< the name of the thing
  Result result;
  std::string detail;                   ///< what was seen, or what it depends on if it was not checked
  std::optional<std::string> advice{};  ///< what to do about a problem
};

/// What the examination needs of the machine.
struct DoctorServices {
  const platform::Clock& clock;
  const Calendar& calendar;
  const platform::Applications& applications;
  const platform::FileManager& fileManager;
  platform::Commands& commands;
  platform::ServiceManager& serviceManager;
  platform::ServiceSetup& setup;
  platform::PowerAssertions& powerAssertions;
  const Journal& journal;
  std::function<std::string()> crontab;  ///< gives its text, or throws a std::exception that tells why it has none
  std::string version;                   ///< that the programs of the tool should have
};

/// Looks at all that a copy needs, from the causes to what depends on them: one broken thing gives one problem, and
/// what cannot be judged because of it is not checked. Starts no run and no copy. It sets a wake event years ahead, and
/// cancels it again.
std::vector<Finding> examine(const DoctorServices& services);

/// Whether there is a problem.
bool hasProblem(std::span<const Finding> findings);

/// A table of printable text, as in views.h.
std::string findingsView(std::span<const Finding> findings, const platform::Terminal& terminal);

/// A JSON array, in ASCII, with an object for each finding: "check"; "result": "ok", "problem" or "not checked";
/// "detail"; "advice", or null.
std::string findingsJson(std::span<const Finding> findings);

}  // namespace zt
