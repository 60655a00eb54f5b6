#include "tool.h"

#include <algorithm>
#include <charconv>
#include <initializer_list>
#include <sstream>
#include <stdexcept>

#include "driver/run.h"
#include "support/fakes.h"

namespace zt::simulation {
namespace {

using namespace std::chrono_literals;
using std::chrono::floor;

/// After which the tool kills a program.
constexpr milliseconds limit = commandLimits.awakeTime;
/// How long the tool waits for its assertion.
constexpr milliseconds inhibitorLimit = 2s;

// Programs, as the log names them.
const std::string crontabName = "/usr/bin/crontab -l";
const std::string bashProgram = "/bin/bash -c";
const std::string agentProgram = "/opt/Z.app/Contents/Library/ZTAgent";

/// What a run needs of the machine, and whether its wake events could be set.
struct SimulatedServices final : Clock, Applications, FileManager, Commands, PowerAssertions, WakeEvents, UnifiedLog {
  SimulatedServices(Machine& machine, Judge& judge) : machine_(machine), judge_(judge) {}

  std::ostringstream output;  ///< of the run

  OwnWakeEvents wakeEvents() const {
    OwnWakeEvents events{{}, couldSet_, couldCancel_};
    for (const auto& event : machine_.wakeEvents) {
      if (event.ours && !event.unlisted) events.armed.push_back(event.at);
    }
    return events;
  }

  Instant now() const override { return floor<seconds>(machine_.clock()); }
  Uptime uptime() const override { return machine_.uptime(); }
  bool sleep(seconds duration) override {
    checkAssertion();
    judge_.toolSleeps(machine_.clock(), duration, wakeEvents());
    return machine_.sleepFor(duration);
  }

  std::vector<std::optional<std::filesystem::path>> running(std::string_view, const Refused&) const override {
    return {};
  }
  std::optional<std::filesystem::path> installed(std::string_view, const Refused&) const override {
    return "/opt/Z.app";
  }

  bool isExecutableFile(const std::filesystem::path&) const override {
    const bool isThere = machine_.state(Part::agent) != State::isMissing;
    couldSet_ = couldSet_ && isThere;
    couldCancel_ = couldCancel_ && isThere;
    return isThere;
  }

  std::optional<Texts> run(const Command& command) override {
    recordOutput();
    if (command.path == "/usr/bin/crontab") return readCrontab();
    auto word = FakeCommands().run(command);
    if (runProgram(bashProgram, {Part::bash})) return word;
    if (!word->empty()) judge_.lose(word->front(), Cause::heldUp);
    return std::nullopt;
  }
  void start(const Command& command, const std::string& /*description*/) override {
    const auto& url = command.arguments.front();
    machine_.note("copy started: " + url);
    judge_.copyStarted(machine_.clock(), url);
    machine_.copyStarted();
    machine_.work(1ms);
  }

  Created create(std::string_view, std::string_view, std::string_view) override {
    const auto answer = launch({Part::inhibitor}, inhibitorLimit);
    machine_.work(answer.duration);
    machine_.assertionHeld = answer.works;
    assertionRefused_ = !machine_.assertionHeld;
    return {.result = machine_.assertionHeld ? 0 : -16, .identifier = 1};
  }
  void release(std::uint32_t) override {
    if (!machine_.assertionHeld) judge_.otherViolation("an assertion is released that is not held");
    machine_.assertionHeld = false;
  }

  std::optional<Texts> list(const std::filesystem::path&) override {
    cancellable_.clear();
    const bool agentHangs = machine_.state(Part::agent) == State::hangs;  // which lists the events, too
    if (!runProgram(agentProgram + " sched", {agentHangs ? Part::agent : Part::listing, Part::manager})) {
      couldCancel_ = false;
      return std::nullopt;
    }
    Texts lines{"Scheduled power events:"};
    for (auto& event : machine_.wakeEvents) {
      event.unlisted = false;
      lines.push_back(" [" + std::to_string(lines.size()) + "]  wake at " + event.when + " by " +
                      (event.ours ? "'ZTAgent'" : "'somebody'"));
      if (event.ours) cancellable_.push_back(event.when);
    }
    return lines;
  }
  void cancel(const std::filesystem::path&, const std::string& dateAndTime) override {
    const auto listed = std::ranges::find(cancellable_, dateAndTime);
    if (listed == cancellable_.end()) return judge_.otherViolation(dateAndTime + " is not ours to cancel");
    cancellable_.erase(listed);
    judge_.eventIsCancelled();
    if (runProgram(agentProgram + " cancel", {Part::agent, Part::manager, Part::cancelling})) {
      machine_.cancelWakeEvent(dateAndTime);
    } else {
      couldCancel_ = false;
    }
  }
  void wake(const std::filesystem::path&, const std::string& time) override {
    if (runProgram(agentProgram + " wake", {Part::agent, Part::manager, Part::setting})) {
      machine_.setWakeEvent(time);
    } else {
      couldSet_ = false;
    }
  }

