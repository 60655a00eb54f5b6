#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "driver/run.h"
#include "support/fakes.h"
#include "support/zone.h"

namespace zt {

using namespace platform;
using namespace util;
namespace {

/// The call that fails; thrown where that ends the process.
struct Failure {
  std::string call;
  bool endsProcess = false;
  std::size_t pass = 0;      ///< 0 until the crontab is first read
  std::ptrdiff_t place = 0;  ///< how much had come about
};

/// For a failing test to show what is different.
std::string text(const Texts& done) {
  std::string result;
  for (const auto& entry : done) result += entry + "\n";
  return result;
}

/// What the run prints: a buffer, so that writing to it is a call that can fail, too.
using Output = std::stringbuf;

std::string crontabLine(std::size_t pass, const std::string& word) {
  return std::to_string(33 + pass) + "\t12\t*\t*\t*\tZTUtil " + word;
}

/// A machine with work for three passes, each of which finds two more wake events of ours. One call to it fails:
/// any but those to the clock and the calendar, which have no way to.
struct Machine : Applications,
                 FileManager,
                 PowerAssertions,
                 PlainLog,
                 UnifiedLog,
                 FakeClock,
                 FakeCommands,
                 FakeWakeEvents,
                 Output {
  Machine(bool running, bool startable, std::size_t callToFail)
      : FakeClock(at("2027-03-09 12:34:20 +0000")), isRunning(running), isStartable(startable), toFail(callToFail) {
    crontab = {crontabLine(1, "file:///1st"), crontabLine(2, "a[b"), crontabLine(2, "file:///2nd"),
               crontabLine(2, "file:///3rd"), crontabLine(3, "file:///4th")};
  }

  /// Gives all that came about, in order.
  Texts run() {
    Zone utc("UTC0");
    std::ostream output(this);
    try {
      const int status = zt::run(
          {*this, utc.calendar, *this, *this, *this, *this, *this, {isRunning ? this : nullptr, *this}, output});
      done.push_back("exit " + std::to_string(status));
    } catch (const Failure&) {
    }
    return done;
  }

  /// Whether this is the call to fail.
  bool fails(const std::string& call, bool endsProcess = false) const {
    if (++callsMade != toFail) return false;
    failure = {call, endsProcess, pass, std::ssize(done)};
    if (endsProcess) throw Failure(failure);
    return true;
  }
  bool does(const std::string& call, bool endsProcess = false) {
    if (fails(call, endsProcess)) return false;
    done.push_back(call);
    return true;
  }

  std::vector<std::optional<std::filesystem::path>> running(std::string_view) const override {
    if (fails("running") || !isRunning) return {};
    return {"/Z"};
  }
  std::optional<std::filesystem::path> installed(std::string_view) const override {
    if (fails("installed")) return std::nullopt;
    return "/Z";
  }
  bool isExecutableFile(const std::filesystem::path& path) const override {
    return !fails("executable") && path == "/Z/Contents/MacOS/ZTAgent";
  }
  Created create(std::string_view, std::string_view, std::string_view) override {
    return {.result = does("create") ? 0 : -5, .identifier = 42};
  }
  void release(std::uint32_t identifier) override { does("release " + std::to_string(identifier)); }
  void write(std::string_view message) override { does(std::string(message)); }
  void write(LogLevel level, std::string_view, std::string_view, std::string_view message) override {
    does(std::string(level == LogLevel::error ? "ERROR: " : "INFO: ").append(message));
  }
  int sync() override {
    const std::string message = str();
    str({});
    return does(message) ? 0 : -1;
  }
  void sleep(std::chrono::seconds duration) override {
    done.push_back("sleep " + std::to_string(duration.count()));
    FakeClock::sleep(duration);
  }

  std::optional<Texts> run(const std::string& path, const Texts& arguments) override {
    if (path == "/usr/bin/crontab") {
      ++pass;
      for (const std::string start : {"01/02/2030 03:04:0", "01/03/2030 03:04:0"}) {
        events.push_back("[0] wake at " + start + std::to_string(pass) + " by 'ZTAgent'");
      }
    }
    return fails(path + " " + arguments.back(), !isStartable) ? std::nullopt : FakeCommands::run(path, arguments);
  }
  void start(const std::string& path, const Texts& arguments) override { does(path + " " + arguments.at(0), true); }
  std::optional<Texts> list(const std::filesystem::path& agent) override {
    return fails("list", !isStartable) ? std::nullopt : FakeWakeEvents::list(agent);
  }
  void cancel(const std::filesystem::path& agent, const std::string& which) override {
    if (does("cancel " + which, !isStartable)) FakeWakeEvents::cancel(agent, which);
  }
  void wake(const std::filesystem::path&, const std::string& when) override { does("wake " + when, !isStartable); }

  bool isRunning;    // the application, which is installed anyhow; then there is a unified log, too
  bool isStartable;  // a program that fails; one that cannot be started ends the process
  std::size_t toFail;
  mutable std::size_t callsMade = 0;
  mutable Failure failure;
  std::size_t pass = 0;
  Texts done;
};

/// What a failure makes of a run that otherwise comes to `done`.
Texts after(const Failure& failure, Texts done) {
  const auto& [call, endsProcess, pass, place] = failure;
  const auto here = done.begin() + place;
  const auto next = [&](std::string_view start) {
    const auto isIt = [&](const auto& entry) { return entry.starts_with(start); };
    return std::find_if(done.begin() + failure.place, done.end(), isIt);
  };
  const std::string cancelling = "INFO: Canceling any", bash = "/bin/bash echo -n ";
  if (endsProcess) {
    done.erase(here, done.end());
  } else if (call == "installed") {
    done = {"INFO: Looking for Zantrove!", "ERROR: Couldn't find Zantrove! application", "exit 1"};
  } else if (call == "create") {
    *next("INFO: Power") = "INFO: Power asssertion created - createdAssertion = -5";
    done.erase(next("release"));
    done.erase(here);
  } else if (call == "/usr/bin/crontab -l") {  // nothing to stay for
    done.erase(next("INFO: Checking"), next("INFO: Heading out"));
    done.erase(here, next(cancelling));
    done.insert(here, "INFO: Found 0 matching schedules.");
  } else if (call.starts_with(bash)) {
    const std::string word = call.substr(bash.size()), name = word.substr(word.rfind('/') + 1);
    std::erase_if(done, [&](const auto& entry) { return entry.find(name) != entry.npos; });
    const auto found = next("INFO: Found");
    const auto copies = std::count_if(found, next(cancelling), [](const auto& e) { return e.starts_with("/Z"); });
    *found = "INFO: Found " + std::to_string(copies) + " matching schedules.";
    const std::string line = crontabLine(pass, word);
    done.insert(found, "ztbackupbytime: failed to unescape \"ZTUtil " + word + "\" from \"" + line + "\".\n");
  } else if (call == "list" || call.starts_with("cancel") || (call == "executable" && !here->starts_with("wake"))) {
    // What is not cancelled is found again in the next pass.
    const auto announced = call.starts_with("cancel") ? here - 1 : here;
    const Texts late(announced, call == "list" ? next("INFO: Checking") : announced + 2);
    done.erase(here, announced + std::ssize(late));
    if (const auto again = next(cancelling); again != done.end()) done.insert(again + 1, late.begin(), late.end());
  } else if (call != "running") {
    done.erase(here);
  }
  return done;
}

TEST(FailingCalls, TakeAlongOnlyWhatDependsOnThem) {
  const auto copy = [](const std::string& name) {
    return "INFO: Spawning /" + name + "\n/Z/Contents/Helpers/ztautomatedcopycontroller file:///" + name + "\n";
  };
  const auto cancels = [](const std::string& second) {
    return "cancel 01/02/2030 03:04:0" + second + "\ncancel 01/03/2030 03:04:0" + second + "\n";
  };
  const std::string noURL =
      "ztbackupbytime: unable to create URL from unescaped \"a[b\" extracted and unescaped from \"" +
      crontabLine(2, "a[b") + "\".\n\n";
  const std::string pass1 = copy("1st") + cancels("1") + "sleep 41\n";
  const std::string pass2 = noURL + copy("2nd") + copy("3rd") + cancels("2") + "sleep 60\n";
  const std::string pass3 = copy("4th") + cancels("3") + "wake 3/10/2027 12:34:00\nsleep 10\n";
  const std::string intended = "create\n" + pass1 + pass2 + pass3 + "release 42\nexit 0\n";
  for (const auto& [isRunning, isStartable] : {std::pair(true, true), {false, false}}) {
    const Texts undisturbed = Machine(isRunning, isStartable, 0).run();
    Texts essence = undisturbed;
    std::erase_if(essence, [](const auto& e) { return e.starts_with("INFO") && !e.starts_with("INFO: Spawning"); });
    ASSERT_EQ(text(essence), intended);

    std::size_t tried = 0;
    for (;; ++tried) {
      Machine machine(isRunning, isStartable, tried + 1);
      const Texts done = machine.run();
      const Failure& failure = machine.failure;
      if (failure.call.empty()) break;
      EXPECT_EQ(text(done), text(after(failure, undisturbed)))
          << "call " << tried + 1 << ", in pass " << failure.pass << ": " << failure.call;
    }
    EXPECT_EQ(tried, isRunning ? 64U : 65U);  // where it is not running, it is asked where it is installed
  }
}

}  // namespace
}  // namespace zt
