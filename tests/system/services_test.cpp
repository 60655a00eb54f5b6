// What the tool and its agent ask of systemd, without systemd: a journal's socket, a mock of logind on a bus of its
// own, and programs that record how they are called.

#include <errno.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <fstream>

#include "platform/linux/journal_log.h"
#include "platform/linux/logind_power_assertions.h"
#include "support/private_machine.h"

namespace zt {

using namespace platform;
using namespace util;
namespace {

namespace fs = std::filesystem;

/// A socket that somebody listens at and never reads.
struct Listener {
  Listener(int type, const char* path) : handle(::socket(AF_UNIX, type, 0)) {
    sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
    std::string_view(path).copy(static_cast<char*>(address.sun_path), sizeof(address.sun_path) - 1);
    fs::create_directories(fs::path(path).parent_path());
    fs::remove(path);
    EXPECT_EQ(::bind(handle.fileDescriptor(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    ::listen(handle.fileDescriptor(), 1);  // as far as the type can
  }

  FileHandle handle;
};

struct Services : PrivateMachine {};

TEST_F(Services, JournalGetsEveryFieldUnchanged) {
  EXPECT_FALSE(JournalLog::find());
  const Listener journal(SOCK_DGRAM, "/run/systemd/journal/socket");
  ASSERT_TRUE(JournalLog::find());
  const auto received = [&] {
    std::string datagram(10'000, '\0');
    const auto size = ::recv(journal.handle.fileDescriptor(), datagram.data(), datagram.size(), MSG_DONTWAIT);
    datagram.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return datagram.substr(0, datagram.find("USER_UNIT="));  // where a unit runs the tests
  };
  using namespace std::string_literals;
  struct Row {
    LogLevel level;
    const char* priority;
    std::string message, field;
  };
  const std::vector<Row> rows = {
      {LogLevel::default_, "5", "50% done %s%n", "MESSAGE=50% done %s%n"},
      {LogLevel::info, "6", "two\nlines", "MESSAGE\n\x09\0\0\0\0\0\0\0two\nlines"s},
      {LogLevel::debug, "7", "\0\xff"s, "MESSAGE=\0\xff"s},
      {LogLevel::error, "3", "", "MESSAGE="},
      {LogLevel::fault, "2", "PRIORITY=7", "MESSAGE=PRIORITY=7"},
  };
  for (const auto& row : rows) {
    JournalLog::find()->write(row.level, "sub.system", "category", row.message);
    EXPECT_EQ(received(), row.field + "\nPRIORITY=" + row.priority +
                              "\nSUBSYSTEM=sub.system\nCATEGORY=category\nSYSLOG_IDENTIFIER=tool_tests\n");
  }

  const std::string ofTool =
      "SUBSYSTEM=com.velmorra.Zantrove.Helpers\nCATEGORY=ztbackupbytime\n"
      "SYSLOG_IDENTIFIER=ztbackupbytime\n";
  EXPECT_EQ(bash(TOOL), Texts{});
  EXPECT_EQ(received(), "MESSAGE=Looking for Zantrove!\nPRIORITY=6\n" + ofTool);
  EXPECT_EQ(received(), "MESSAGE=Couldn't find Zantrove! application\nPRIORITY=3\n" + ofTool);
  EXPECT_EQ(bash("script --quiet --command " TOOL " /dev/null | grep -c 'ztbackupbytime\\['"), Texts{"2"});
  EXPECT_EQ(received(), "") << "at a terminal";
  const std::string library = bash("ls /usr/lib/*/libsystemd.so.0").at(0);
  EXPECT_EQ(bash("mount --bind /dev/null " + library + "; " TOOL " 2>&1 | grep -c 'ztbackupbytime\\['"), Texts{"2"});
  bash("umount " + library);
}

TEST_F(Services, LogindHoldsTheLockUntilItIsReleased) {
  const char* address = "/run/dbus/system_bus_socket";
  LogindPowerAssertions assertions;
  const auto create = [&](const char* type = "PreventUserIdleSystemSleep") {
    return assertions.create(type, "the name", "the details");
  };
  EXPECT_EQ(create().result, -ENOENT) << "no bus";
  {
    const Listener silent(SOCK_STREAM, address);
    EXPECT_EQ(create().result, -ETIMEDOUT);
  }
  EXPECT_EQ(create().result, -ECONNREFUSED);

  fs::remove(address);
  bash(std::string("dbus-daemon --session --nopidfile --fork --address=unix:path=") + address + " &> /dev/null");
  EXPECT_EQ(create().result, -EHOSTUNREACH) << "a bus without logind";
  ::setenv("DBUS_SYSTEM_BUS_ADDRESS", (std::string("unix:path=") + address).c_str(), 1);  // as the mock wants it
  const std::string send = "dbus-send --system --print-reply --dest=org.freedesktop.login1 /org/freedesktop/login1 ";
  const std::string list = send + "org.freedesktop.login1.Manager.ListInhibitors";
  bash("/usr/bin/python3 -m dbusmock --system --template logind --logfile ~/calls &> /dev/null & until " + list +
       " &> /dev/null; do sleep 0.1; done");
  const auto locks = [&] { return bash(list + " | grep -o '\".*\"'"); };
  EXPECT_EQ(locks(), Texts{});
  const auto created = create();
  EXPECT_EQ(created.result, 0);
  const Texts one = {R"("idle")", R"("the name")", R"("the details")", R"("block")"};
  EXPECT_EQ(locks(), one);
  const auto second = create();
  EXPECT_EQ(locks().size(), 2 * one.size());
  assertions.release(created.identifier);
  EXPECT_EQ(locks(), one);
  assertions.release(second.identifier);
  EXPECT_EQ(locks(), Texts{});
  EXPECT_EQ(create("NoDisplaySleep").result, -EINVAL);

  bash("mkdir ~/Applications; cp -R " DEMO "/Zantrove.app ~/Applications; " TOOL);
  EXPECT_EQ(
      bash("grep -o 'Inhibit .*' ~/calls | tail -1"),
      Texts{R"(Inhibit "idle" "ztbackupbytime Prompt Wake" "Zantrove! time-based scheduled copy check." "block")"});

  bash(send +
       "org.freedesktop.DBus.Mock.AddMethod string:org.freedesktop.login1.Manager string:Inhibit string:ssss "
       "string:h string:'raise dbus.exceptions.DBusException(\"no\", "
       "name=\"org.freedesktop.DBus.Error.AccessDenied\")'");
  EXPECT_EQ(create().result, -EACCES);
  ::unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
}

TEST_F(Services, AgentArmsTimersOfTheUser) {
  // Each records how it was called, and does what the file of its name in the home folder says.
  bash(R"(mkdir ~/bin; cat > ~/bin/systemctl <<'TEXT'; chmod +x ~/bin/*
#!/bin/bash
{ echo "${0##*/} $*"; [ $1 != --journald ] || cat; } >> ~/calls
! [ -e ~/${0##*/} ] || . ~/${0##*/}
TEXT
cp ~/bin/systemctl ~/bin/systemd-run; cp ~/bin/systemctl ~/bin/logger)");
  const std::string unit = "ZTAgent-2097-03-05-07-03-00";
  const auto armed = [&](const std::string& instant, const std::string& name) {
    return "systemd-run --user --quiet --collect --unit=" + name +
           " --description=Wake for a scheduled copy --on-calendar=@" + instant +
           " --timer-property=WakeSystem=yes --timer-property=AccuracySec=1us"
           " --timer-property=CollectMode=inactive-or-failed --timer-property=PartOf=ztbackupbytime.timer"
           " --property=Requisite=ztbackupbytime.timer --service-type=oneshot systemctl --user --no-block start "
           "ztbackupbytime.service";
  };
  const auto failed = [](const std::string& message, const Texts& calls = {}) {
    Texts all = {"ZTAgent: " + message, "1"};
    all.insert(all.end(), calls.begin(), calls.end());
    all.insert(all.end(),
               {"logger --journald", "MESSAGE=" + message, "PRIORITY=3", "SUBSYSTEM=com.velmorra.Zantrove.Helpers",
                "CATEGORY=ZTAgent", "SYSLOG_IDENTIFIER=ZTAgent", "USER_UNIT=ztbackupbytime.service"});
    return all;
  };
  const auto arm = armed("4013305380", unit);
  const auto stop = "systemctl --user stop " + unit + ".timer";
  const auto stopBoth = stop + " " + unit + ".service";
  const auto reset = "systemctl --user reset-failed " + unit + ".timer " + unit + ".service";
  const std::string list = "systemctl --user list-units --plain --no-legend --full --state=waiting ZTAgent-*.timer";
  const std::string wake = "wake '3/5/2097 7:3:00'";
  const std::string cancel = "cancel '03/05/2097 07:03:00'";
  const std::string summerTime = "TZ=CET-1CEST,M3.5.0,M10.5.0/3";
  const std::string none = "no wake event at 2097-03-05 07:03:00";
  struct Row {
    const char* reason;
    std::string before, arguments;
    Texts outcome;  // what it printed, its exit status, the calls
  };
  const std::vector<Row> rows = {
      {"as the tool writes it", "", wake, {"0", arm}},
      {"local time", "TZ=Asia/Kathmandu", wake, {"0", armed("4013284680", unit)}},
      {"an offset with seconds", "TZ=TST+9:8:9", wake, {"0", armed("4013338269", unit)}},
      {"repeated: the first one",
       summerTime,
       "wake '10/27/2097 2:30:0'",
       {"0", armed("4033672200", "ZTAgent-2097-10-27-02-30-00")}},
      {"skipped", summerTime, "wake '3/31/2097 2:30:0'",
       failed("no wake event at 2097-03-31 02:30:00: the clocks skip that time.")},
      {"passed", "", "wake 3/5/1997\\ 7:3:00", failed("no wake event at 1997-03-05 07:03:00: that time has passed.")},
      {"no time", "", "wake $'2/30/2097\\n7:3:00'",
       failed("'2/30/2097 7:3:00' is no date and time such as 3/5/2027 7:3:00.")},
      {"something is left of that name",
       "echo '[ -e ~/again ] || { touch ~/again; exit 1; }' > ~/systemd-run",
       wake,
       {"0", arm, stopBoth, reset, arm}},
      {"cannot be armed", "echo 'echo No bus.; exit 1' > ~/systemd-run", wake,
       failed(none + ": systemd could not arm the timer. No bus.", {arm, stopBoth, reset, arm})},
      {"as it is listed", "", cancel, {"0", stop}},
      {"nothing to cancel", "echo 'echo Not loaded.; exit 5' > ~/systemctl", cancel,
       failed(none + " is cancelled. Not loaded.", {stop})},
      {"timers of others are not listed",
       "echo 'echo ZTAgent-2027-03-05-07-03-00.timer loaded; echo ZTAgent-x.timer loaded;"
       " echo ZTAgent-2028-12-31-23-59-59.timer loaded' > ~/systemctl",
       "sched",
       {"[0] wake at 03/05/2027 07:03:00 by 'ZTAgent'", "[1] wake at 12/31/2028 23:59:59 by 'ZTAgent'", "0", list}},
      {"usage", "", "wake 2> /dev/null", {"2"}},
  };
  for (const auto& row : rows) {
    const auto outcome = bash("rm -f ~/calls ~/systemctl ~/systemd-run; export TZ=UTC; " + row.before +
                              "\nPATH=~/bin:$PATH " AGENT " " + row.arguments + "; echo $?; cat ~/calls 2> /dev/null");
    EXPECT_EQ(outcome, row.outcome) << row.reason;
  }
}

}  // namespace
}  // namespace zt
