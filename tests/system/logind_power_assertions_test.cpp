// A mock of logind on a bus in place of the system's.

#include "platform/linux/logind_power_assertions.h"

#include <errno.h>

#include "support/private_machine.h"

const std::string bus = "/run/dbus/system_bus_socket";

struct Logind : PrivateMachine {
  Logind() { bash("mkdir -p /run/dbus; rm -f " + bus); }

  static void startBus() {
    bash("dbus-daemon --session --nopidfile --fork --address=unix:path=" + bus + " &> /dev/null");
  }
  PowerAssertions::Created create(const char* type = "PreventUserIdleSystemSleep") {
    return assertions.create(type, "the name", "the details");
  }

  LogindPowerAssertions assertions;
};

TEST_F(Logind, CreatesNoAssertionIfItDoesNotAnswer) {
  EXPECT_EQ(create().result, -ENOENT) << "no bus";
  {
    const ServiceSocket silent(SOCK_STREAM, bus);
    EXPECT_EQ(create().result, -ETIMEDOUT);
  }
  EXPECT_EQ(create().result, -ECONNREFUSED);
  fs::remove(bus);
  startBus();
  EXPECT_EQ(create().result, -EHOSTUNREACH) << "a bus without logind";
}

TEST_F(Logind, KeepsALockUntilTheAssertionIsReleased) {
  startBus();
  ::setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + bus).c_str(), 1);  // the mock needs it
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
       "org.freedesktop.DBus.Mock.AddMethod string:org.freedesktop.login1.Manager string:Inhibit string:ssss string:h "
       "string:'raise dbus.exceptions.DBusException(\"no\", name=\"org.freedesktop.DBus.Error.AccessDenied\")'");
  EXPECT_EQ(create().result, -EACCES);
  ::unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
}
