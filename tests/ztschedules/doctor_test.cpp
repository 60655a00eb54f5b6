#include "ztschedules/doctor.h"

#include <unistd.h>

#include "support/fakes.h"
#include "support/test.h"

using Manager = ServiceSetup::Manager;

const std::string timer = "ztbackupbytime.timer", service = "ztbackupbytime.service";
const std::string beforeSleep = "ztbackupbytime-before-sleep.service", arm = "ztbackupbytime-arm.service";

/// A machine on which all is well, at 2027-03-05 12:00:30 UTC.
struct Machine : Clock,
                 Applications,
                 FakeFileManager,
                 FakeCommands,
                 ServiceManager,
                 ServiceSetup,
                 PowerAssertions,
                 Journal {
  Machine() {
    fs::create_directories(agent.parent_path());
    fs::create_directories(folder / "bin");
    std::ofstream(tool) << "\x7f"
                           "ELF answers --version";
    std::ofstream(folder / "bin/ZTAgent") << "\x7f"
                                             "ELF answers --version";
    fs::create_symlink(folder / "bin/ZTAgent", agent);
    executables = {"/usr/bin/crontab", "/bin/bash", tool, folder / "bin/ZTAgent", agent, controller};
  }
  ~Machine() override { fs::remove_all(folder); }

  Instant now() const override { return at("2027-03-05 12:00:30 +0000"); }
  Uptime uptime() const override { return {}; }
  bool sleep(std::chrono::seconds) override { return true; }

  std::vector<std::optional<fs::path>> running(std::string_view, const Refused& refused) const override {
    for (const auto& reason : refusals) refused(reason);
    return {};
  }
  std::optional<fs::path> installed(std::string_view, const Refused&) const override {
    return refusals.empty() ? std::optional(bundle) : std::nullopt;
  }

  std::optional<Texts> run(const Command& command) override {
    if (command.path == "/bin/date") {  // which knows two zones
      const bool isBerlin = command.environment->size() == 1 && command.environment->front().ends_with("Berlin");
      return Texts{(isBerlin ? "Berlin " : "UTC ") + command.arguments.front()};
    }
    EXPECT_EQ(command.arguments, Texts{"--version"}) << command.path;
    return Texts{fs::path(command.path).filename().string() + " " + versions[command.path]};
  }
  void start(const Command& command, const std::string&) override { ADD_FAILURE() << command.path << " is started"; }

  std::vector<std::string> waitingTimers() override { return {events.begin(), events.end()}; }
  bool start(const std::string& unit) override {
    EXPECT_TRUE(unit.starts_with("ztbackupbytime-wake@21")) << unit << " is not far ahead";
    if (mayWake) events.insert(unit);
    if (startHangs) throw ServiceManagerError("It hangs.");
    return mayWake && cancellingRuns-- <= 0;
  }
  void stop(const std::string& unit) override { events.erase(unit); }
  bool isActive(const std::string& unit) override { return units[{Manager::user, unit}].active == "active"; }
  bool hasWakeClock() const override { return hasClock; }

  Unit unit(Manager manager, const std::string& name) override {
    if (manager == Manager::user ? !managerAnswers : !hasSystemBus) throw ServiceManagerError("Nobody there.");
    if (name == stuckUnit) throw ServiceManagerError("It hangs.");
    const auto found = units.find({manager, name});
    return found == units.end() ? Unit{.load = "loaded", .active = "inactive", .file = "static"} : found->second;
  }
  std::vector<std::string> wants(const std::string& unit) override { return unit == "sleep.target" ? wanted : Texts(); }
  std::optional<Instant> nextElapse(const std::string&) override { return next; }
  std::string program(const std::string&) override { return program_; }
  std::vector<std::string> environment(const std::string&) override {
    if (!managerAnswers) throw ServiceManagerError("Nobody there.");
    return variables;
  }
  bool isLingering() const override { return lingers; }
  Scope scope() const override { return {.hasSystem = false, .isPersistent = keeps}; }
  void readForward(Selection, JournalEntry::Time, Place, const Reader&) const override {}
  void readBackward(Selection, JournalEntry::Time, Place, const Reader&) const override {}

  Created create(std::string_view, std::string_view, std::string_view) override {
    if (hasLogind) ++locks;
    return {.result = hasLogind ? 0 : -2, .identifier = 7};
  }
  void release(std::uint32_t identifier) override { locks -= identifier == 7 ? 1 : 0; }

  Unit& of(const std::string& name, Manager manager = Manager::user) { return units.at({manager, name}); }
  void isInRunFor(std::chrono::seconds age) { of(service) = {.load = "loaded", .active = "activating", .age = age}; }

  const Zone zone{"UTC0"};
  const fs::path folder = fs::path(testing::TempDir()) / ("doctor" + std::to_string(::getpid()));
  const fs::path bundle = folder / "Zantrove.app", tool = folder / "bin/ztbackupbytime";
  const fs::path agent = bundle / agentInBundle, controller = bundle / controllerInBundle;
  Texts refusals, wanted = {beforeSleep}, variables = {"TZ=UTC0", "HOME=" + std::string(::getenv("HOME")), "LD_X="};
  std::map<std::string, std::string> versions = {{tool, "1.2"}, {folder / "bin/ZTAgent", "1.2"}};
  std::string program_ = tool, crontabText = lineText("1 12 * * *") + "\n" + lineText("5 12 * * *") + "\n";
  std::map<std::pair<Manager, std::string>, Unit> units = {
      {{Manager::user, timer}, {.load = "loaded", .active = "active", .file = "enabled"}},
      {{Manager::user, service}, {.load = "loaded", .active = "inactive", .file = "static"}},
      {{Manager::user, arm}, {.load = "loaded", .active = "inactive", .file = "static"}},
      {{Manager::system, beforeSleep}, {.load = "loaded", .active = "inactive", .file = "static"}}};
  std::optional<Instant> next = now() + 40s;
  bool mayWake = true, hasClock = true, managerAnswers = true, hasSystemBus = true, hasLogind = true, lingers = true,
       keeps = true, startHangs = false;
  int cancellingRuns = 0, locks = 0;
  std::string stuckUnit, crontabError;
  std::set<std::string> events;
};

