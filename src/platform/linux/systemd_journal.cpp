#include "platform/linux/systemd_journal.h"

#include <pwd.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <string_view>
#include <system_error>

#include "platform/linux/systemd_library.h"

namespace zt::platform {
namespace {

// Identifiers of messages of systemd (sd-messages.h). They are the same in all releases.
constexpr std::string_view unitStarting = "7d4958e842da4a758f6c1cdc7b36dcc5";
constexpr std::string_view unitStarted = "39f53479d3a045ac8e11786248231fbf";
constexpr std::string_view unitStopped = "9d1aaa27d60140bd96365438aad20286";
constexpr std::string_view unitFailed = "be02cf6855d2428ba40df7e9d022f03d";
constexpr std::string_view unitFailureResult = "d9b373ed55a64feb8242e02dbe79a49c";
constexpr std::string_view sleepStart = "6bbd95ee977941e497c48be27c254128";

constexpr auto* serviceUnit = "ztbackupbytime.service";
constexpr auto* timerUnit = "ztbackupbytime.timer";

/// Matches entries (sd_journal_add_match(3)): one of the values of each field.
class Matches {
 public:
  Matches(const SystemdLibrary& systemd, sd_journal* journal) : systemd_(systemd), journal_(journal) {
    systemd_.sd_journal_flush_matches(journal_);
  }
  Matches& field(const std::string& name, std::initializer_list<std::string_view> values) {
    for (const auto value : values) {
      const auto match = name + "=" + std::string(value);
      systemd_.sd_journal_add_match(journal_, match.data(), match.size());
    }
    return *this;
  }
  /// What follows matches other entries.
  Matches& either() {
    systemd_.sd_journal_add_disjunction(journal_);
    return *this;
  }

 private:
  const SystemdLibrary& systemd_;
  sd_journal* journal_;
};

std::string userName() {
  const auto* user = ::getpwuid(::getuid());
  return user != nullptr ? user->pw_name : std::to_string(::getuid());
}

std::string managersUnit() {
  return "user@" + std::to_string(::getuid()) + ".service";
}

void select(Journal::Selection selection, Matches matches) {
  const auto user = std::to_string(::getuid());
  switch (selection) {
    case Journal::Selection::tool:
      matches.field("_UID", {user}).field("SYSLOG_IDENTIFIER", {"ztbackupbytime"});
      matches.either().field("_UID", {user}).field("USER_UNIT", {serviceUnit});
      break;
    case Journal::Selection::timer:
      matches.field("_UID", {user}).field("USER_UNIT", {timerUnit, "default.target", "exit.target"});
      matches.field("MESSAGE_ID", {unitStarted, unitStopped});
      matches.either().field("_PID", {"1"}).field("UNIT", {managersUnit()});
      matches.field("MESSAGE_ID", {unitStarted, unitStopped, unitFailureResult});
      break;
    case Journal::Selection::sleep:
      matches.field("_UID", {user}).field("USER_UNIT", {"ztbackupbytime-arm.service"});
      matches.field("MESSAGE_ID", {unitStarting});
      matches.either().field("_UID", {"0"}).field("MESSAGE_ID", {sleepStart});
      matches.either().field("_TRANSPORT", {"kernel"});
      matches.field("MESSAGE", {"PM: suspend entry (deep)", "PM: suspend entry (s2idle)", "PM: suspend entry (shallow)",
                                "PM: hibernation: hibernation entry"});
      break;
    case Journal::Selection::crontab: {
      const auto name = userName();
      matches.field("SYSLOG_IDENTIFIER", {"crontab"});
      for (const auto& by : {name, std::string("root")}) {
        for (const auto* what : {"REPLACE", "DELETE"})
          matches.field("MESSAGE",
                        {std::string("(").append(by).append(") ").append(what).append(" (").append(name).append(")")});
      }
      break;
    }
    case Journal::Selection::all:
      break;
  }
}

/// The current entry of a journal.
class Current {
 public:
  Current(const SystemdLibrary& systemd, sd_journal* journal) : systemd_(systemd), journal_(journal) {}

  /// Goes to the nearest entry in a direction that is before a time, or is not. Gives whether there is one.
  bool goBackBefore(JournalEntry::Time time) const {
    while (systemd_.sd_journal_previous(journal_) > 0) {
      if (const auto found = stamps(); found && found->time < time) return true;
    }
    return false;
  }
  bool goOnTo(JournalEntry::Time time) const {
    while (systemd_.sd_journal_next(journal_) > 0) {
      if (const auto found = stamps(); found && found->time >= time) return true;
    }
    return false;
  }

  std::string field(std::string_view name) const {
    const void* data = nullptr;
    std::size_t size = 0;
    if (systemd_.sd_journal_get_data(journal_, std::string(name).c_str(), &data, &size) < 0) return {};
    return std::string(std::string_view(static_cast<const char*>(data), size).substr(name.size() + 1));
  }

  /// Without event, process and text.
  std::optional<JournalEntry> stamps() const {
    std::uint64_t time = 0;
    std::uint64_t awake = 0;
    sd_id128_t boot;
    if (systemd_.sd_journal_get_realtime_usec(journal_, &time) < 0 ||
        systemd_.sd_journal_get_monotonic_usec(journal_, &awake, &boot) < 0)
      return std::nullopt;
    return JournalEntry{.time = JournalEntry::Time{std::chrono::microseconds{time}},
                        .awake = std::chrono::microseconds{awake},
                        .boot = {std::begin(boot.bytes), std::end(boot.bytes)}};
  }

