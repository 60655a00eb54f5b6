#include "platform/linux/agent_wake_events.h"

#include "support/fakes.h"
#include "support/test.h"

TEST(AgentWakeEvents, AreListedByPmsetOrElseByTheAgent) {
  FakeCommands commands;
  FakeFileManager fileManager;
  AgentWakeEvents wakeEvents(commands, fileManager);
  EXPECT_EQ(wakeEvents.list("/ZTAgent"), std::nullopt);
  for (const auto* program : {"/ZTAgent", "/usr/bin/pmset"}) {
    fileManager.executables.insert(program);
    wakeEvents.list("/ZTAgent");
  }
  EXPECT_EQ(commands.all, (Texts{"run /ZTAgent sched", "run /usr/bin/pmset -g sched"}));
}

TEST(AgentWakeEvents, AreOnlyCancelledWithTextsThatCanBeArguments) {
  FakeCommands commands;
  const FakeFileManager fileManager;
  AgentWakeEvents wakeEvents(commands, fileManager);
  for (const auto& when : {"01/02/2030 \0"s, "01/02/2030 03:04:05"s, std::string(200'000, '1')}) {
    wakeEvents.cancel("/ZTAgent", when);
  }
  EXPECT_EQ(commands.all, Texts{"run /ZTAgent cancel 01/02/2030 03:04:05"});
}
