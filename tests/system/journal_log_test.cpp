// The test reads from the journal's socket.

#include "platform/linux/journal_log.h"

#include "support/private_machine.h"

struct Journal : PrivateMachine {
  Journal() { start(); }

  void start() { socket.emplace(SOCK_DGRAM, "/run/systemd/journal/socket"); }

  /// The next entry; empty if there is none.
  std::string received() const {
    std::string datagram(10'000, '\0');
    const auto size = ::recv(socket->handle.fileDescriptor(), datagram.data(), datagram.size(), MSG_DONTWAIT);
    datagram.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return datagram.substr(0, datagram.find("USER_UNIT="));  // if a unit runs the tests
  }

  std::optional<ServiceSocket> socket;
};

TEST_F(Journal, GetsEveryFieldUnchanged) {
  const auto expect = [&](LogLevel level, const std::string& message, const std::string& fields) {
    JournalLog::find()->write(level, "sub.system", "category", message);
    EXPECT_EQ(received(), fields + "\nSUBSYSTEM=sub.system\nCATEGORY=category\nSYSLOG_IDENTIFIER=system_tests\n");
  };
  expect(LogLevel::default_, "50% done %s%n", "MESSAGE=50% done %s%n\nPRIORITY=5");
  expect(LogLevel::info, "two\nlines", "MESSAGE\n\x09\0\0\0\0\0\0\0two\nlines\nPRIORITY=6"s);
  expect(LogLevel::debug, "\0\xff"s, "MESSAGE=\0\xff\nPRIORITY=7"s);
  expect(LogLevel::error, "", "MESSAGE=\nPRIORITY=3");
  expect(LogLevel::fault, "PRIORITY=7", "MESSAGE=PRIORITY=7\nPRIORITY=2");
  fs::remove("/run/systemd/journal/socket");
  EXPECT_FALSE(JournalLog::find());
}

TEST_F(Journal, GetsTheLogOfTheToolExceptInATerminal) {
  const std::string ofTool =
      "SUBSYSTEM=com.velmorra.Zantrove.Helpers\nCATEGORY=ztbackupbytime\nSYSLOG_IDENTIFIER=ztbackupbytime\n";
  EXPECT_EQ(bash(TOOL), Texts{});
  EXPECT_EQ(received(), "MESSAGE=Looking for Zantrove!\nPRIORITY=6\n" + ofTool);
  EXPECT_EQ(received(), "MESSAGE=Couldn't find Zantrove! application\nPRIORITY=3\n" + ofTool);
  EXPECT_EQ(bash("script --quiet --command " TOOL " /dev/null | grep -c 'ztbackupbytime\\['"), Texts{"2"});
  EXPECT_EQ(received(), "");
}

TEST_F(Journal, LosesEntriesInsteadOfKeepingTheToolWaiting) {
  auto log = *JournalLog::find();
  for (int i = 0; i < 10'000; ++i) log.write(LogLevel::info, "", "", std::to_string(i));
  const auto next = [&] { return received().substr(0, 10); };
  EXPECT_EQ(next(), "MESSAGE=0\n");
  while (!received().empty()) {
  }
  log.write(LogLevel::info, "", "", "z");
  EXPECT_EQ(next(), "MESSAGE=z\n") << "it reads again";
  start();
  log.write(LogLevel::info, "", "", "n");
  EXPECT_EQ(next(), "MESSAGE=n\n") << "a new journal";
}
