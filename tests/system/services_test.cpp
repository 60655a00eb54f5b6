// What the tool and its agent ask of systemd, without systemd: a journal's socket, a mock of logind on a bus of its
// own, and programs that record how they are called.

#include <errno.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <fstream>

#include "platform/linux/journal_log.h"
#include "platform/linux/logind_power_assertions.h"
#include "private_machine.h"

namespace zt {
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
  EXPECT_FALSE(JournalLog::answers());
  const Listener journal(SOCK_DGRAM, "/run/systemd/journal/socket");
  EXPECT_TRUE(JournalLog::answers());
  const auto received = [&] {
    std::string datagram(10'000, '\0');
    const auto size = ::recv(journal.handle.fileDescriptor(), datagram.data(), datagram.size(), MSG_DONTWAIT);
    return datagram.substr(0, size < 0 ? 0 : static_cast<std::size_t>(size));
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
    JournalLog().write(row.level, "sub.system", "category", row.message);
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

}  // namespace
}  // namespace zt
