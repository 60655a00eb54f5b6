#include "tool.h"

#include <charconv>
#include <sstream>
#include <stdexcept>

#include "driver/run.h"
#include "support/fakes.h"

namespace zt::simulation {
namespace {

using namespace std::chrono_literals;
using std::chrono::floor;

/// What a run needs of the machine, and whether its wake events could be set.
struct SimulatedServices final : Clock, Applications, FileManager, Commands, PowerAssertions, WakeEvents, UnifiedLog {
  SimulatedServices(Machine& machine, Judge& judge) : machine_(machine), judge_(judge) {}

  OwnWakeEvents wakeEvents() const {
    OwnWakeEvents events{{}, agentWorked_, listingWorked_};
    for (const auto& event : machine_.wakeEvents) {
      if (event.ours) events.armed.push_back(event.at);
    }
    return events;
  }

  Instant now() const override { return floor<seconds>(machine_.now()); }
  void sleep(seconds duration) override {
    checkAssertion();
    judge_.toolSleeps(machine_.now(), duration, wakeEvents());
    machine_.sleepUntil(machine_.now() + duration);
  }

  std::vector<std::optional<std::filesystem::path>> running(std::string_view, const Refused&) const override {
    return {};
  }
  std::optional<std::filesystem::path> installed(std::string_view, const Refused&) const override {
    return "/opt/Z.app";
  }

  bool isExecutableFile(const std::filesystem::path&) const override { return useAgent() || !machine_.agentIsMissing; }

  std::optional<Texts> run(const Command& command) override {
    if (command.path == "/usr/bin/crontab") {
      checkAssertion();
      const auto crontab = machine_.readCrontab();
      judge_.passBegins(machine_.now(), crontab);
      program();
      return crontab->text();
    }
    program();
    return FakeCommands().run(command);
  }
  void start(const Command& command) override {
    const auto& url = command.arguments.front();
    machine_.note("copy started: " + url);
    judge_.copyStarted(machine_.now(), url);
    machine_.work(1ms);
  }

  Created create(std::string_view, std::string_view, std::string_view) override {
    program();
    machine_.assertionHeld = machine_.inhibitor.works;
    assertionRefused_ = !machine_.assertionHeld;
    return {.result = machine_.assertionHeld ? 0 : -16, .identifier = 1};
  }
  void release(std::uint32_t) override {
    if (!machine_.assertionHeld) judge_.otherViolation("an assertion is released that is not held");
    machine_.assertionHeld = false;
  }

  std::optional<Texts> list(const std::filesystem::path&) override {
    program();
    cancellable_.clear();
    listingWorked_ = listingWorked_ && machine_.listing.works;
    if (!machine_.listing.works) return std::nullopt;
    Texts lines{"Scheduled power events:"};
    for (const auto& event : machine_.wakeEvents) {
      lines.push_back(" [" + std::to_string(lines.size()) + "]  wake at " + event.when + " by " +
                      (event.ours ? "'ZTAgent'" : "'somebody'"));
      if (event.ours) cancellable_.push_back(event.when);
    }
    return lines;
  }
  void cancel(const std::filesystem::path&, const std::string& dateAndTime) override {
    if (std::erase(cancellable_, dateAndTime) == 0) judge_.otherViolation(dateAndTime + " is not ours to cancel");
    program();
    if (!useAgent()) return;
    std::erase_if(machine_.wakeEvents, [&](const auto& event) { return event.ours && event.when == dateAndTime; });
  }
  void wake(const std::filesystem::path&, const std::string& time) override {
    program();
    if (useAgent()) machine_.setWakeEvent(time);
  }

  void write(LogLevel, std::string_view, std::string_view, std::string_view message) override {
    machine_.note(message);
    // "Sleeping for N seconds." or "..., then sleeping N seconds for ..."
    const auto number = message.find_first_of("-0123456789", message.find("leeping "));
    if (number == message.npos) return;
    std::int64_t value{};
    std::from_chars(message.data() + number, message.data() + message.size(), value);
    judge_.sleepAnnounced(seconds{value});
  }

 private:
  void program() {
    if (++programs_ > 10'000) throw std::runtime_error("a run does not end");
    machine_.work(machine_.programDuration());
  }
  void checkAssertion() {
    if (!machine_.assertionHeld && !assertionRefused_) judge_.otherViolation("no assertion is held");
  }
  /// Whether the agent works now.
  bool useAgent() const {
    agentWorked_ = agentWorked_ && machine_.agent.works;
    return machine_.agent.works;
  }

  Machine& machine_;
  Judge& judge_;
  Texts cancellable_;  ///< the events of ours in the last listing, as it shows them
  int programs_ = 0;   ///< started in this run
  bool assertionRefused_ = false;
  // Whenever they were used in this run.
  mutable bool agentWorked_ = true;
  bool listingWorked_ = true;
};

}  // namespace

void runTool(Machine& machine, Judge& judge, Calendar& calendar) {
  judge.runBegins();
  machine.work(machine.random().between(3ms, machine.random().oneIn(100) ? 2s : 30ms));  // to load it
  SimulatedServices services(machine, judge);
  FakePlainLog plainLog;
  std::ostringstream output;
  const int status =
      zt::run({services, calendar, services, services, services, services, services, {&services, plainLog}, output});
  judge.runEnds(machine.now(), status, machine.assertionHeld, services.wakeEvents());
  machine.toolEnds();
}

}  // namespace zt::simulation