static std::vector<Finding> examineMachine(Machine& machine) {
  const auto crontab = [&] {
    return machine.crontabError.empty() ? machine.crontabText : throw std::runtime_error(machine.crontabError);
  };
  auto findings = examine(
      {machine, machine.zone.calendar, machine, machine, machine, machine, machine, machine, machine, crontab, "1.2"});
  EXPECT_TRUE(machine.events.empty()) << "a wake event is left";
  EXPECT_EQ(machine.locks, 0) << "a lock is left";
  return findings;
}

TEST(Doctor, NamesExactlyWhatIsBroken) {
  const std::string byManager = "units, programs, environment, timer, run, right to wake, before sleep";
  struct Row {
    const char* reason;
    std::function<void(Machine&)> damage;
    std::string problem;     ///< and a part of its detail
    std::string notChecked;  ///< the checks, in their order
  };
  using M = Machine;
  const std::vector<Row> rows = {
      {"all is well", [](M&) {}, "", ""},
      {"no cron", [](M& m) { m.executables.erase("/usr/bin/crontab"); }, "crontab program: /usr/bin/crontab",
       "crontab"},
      {"crontab hangs, also in a run", [](M& m) { m.crontabError = "It hangs", m.isInRunFor(45s); },
       "crontab: It hangs.", "run"},
      {"a line that never runs", [](M& m) { m.crontabText += lineText("0 5 * * 7"); },
       "crontab: 1 line of the crontab can make no copy. Line 3: day of week 7 ", ""},
      {"not UTF-8", [](M& m) { m.crontabText += "# \xff"; },
       "crontab: 2 lines of the crontab can make no copy. Line 1: line 3 is not UTF-8", ""},
      {"only comments", [](M& m) { m.crontabText = "# ZTUtil\n"; }, "crontab: The crontab has no schedule.", ""},
      {"an unsafe application", [](M& m) { m.refusals = {"Not using /x: it is open"}; }, "application: Not using /x",
       "controller, agent"},
      {"no controller", [](M& m) { m.executables.erase(m.controller); }, "controller: is missing. No copy", ""},
      {"others can write it", [](M& m) { fs::permissions(m.agent.parent_path(), fs::perms::all); },
       "agent: other users can write", ""},
      {"an agent without permission", [](M& m) { m.executables.erase(m.agent); },
       "agent: cannot be executed. No wake event", ""},
      {"no bash", [](M& m) { m.executables.erase("/bin/bash"); }, "bash: /bin/bash cannot", ""},
      {"no lingering", [](M& m) { m.lingers = false; }, "lingering: Lingering is off", ""},
      {"no manager, for want of lingering", [](M& m) { m.lingers = m.managerAnswers = false; },
       "lingering: Lingering is off", "service manager, " + byManager},
      {"no manager", [](M& m) { m.managerAnswers = false; }, "service manager: Nobody", byManager},
      {"a manager that hangs after a while", [](M& m) { m.stuckUnit = service; }, "units: It hangs.",
       "programs, environment, timer, run, right to wake, before sleep"},
      {"a timer that is masked", [](M& m) { m.of(timer).load = "masked"; }, "units: ztbackupbytime.timer is masked",
       "programs, timer, run, right to wake"},
      {"no service", [](M& m) { m.of(service).load = "not-found"; }, "units: ztbackupbytime.service is not found",
       "programs, timer, run, right to wake"},
      {"no tool", [](M& m) { m.program_ = "/missing"; }, "programs: ztbackupbytime.service starts /missing", ""},
      {"another tool", [](M& m) { m.versions[m.tool] = "1.20"; }, "programs: ztbackupbytime 1.20", ""},
      {"a tool that would start a run", [](M& m) { std::ofstream(m.tool) << "old"; }, "programs: unknown version", ""},
      {"another agent", [](M& m) { m.versions[m.folder / "bin/ZTAgent"] = "1"; }, "programs: ZTAgent 1\", but", ""},
      {"the application's own agent is not asked",
       [](M& m) { fs::remove(m.agent), std::ofstream(m.agent) << "x", m.versions.erase(m.folder / "bin/ZTAgent"); }, "",
       ""},
      {"a changed unit", [](M& m) { m.of(arm).isOutdated = true; }, "programs: ztbackupbytime-arm.service has", ""},
      {"LD_PRELOAD", [](M& m) { m.variables.push_back("LD_PRELOAD=/x"); },
       "environment: The tool and copies run with LD_PRELOAD=/x", ""},
      {"another zone", [](M& m) { m.variables[0] = "TZ=Europe/Berlin"; },
       "environment: TZ is Europe/Berlin for the tool", ""},
      {"the zone of the shell, by another name", [](M& m) { m.variables[0] = "TZ=UTC"; }, "", ""},
      {"the zone of the machine, which is that of the shell", [](M& m) { m.variables[0] = "A=b"; }, "", ""},
      {"a service that starts the tool by another program", [](M& m) { m.program_ = "/usr/bin/crontab"; }, "", ""},
      {"another home", [](M& m) { m.variables[1] = "HOME=/x"; }, "environment: HOME is /x", ""},
      {"not enabled", [](M& m) { m.of(timer).file = "disabled"; }, "timer: ztbackupbytime.timer is not enabled", ""},
      {"stopped", [](M& m) { m.of(timer).active = "inactive"; }, "timer: ztbackupbytime.timer is not active",
       "right to wake"},
      {"a timer that has stopped ticking", [](M& m) { m.next.reset(); }, "timer: ztbackupbytime.timer is active, but",
       ""},
      {"a run that stays for the next minute", [](M& m) { m.next.reset(), m.isInRunFor(45s); }, "", ""},
      // It began at 11:54:59, or at 11:55:00.
      {"a run that hangs", [](M& m) { m.isInRunFor(331s); }, "run: A run has been in progress for 5min", ""},
      {"a slow run", [](M& m) { m.isInRunFor(330s); }, "", ""},
      {"a long run with many schedules",
       [](M& m) {
         for (int i = 50; i < 60; ++i) m.crontabText += lineText(std::to_string(i) + " 11 * * *") + "\n";
         m.crontabText += lineText("0 12 * * *");
         m.isInRunFor(11min);
       },
       "", ""},
      {"no clock is no problem", [](M& m) { m.hasClock = m.mayWake = false; }, "", "right to wake"},
      {"no right to wake", [](M& m) { m.mayWake = false; }, "right to wake: systemd cannot", ""},
      {"a manager that hangs then", [](M& m) { m.startHangs = true; }, "right to wake: It hangs.", "before sleep"},
      {"runs that cancel the event", [](M& m) { m.cancellingRuns = 2; }, "", ""},
      {"runs that always do", [](M& m) { m.cancellingRuns = 3; }, "right to wake: systemd cannot", ""},
      {"masked by root", [](M& m) { m.of(beforeSleep, Manager::system).load = "masked"; },
       "before sleep: " + beforeSleep, ""},
      {"not wanted", [](M& m) { m.wanted.clear(); }, "before sleep: sleep.target does not", ""},
      {"masked by the user", [](M& m) { m.of(arm).load = "masked"; }, "before sleep: " + arm, ""},
      {"no system bus", [](M& m) { m.hasSystemBus = false; }, "", "before sleep"},
      {"no logind", [](M& m) { m.hasLogind = false; }, "idle sleep: A run cannot", ""},
      {"a journal in memory", [](M& m) { m.keeps = false; }, "journal: The journal is lost", ""},
  };
  for (const auto& [reason, damage, problem, notChecked] : rows) {
    Machine machine;
    damage(machine);
    const auto findings = examineMachine(machine);
    EXPECT_EQ(hasProblem(findings), !problem.empty()) << reason;
    std::string problems;
    std::string unchecked;
    for (const auto& [check, result, detail, advice] : findings) {
      EXPECT_EQ(advice.has_value(), result == Finding::Result::problem) << reason << ": " << check;
      const auto text = problem.substr(std::min(problem.size(), check.size() + 2));
      const bool isExpected = problem.starts_with(check + ": ") && detail.find(text) != detail.npos;
      if (result == Finding::Result::problem)
        problems += isExpected ? problem : std::string(check).append(": ").append(detail);
      if (result == Finding::Result::notChecked) unchecked += (unchecked.empty() ? "" : ", ") + check;
    }
    EXPECT_EQ(problems, problem) << reason;
    EXPECT_EQ(unchecked, notChecked) << reason;
  }
}

TEST(Doctor, ShowsItsFindings) {
  const std::vector<Finding> findings = {{"bash", Finding::Result::ok, "/bin/bash."},
                                         {"timer", Finding::Result::problem, "a\x1b.", "Do b"},
                                         {"run", Finding::Result::notChecked, "\xff"}};
  EXPECT_EQ(findingsView(findings, {.columns = {}, .hasColor = true}),
            "CHECK  RESULT       DETAIL\n"
            "bash   ok           /bin/bash.\n"
            "\x1b[31mtimer  problem      a\\x1b. Do b\x1b[0m\n"
            "run    not checked  \\xff\n");
  EXPECT_EQ(findingsJson(std::span(findings).subspan(1)), R"json([
  {
    "check": "timer",
    "result": "problem",
    "detail": "a\u001b.",
    "advice": "Do b"
  },
  {
    "check": "run",
    "result": "not checked",
    "detail": "\ufffd",
    "advice": null
  }
]
)json");
}