  /// nullopt if it cannot be read: a journal can be damaged.
  std::optional<JournalEntry> entry(Journal::Selection selection) const {
    auto entry = stamps();
    if (!entry || selection == Journal::Selection::all) return entry;
    entry->process = field("_PID");
    entry->text = field("MESSAGE");
    entry->event = event(selection);
    return entry;
  }

 private:
  JournalEvent event(Journal::Selection selection) const {
    switch (selection) {
      case Journal::Selection::tool:
        return eventOfTool();
      case Journal::Selection::timer:
        return eventOfTimer();
      case Journal::Selection::sleep:
        return field("USER_UNIT").empty() ? JournalEvent::sleepBegins : JournalEvent::sleepIsPrepared;
      case Journal::Selection::crontab:
        return JournalEvent::crontabChanges;
      case Journal::Selection::all:
        break;
    }
    return JournalEvent::other;
  }

  JournalEvent eventOfTool() const {
    // A copy shares standard output with the run, so its output can look like a message. It has no category.
    if (field("CATEGORY") == "ztbackupbytime") return JournalEvent::message;
    const auto identifier = field("MESSAGE_ID");
    if (identifier == unitStarting) return JournalEvent::runBegins;
    if (identifier == unitStarted) return JournalEvent::runEnds;
    if (identifier == unitFailed || identifier == unitFailureResult) return JournalEvent::runFails;
    return field("_TRANSPORT") == "stdout" ? JournalEvent::output : JournalEvent::other;
  }

  JournalEvent eventOfTimer() const {
    const bool isStart = field("MESSAGE_ID") == unitStarted;
    const auto unit = field("USER_UNIT");
    if (unit == timerUnit) return isStart ? JournalEvent::timerStarts : JournalEvent::timerStops;
    if (unit == "exit.target") return isStart ? JournalEvent::managerStops : JournalEvent::other;
    if (unit == "default.target") return isStart ? JournalEvent::managerStarts : JournalEvent::other;
    return isStart ? JournalEvent::managerStarts : JournalEvent::managerStops;
  }

  const SystemdLibrary& systemd_;
  sd_journal* journal_;
};

/// Where the journals of this machine are; empty if it has no identifier.
std::filesystem::path journalsIn(const std::filesystem::path& folder) {
  std::string machine;
  std::ifstream("/etc/machine-id") >> machine;
  return machine.empty() ? std::filesystem::path() : folder / "log/journal" / machine;
}

}  // namespace

sd_journal* SystemdJournal::seek(Selection selection, JournalEntry::Time time) const {
  const auto* systemd = SystemdLibrary::load();
  if (!isOpened_ && systemd != nullptr) {
    sd_journal* opened = nullptr;
    if (systemd->sd_journal_open(&opened, SD_JOURNAL_LOCAL_ONLY) >= 0) journal_ = {opened, systemd->sd_journal_close};
  }
  isOpened_ = true;
  if (journal_ == nullptr) return nullptr;
  select(selection, Matches(*systemd, journal_.get()));
  const auto sinceEpoch = std::max(time.time_since_epoch(), std::chrono::microseconds::zero());
  const int result =
      systemd->sd_journal_seek_realtime_usec(journal_.get(), static_cast<std::uint64_t>(sinceEpoch.count()));
  return result < 0 ? nullptr : journal_.get();
}

void SystemdJournal::readForward(Selection selection, JournalEntry::Time from, Place place,
                                 const Reader& reader) const {
  auto* const journal = seek(selection, from);
  if (journal == nullptr) return;
  const auto& systemd = *SystemdLibrary::load();
  const Current current(systemd, journal);
  // The files of a journal are merged in the order of writing, but each is searched for the time by itself. So the
  // first entry from there on is that of the first place, and the first one back is that of the last.
  if (place == Place::last && !current.goBackBefore(from)) seek(selection, from);
  while (systemd.sd_journal_next(journal) > 0) {
    const auto entry = current.entry(selection);
    if (entry && entry->time >= from && !reader(*entry)) return;
  }
}

void SystemdJournal::readBackward(Selection selection, JournalEntry::Time end, Place place,
                                  const Reader& reader) const {
  auto* const journal = seek(selection, end);
  if (journal == nullptr) return;
  const auto& systemd = *SystemdLibrary::load();
  const Current current(systemd, journal);
  if (place == Place::first && !current.goOnTo(end)) seek(selection, end);
  while (systemd.sd_journal_previous(journal) > 0) {
    const auto entry = current.entry(selection);
    if (entry && entry->time < end && !reader(*entry)) return;
  }
}

Journal::Scope SystemdJournal::scope() const {
  const auto stored = journalsIn("/var");
  const auto temporary = journalsIn("/run");  // systemd removes it once all of it is stored
  const auto isReadable = [](const auto& folder) { return ::access((folder / "system.journal").c_str(), R_OK) == 0; };
  std::error_code error;
  return {.hasSystem = isReadable(stored) || isReadable(temporary),
          .isPersistent = std::filesystem::is_directory(stored, error) && !std::filesystem::exists(temporary, error)};
}

}  // namespace zt::platform
