#include "ztschedules/doctor.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>

#include "discovery/crontab_reader.h"
#include "platform/trust.h"
#include "schedules/next_event.h"
#include "util/time_text.h"
#include "ztschedules/schedule_entry.h"
#include "ztschedules/terminal_text.h"

namespace zt {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using platform::ServiceManagerError;
using platform::ServiceSetup;
using Manager = ServiceSetup::Manager;
using Result = Finding::Result;

constexpr auto* timer = "ztbackupbytime.timer";
constexpr auto* service = "ztbackupbytime.service";
constexpr auto* armService = "ztbackupbytime-arm.service";
constexpr auto* beforeSleepService = "ztbackupbytime-before-sleep.service";
constexpr auto* reinstall = "Install the package again: sudo apt install --reinstall ztbackupbytime";

// Names of checks that others depend on.
constexpr auto* crontabProgramCheck = "crontab program";
constexpr auto* applicationCheck = "application";
constexpr auto* lingeringCheck = "lingering";
constexpr auto* serviceManagerCheck = "service manager";
constexpr auto* unitsCheck = "units";

struct Verdict {
  Result result;
  std::string detail;
  std::optional<std::string> advice{};
};

Verdict ok(std::string detail) {
  return {Result::ok, std::move(detail)};
}

Verdict problem(std::string detail, std::string advice) {
  return {Result::problem, std::move(detail), std::move(advice)};
}

Verdict notChecked(std::string detail) {
  return {Result::notChecked, std::move(detail)};
}

/// A text as one word of a command to type.
std::string inShell(const std::string& text) {
  std::string word = "'";
  for (const char c : text) word += c == '\'' ? "'\\''" : std::string(1, c);
  return word.append("'");
}

std::string plural(std::size_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

/// A wake event that is cancelled at the end of its scope.
class TemporaryWakeEvent {
 public:
  TemporaryWakeEvent(platform::ServiceManager& manager, std::string name) : manager_(manager), name_(std::move(name)) {}
  TemporaryWakeEvent(const TemporaryWakeEvent&) = delete;
  TemporaryWakeEvent& operator=(const TemporaryWakeEvent&) = delete;
  ~TemporaryWakeEvent() {
    try {
      manager_.stop(name_);
    } catch (const ServiceManagerError&) {  // it is not set; otherwise the next run cancels it
    }
  }

  /// Gives whether it is set.
  bool set() { return manager_.start(name_); }

 private:
  platform::ServiceManager& manager_;
  std::string name_;
};

class Examination {
 public:
  explicit Examination(const DoctorServices& services) : services_(services), now_(services.clock.now()) {}

  std::vector<Finding> findings();

 private:
  struct Check {
    const char* name;
    std::vector<const char*> needs;  ///< the checks that have to be ok
    std::function<Verdict(Examination&)> outcome;
  };
  Verdict verdictOn(const Check& check);
  bool isOk(const char* check) const { return results_.at(check) == Result::ok; }

  Verdict crontabProgramRuns() const;
  Verdict crontabHasSchedules();
  Verdict applicationIsFound();
  Verdict programIsUsable(const fs::path& program, const std::string& adviceIfMissing) const;
  Verdict controllerIsUsable() const;
  Verdict agentIsUsable() const;
  Verdict bashRuns() const;
  Verdict userLingers() const;
  Verdict serviceManagerAnswers();
  Verdict unitsAreLoaded() const;
  Verdict programsFit() const;
  /// What a program prints as its name and version; nullopt if that is not known.
  std::optional<std::string> versionOf(const fs::path& program) const;
  Verdict environmentIsPlain() const;
  /// What the wall clock shows in a zone, a value of TZ, now and half a year later.
  std::vector<std::string> timesIn(const std::optional<std::string>& zone) const;
  Verdict timerRuns() const;
  Verdict runEnds() const;
  /// When the run that began at `start` should have ended at the latest.
  Instant latestEnd(Instant start) const;
  Verdict clockCanWake() const;
  Verdict wakingIsAllowed() const;
  std::string wakeEvent(int number) const;
  Verdict eventIsSetBeforeSleep() const;
  Verdict sleepCanBeInhibited() const;
  Verdict journalIsKept() const;

  const DoctorServices& services_;
  Instant now_;
  std::map<std::string, Result> results_;
  std::optional<std::vector<ScheduleEntry>> entries_;
  fs::path application_;
  std::vector<std::string> environment_;
};

std::vector<Finding> Examination::findings() {
  using E = Examination;
  const std::vector<Check> checks = {
      {crontabProgramCheck, {}, &E::crontabProgramRuns},
      {"crontab", {crontabProgramCheck}, &E::crontabHasSchedules},
      {applicationCheck, {}, &E::applicationIsFound},
      {"controller", {applicationCheck}, &E::controllerIsUsable},
      {"agent", {applicationCheck}, &E::agentIsUsable},
      {"bash", {}, &E::bashRuns},
      {lingeringCheck, {}, &E::userLingers},
      {serviceManagerCheck, {}, &E::serviceManagerAnswers},
      {unitsCheck, {serviceManagerCheck}, &E::unitsAreLoaded},
      {"programs", {serviceManagerCheck, unitsCheck}, &E::programsFit},
      {"environment", {serviceManagerCheck}, &E::environmentIsPlain},
      {"timer", {serviceManagerCheck, unitsCheck}, &E::timerRuns},
      {"run", {serviceManagerCheck, unitsCheck}, &E::runEnds},
      {"wake clock", {}, &E::clockCanWake},
      {"right to wake", {serviceManagerCheck, unitsCheck}, &E::wakingIsAllowed},
      {"before sleep", {}, &E::eventIsSetBeforeSleep},
      {"idle sleep", {}, &E::sleepCanBeInhibited},
      {"journal", {}, &E::journalIsKept},
  };
  std::vector<Finding> findings;
  for (const auto& check : checks) {
    auto [result, detail, advice] = verdictOn(check);
    results_[check.name] = result;
    findings.push_back({check.name, result, std::move(detail), std::move(advice)});
  }
  return findings;
}

Verdict Examination::verdictOn(const Check& check) {
  for (const auto* need : check.needs) {
    if (!isOk(need)) return notChecked("It depends on: " + std::string(need) + ".");
  }
  try {
    return check.outcome(*this);
  } catch (const ServiceManagerError& error) {
    results_[serviceManagerCheck] = Result::problem;  // it has answered before
    return problem(error.what(), "See what is wrong with it: systemctl --user status");
  }
}

Verdict Examination::crontabProgramRuns() const {
  if (services_.fileManager.isExecutableFile(crontabProgram)) return ok(std::string(crontabProgram) + ".");
  return problem(std::string(crontabProgram) + " cannot be executed.", "Install it: sudo apt install --reinstall cron");
}

Verdict Examination::crontabHasSchedules() {
  try {
    entries_ = readScheduleEntries(services_.crontab(), now_, services_.calendar);
  } catch (const std::exception& error) {
    return problem(std::string(error.what()) + ".", "See what it prints: crontab -l");
  }
  std::size_t errors = 0;
  std::size_t warnings = 0;
  std::vector<Instant> runs;
  const ScheduleEntry* firstError = nullptr;
  for (const auto& entry : *entries_) {
    if (entry.diagnostics.error && errors++ == 0) firstError = &entry;
    if (entry.diagnostics.warning) ++warnings;
    if (entry.makesCopies()) runs.push_back(*entry.next);
  }
  if (firstError != nullptr) {
    return problem(plural(errors, "line") + " of the crontab can make no copy. Line " +
                       std::to_string(firstError->number) + ": " + *firstError->diagnostics.error + ".",
                   "Correct them with crontab -e. See all of them: ztschedules --check");
  }
  if (runs.empty()) {
    return problem("The crontab has no schedule.",
                   "Add one: (crontab -l; ztschedules --new FOLDER --time HH:MM) | crontab -");
  }
  return ok(plural(runs.size(), "schedule") + ". The next copy is due at " +
            util::timeText(*earliestDate(runs), services_.calendar) + "." +
            (warnings == 0 ? "" : " " + plural(warnings, "warning") + ": ztschedules --check"));
}

Verdict Examination::applicationIsFound() {
  std::set<std::string> reasons;
  const auto refused = [&](const std::string& reason) { reasons.insert(reason); };
  const auto* const identifier = platform::applicationIdentifier;
  const auto running = services_.applications.running(identifier, refused);
  const bool isRunning = !running.empty() && running.front();
  const auto location = isRunning ? running.front() : services_.applications.installed(identifier, refused);
  std::string others;
  for (const auto& reason : reasons) others += " " + reason + ".";
  if (location) {
    application_ = *location;
    return ok(location->string() + (isRunning ? ", which is running." : ", the first one that is installed.") + others);
  }
  if (reasons.empty())
    return problem("Zantrove! is not in ~/Applications, /Applications or /opt.",
                   "Put it there: cp -R Zantrove.app ~/Applications/");
  return problem(others.substr(1), "Correct that with chown, or chmod go-w");
}

Verdict Examination::programIsUsable(const fs::path& program, const std::string& adviceIfMissing) const {
  if (const auto reason = platform::distrust(program))
    return problem(*reason + ", so it is not started.", "Correct that with chown, or chmod go-w");
  if (services_.fileManager.isExecutableFile(program)) return ok(program.string() + ".");
  std::error_code error;
  if (!fs::exists(program, error)) return problem(program.string() + " is missing.", adviceIfMissing);
  return problem(program.string() + " cannot be executed.", "Allow it: chmod +x " + inShell(program.string()));
}

Verdict Examination::controllerIsUsable() const {
  auto outcome = programIsUsable(application_ / platform::controllerInBundle, "Install the application again");
  if (outcome.result == Result::problem) outcome.detail += " No copy can be made.";
  return outcome;
}

Verdict Examination::agentIsUsable() const {
  const auto agent = application_ / platform::agentInBundle;
  auto outcome = programIsUsable(agent, "Link it: ln -sf \"$(command -v ZTAgent)\" " + inShell(agent.string()));
  if (outcome.result == Result::problem) outcome.detail += " No wake event is set, except before sleep.";
  return outcome;
}

Verdict Examination::bashRuns() const {
  constexpr auto* bash = "/bin/bash";
  if (services_.fileManager.isExecutableFile(bash)) return ok(std::string(bash) + ".");
  return problem(std::string(bash) + " cannot be executed.", "Install it: sudo apt install --reinstall bash");
}

Verdict Examination::userLingers() const {
  if (services_.setup.isLingering()) return ok("Copies are made while you are logged out, too.");
  return problem("Lingering is off: copies are made only while you are logged in.",
                 "Turn it on: sudo loginctl enable-linger \"$(id -un)\"");
}

Verdict Examination::serviceManagerAnswers() {
  try {
    environment_ = services_.setup.environment(service);
    return ok("Your service manager answers.");
  } catch (const ServiceManagerError& error) {
    // Without lingering, it is not there outside of a login session.
    if (!isOk(lingeringCheck)) return notChecked(std::string(error.what()) + " It depends on: lingering.");
    return problem(error.what(),
                   "Start it anew, which ends all that you are running: sudo systemctl restart \"user@$(id -u)\"");
  }
}

Verdict Examination::unitsAreLoaded() const {
  const std::array<std::pair<std::string, std::string>, 3> units = {
      {{timer, timer}, {service, service}, {wakeEvent(0), "ztbackupbytime-wake@.timer"}}};
  for (const auto& [unit, name] : units) {
    const auto state = services_.setup.unit(Manager::user, unit).load;
    if (state == "masked")
      return problem(name + " is masked.", "Allow it: systemctl --user unmask " + name +
                                               " && systemctl --user enable --now ztbackupbytime.timer");
    if (state == "not-found") return problem(name + " is not found.", reinstall);
    if (state != "loaded")
      return problem(std::string(name).append(" cannot be loaded: ").append(state).append("."),
                     "See why: systemctl --user status " + name);
  }
  return ok("systemd has loaded the timer, its service and the wake events.");
}

std::optional<std::string> Examination::versionOf(const fs::path& program) const {
  // A tool that does not know the option would start a run, and so might a script that starts it.
  constexpr std::string_view option = "--version";
  std::ifstream file(program, std::ios::binary);
  const std::string contents(std::istreambuf_iterator<char>(file), {});
  if (!contents.starts_with("\x7f"
                            "ELF") ||
      contents.find(option) == std::string::npos)
    return std::nullopt;
  const auto lines = services_.commands.run({program, {std::string(option)}});
  return lines && !lines->empty() ? std::optional(lines->front()) : std::nullopt;
}

Verdict Examination::programsFit() const {
  const fs::path tool = services_.setup.program(service);
  if (!services_.fileManager.isExecutableFile(tool))
    return problem(std::string(service) + " starts " + quote(tool.string()) + ", which cannot be executed.", reinstall);
  if (tool.filename() != "ztbackupbytime")
    return ok(std::string(service) + " starts the tool by " + tool.string() + ".");
  const auto differs = [&](const fs::path& program, const std::string& advice) -> std::optional<Verdict> {
    const auto version = versionOf(program);
    if (version == program.filename().string() + " " + services_.version) return std::nullopt;
    return problem(program.string() + " is " + (version ? quote(*version) : "of an unknown version") +
                       ", but this is ztschedules " + services_.version + ".",
                   advice);
  };
  const auto remove = std::string("Remove one of the two. The unit that starts it: systemctl --user cat ") + service;
  if (const auto outcome = differs(tool, remove)) return *outcome;
  // Of another agent, such as the application's own, nothing is known.
  std::error_code error;
  const auto agent = tool.parent_path() / "ZTAgent";
  const bool isUsed = !application_.empty() && fs::equivalent(agent, application_ / platform::agentInBundle, error);
  if (isUsed && services_.fileManager.isExecutableFile(agent)) {
    if (const auto outcome = differs(agent, reinstall)) return *outcome;
  }
  for (const auto* name : {timer, service, armService}) {
    if (!services_.setup.unit(Manager::user, name).isOutdated) continue;
    return problem(std::string(name) + " has changed since systemd has read it.",
                   "Have it read again: systemctl --user daemon-reload");
  }
  return ok(tool.string() + (isUsed ? " and the agent have" : " has") + " version " + services_.version + ".");
}

std::vector<std::string> Examination::timesIn(const std::optional<std::string>& zone) const {
  std::vector<std::string> times;
  for (const auto time : {now_, now_ + std::chrono::days(182)}) {  // in winter and in summer
    const auto seconds = std::to_string(time.time_since_epoch().count());
    const auto shown = services_.commands.run({"/bin/date",
                                               {"--date=@" + seconds, "+%F %T"},
                                               zone ? std::vector{"TZ=" + *zone} : std::vector<std::string>()});
    times.push_back(shown && !shown->empty() ? shown->front() : zone.value_or(""));
  }
  return times;
}

Verdict Examination::environmentIsPlain() const {
  std::map<std::string, std::string> variables;
  for (const auto& variable : environment_) {
    const auto sign = std::min(variable.find('='), variable.size() - 1);
    variables[variable.substr(0, sign)] = variable.substr(sign + 1);
  }
  for (const auto& [name, value] : variables) {
    if (!name.starts_with("LD_") || value.empty()) continue;
    return problem("The tool and copies run with " + name + "=" + quote(value) + ", which can change what they do.",
                   "Remove it from environment.d(5) if it is set there, and type: "
                   "systemctl --user unset-environment " +
                       name);
  }
  const auto theirs = [&](const char* name) {
    const auto variable = variables.find(name);
    return variable == variables.end() ? std::nullopt : std::optional(variable->second);
  };
  const auto ours = [](const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
  };
  const auto shown = [](const std::optional<std::string>& value) { return value ? quote(*value) : "not set"; };
  if (const auto zone = theirs("TZ"); zone != ours("TZ") && timesIn(zone) != timesIn(ours("TZ"))) {
    return problem("TZ is " + shown(zone) + " for the tool, but " + shown(ours("TZ")) +
                       " in your shell: ztschedules shows other times than the tool uses.",
                   "See the times of the tool: " + (zone ? "TZ=" + inShell(*zone) : "env -u TZ") + " ztschedules");
  }
  if (const auto home = theirs("HOME"); home && home != ours("HOME")) {
    return problem("HOME is " + shown(home) + " for the tool, but " + shown(ours("HOME")) +
                       " in your shell: it can use another application than the one above.",
                   "Look again: HOME=" + inShell(*home) + " ztschedules --doctor");
  }
  return ok("The tool has the same TZ and HOME as your shell, and no LD_ variables.");
}

Verdict Examination::timerRuns() const {
  const auto state = services_.setup.unit(Manager::user, timer);
  const bool isEnabled = state.file.starts_with("enabled");
  if (!isEnabled || state.active != "active") {
    const std::string states = isEnabled                  ? "not active"
                               : state.active == "active" ? "not enabled"
                                                          : "neither enabled nor active";
    return problem(std::string(timer) + " is " + states + ".",
                   std::string("Turn it on: systemctl --user enable --now ") + timer);
  }
  const auto next = [&] { return services_.setup.nextElapse(timer); };
  auto elapses = next();
  const auto run = services_.setup.unit(Manager::user, service).active;
  if (run == "activating") return ok("It is enabled and active. A run is in progress.");
  if (!elapses) elapses = next();  // a run can have ended just now
  if (elapses)
    return ok("It is enabled and active. The next run: " + util::timeText(*elapses, services_.calendar) + ".");
  return problem(std::string(timer) + " is active, but starts no run any more.",
                 std::string("Start it anew: systemctl --user restart ") + timer);
}

Instant Examination::latestEnd(Instant start) const {
  std::vector<CrontabLine> lines;
  for (const auto& entry : *entries_) {
    if (entry.schedule.canFire()) lines.push_back(entry.line);
  }
  auto minute = std::chrono::floor<std::chrono::minutes>(start);
  // A run stays for the next minute if that is due.
  while (minute < now_ && nextEventDate(lines, minute + 1min, services_.calendar) == minute + 1min) minute += 1min;
  constexpr auto lastWait = 10s;
  constexpr auto margin = 5min;  // for crontab, the agent, and bash for each line: each is killed after 30 seconds
  return minute + 1min + lastWait + margin;
}

Verdict Examination::runEnds() const {
  const auto run = services_.setup.unit(Manager::user, service);
  if (run.active != "activating") return ok("No run is in progress.");
  const auto text = "A run has been in progress for " + util::timeLeft(std::max(run.age, 1s));
  if (!entries_) return notChecked(text + ". It depends on: crontab.");
  if (now_ <= latestEnd(now_ - run.age)) return ok(text + ".");
  return problem(text + ", longer than any schedule explains. No other one starts before it ends.",
                 std::string("End it, but no copies: systemctl --user stop ") + service);
}

Verdict Examination::clockCanWake() const {
  // No advice could change that, and it is what containers and some machines are like.
  return ok(services_.serviceManager.hasWakeClock()
                ? "The machine has a clock that can wake it from suspend."
                : "The machine has no clock that could wake it: copies are made only while it is awake.");
}

std::string Examination::wakeEvent(int number) const {
  constexpr std::chrono::days farAhead(3653);
  constexpr auto noMinute = 30s;  // real events are at whole minutes
  const auto time = std::chrono::floor<std::chrono::minutes>(now_) + farAhead + number * 1min + noMinute;
  return "ztbackupbytime-wake@" + std::to_string(time.time_since_epoch().count()) + ".timer";
}

Verdict Examination::wakingIsAllowed() const {
  auto& manager = services_.serviceManager;
  if (!manager.hasWakeClock()) return notChecked("It depends on: wake clock.");
  if (!manager.isActive(timer)) return notChecked("It depends on: timer.");
  constexpr int tries = 3;  // each run cancels the events that it finds, also this one
  for (int i = 0; i < tries; ++i) {
    if (TemporaryWakeEvent(manager, wakeEvent(i)).set()) return ok("systemd can wake the machine for you.");
  }
  return problem("systemd cannot set a wake event: your service manager probably lacks the right (CAP_WAKE_ALARM).",
                 "Restart the machine, or only your service manager, which ends all that you are running: sudo "
                 "systemctl restart \"user@$(id -u)\"");
}

Verdict Examination::eventIsSetBeforeSleep() const {
  const std::string name = beforeSleepService;
  try {
    const auto state = services_.setup.unit(Manager::system, name);
    if (state.load == "masked") return problem(name + " is masked.", "Allow it: sudo systemctl unmask " + name);
    if (state.load != "loaded") return problem(name + " is not loaded: " + state.load + ".", reinstall);
    const auto wanted = services_.setup.wants("sleep.target");
    if (state.isOutdated || std::ranges::find(wanted, name) == wanted.end())
      return problem("sleep.target does not start the current " + name + ".",
                     std::string("Have systemd read it: sudo systemctl daemon-reload. Or: ") + reinstall);
  } catch (const ServiceManagerError& error) {
    return notChecked(error.what());
  }
  if (!isOk(serviceManagerCheck)) return notChecked("It depends on: service manager.");
  const auto state = services_.setup.unit(Manager::user, armService).load;
  if (state == "masked")
    return problem(std::string(armService) + " is masked.",
                   std::string("Allow it: systemctl --user unmask ") + armService);
  if (state != "loaded") return problem(std::string(armService) + " is not loaded: " + state + ".", reinstall);
  return ok("The wake event is set before each sleep.");
}

Verdict Examination::sleepCanBeInhibited() const {
  auto& assertions = services_.powerAssertions;
  const auto [result, identifier] =
      assertions.create("PreventUserIdleSystemSleep", "ztschedules", "Trying whether it can");
  if (result == 0) {
    assertions.release(identifier);
    return ok("A run can keep the machine from idle sleep.");
  }
  return problem("A run cannot keep the machine from idle sleep. logind gives no lock: " +
                     std::generic_category().message(-result) + " (error " + std::to_string(-result) + ").",
                 "See what is wrong with it: systemctl status systemd-logind");
}

Verdict Examination::journalIsKept() const {
  if (services_.journal.scope().isPersistent) return ok("It is kept when the machine is restarted.");
  return problem("The journal is lost when the machine is restarted, and with it why a copy was missed.",
                 "Keep it: sudo mkdir -p /var/log/journal && sudo journalctl --flush. If journald.conf(5) has "
                 "Storage=volatile or none, remove that first");
}

std::string textOf(Result result) {
  return result == Result::ok ? "ok" : result == Result::problem ? "problem" : "not checked";
}

}  // namespace

std::vector<Finding> examine(const DoctorServices& services) {
  return Examination(services).findings();
}

bool hasProblem(std::span<const Finding> findings) {
  return std::ranges::find(findings, Result::problem, &Finding::result) != findings.end();
}

std::string findingsView(std::span<const Finding> findings, const platform::Terminal& terminal) {
  std::vector<Row> rows = {{{"CHECK", "RESULT", "DETAIL"}}};
  for (const auto& [check, result, detail, advice] : findings) {
    const auto style = result == Result::problem ? Style::error : Style::plain;
    rows.push_back({{check, textOf(result), printable(advice ? detail + " " + *advice : detail)}, style});
  }
  return table(rows, 2, terminal);
}

std::string findingsJson(std::span<const Finding> findings) {
  using Json = nlohmann::ordered_json;
  auto array = Json::array();
  for (const auto& [check, result, detail, advice] : findings) {
    array.push_back({{"check", check},
                     {"result", textOf(result)},
                     {"detail", detail},
                     {"advice", advice ? Json(*advice) : Json()}});
  }
  return array.dump(2, ' ', true, Json::error_handler_t::replace) + "\n";
}

}  // namespace zt