  /// What the run has printed.
  void recordOutput() {
    if (output.view().empty()) return;
    std::istringstream lines(std::exchange(output, std::ostringstream()).str());
    for (std::string line; std::getline(lines, line);) machine_.record(JournalEvent::output, line);
  }
  void write(LogLevel, std::string_view, std::string_view, std::string_view message) override {
    machine_.note(message);
    record(message);
    // "Sleeping for N seconds." or "..., then sleeping N seconds for ..."
    const auto number = message.find_first_of("-0123456789", message.find("leeping "));
    if (number == message.npos) return;
    std::int64_t value{};
    std::from_chars(message.data() + number, message.data() + message.size(), value);
    judge_.sleepAnnounced(seconds{value});
  }

 private:
  using State = Machine::State;
  using Part = Machine::Part;

  /// Starts a program that depends on these parts.
  Machine::Program launch(std::initializer_list<Part> parts, milliseconds longest = limit) {
    if (++programs_ > 10'000) throw std::runtime_error("a run does not end");
    return machine_.launch(parts, longest);
  }
  /// Runs one to its end, or until it is killed. Gives whether it has worked.
  bool runProgram(const std::string& name, std::initializer_list<Part> parts) {
    const auto program = launch(parts);
    machine_.work(program.duration);
    reportEnd(name, program);
    return program.works;
  }
  /// What the tool logs of a program that was killed: by itself, or by somebody.
  void reportEnd(const std::string& name, const Machine::Program& program) {
    const bool canBeKilled = name == crontabName || name == bashProgram;
    if (program.hangs) {
      record("Killed " + name + ": it did not end within 30 seconds.");
    } else if (!program.works && canBeKilled) {
      record(name + " was killed by signal 9.");
    }
  }
  void record(std::string_view message) {
    recordOutput();
    machine_.record(JournalEvent::message, std::string(message));
  }
  std::optional<Texts> readCrontab() {
    checkAssertion();
    const auto program = launch({Part::crontab});
    if (!program.works) {
      const auto minute = floor<minutes>(machine_.clock());
      machine_.work(program.duration);
      reportEnd(crontabName, program);
      judge_.passFails();
      if (floor<minutes>(machine_.clock()) > minute) judge_.programEnds();  // there is a minute that it has not tried
      return std::nullopt;
    }
    couldSet_ = couldCancel_ = true;
    const auto crontab = machine_.crontab();
    judge_.passBegins(machine_.clock(), machine_.zone(), *crontab);
    machine_.work(program.duration);
    return crontab->text();
  }
  void checkAssertion() {
    if (!machine_.assertionHeld && !assertionRefused_) judge_.otherViolation("no assertion is held");
  }

  Machine& machine_;
  Judge& judge_;
  Texts cancellable_;  ///< the events of ours in the last listing, as it shows them
  int programs_ = 0;   ///< started in this run
  bool assertionRefused_ = false;
  // Whenever they were used in this pass.
  mutable bool couldSet_ = true, couldCancel_ = true;
};

}  // namespace

void runTool(Machine& machine, Judge& judge, Calendar& calendar) {
  judge.runBegins(machine.runIsAskedFor());
  try {
    machine.work(machine.random().between(3ms, machine.random().oneIn(100) ? 2s : 30ms));  // to load it
    SimulatedServices services(machine, judge);
    FakePlainLog plainLog;
    const int status = zt::run(
        {services, calendar, services, services, services, services, services, {&services, plainLog}, services.output});
    services.recordOutput();
    judge.runEnds(machine.clock(), status, machine.assertionHeld, services.wakeEvents());
    machine.toolEnds();
  } catch (const Killed&) {
    machine.note("the tool is gone");
    if (!machine.stopped()) {
      machine.record(JournalEvent::runFails, "ztbackupbytime.service: Failed with result 'signal'.");
    }
    judge.runIsKilled(machine.stopped().value_or(Cause::killed));
    machine.toolIsGone();
  }
}

}  // namespace zt::simulation
