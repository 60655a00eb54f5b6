// Which application the built tool uses where two users, victim and mallory, share a machine (demo/private-machine).

#include "support/private_machine.h"

struct ApplicationsOfTwoUsers : PrivateMachine {
  void SetUp() override {
    ::setenv("DEMO", DEMO, 1);
    if (!bash("setpriv --reuid 4001 --clear-groups true").empty()) GTEST_SKIP() << "other users need root";
    bash("cp -a /etc ~ && mount --bind ~/etc /etc && chmod 755 ~");
    bash(
        "echo victim:x:4001:4001::/:/bin/sh >> /etc/passwd; echo mallory:x:4002:4002::/:/bin/sh >> /etc/passwd;"
        "echo victim:x:4001: >> /etc/group; echo both:x:4003:mallory >> /etc/group; echo mallory:500000:9 | tee "
        "/etc/subgid > "
        "/etc/subuid");
  }
  void TearDown() override { bash("pkill -KILL -u victim; umount /etc; chmod 755 /opt; rm -rf /opt/*"); }

  /// What the tool, started by the victim, uses after a script: the path of the application, or nothing.
  ///   app OWNER PLACE  makes an application
  ///   run PLACE        has the victim run it
  static std::string used(const std::string& script) {
    bash(R"sh(
      pkill -KILL -u victim; chmod 755 /opt; rm -rf /opt/* ~/victim ~/mallory
      app() { cp -R $DEMO/Zantrove.app $2; cp /bin/sleep $2/Contents/MacOS/Zantrove; chown -R $1 $2; }
      run() {
        setpriv --reuid victim --regid victim --clear-groups $1/Contents/MacOS/Zantrove 1000 <&- &>/dev/null &
        until [ "$(readlink /proc/$!/exe)" = $PWD/$1/Contents/MacOS/Zantrove ]; do :; done
      }
      cd ~; mkdir -p victim/Applications mallory; chown -R victim: victim; chown mallory: mallory; cd victim
      sed -i 's/^victim:.*/victim:x:4001:/' /etc/group; chmod 644 /etc/passwd
    )sh" +
         script);
    const auto lines = bash("HOME=~/victim setpriv --reuid victim --regid victim --clear-groups " TOOL
                            " 2>&1 | sed -n 's|.*Using Zantrove! from ||p'");
    return lines.empty() ? "" : lines[0];
  }
};

TEST_F(ApplicationsOfTwoUsers, CountOnlyWhereNobodyElseCanHavePutThem) {
  const auto own = (home / "victim/Applications/Z.app").string();
  const std::string makeOwn = "app victim Applications/Z.app; ";
  const std::vector<std::tuple<const char*, std::string, std::string>> rows = {
      {"the user's own", makeOwn, own},
      {"root's", "app root /opt/Z.app", "/opt/Z.app"},
      {"in a folder of the user's own group", makeOwn + "chmod -R g+w .", own},
      {"in a folder of a group without other members", makeOwn + "chgrp 4999 Applications; chmod g+w Applications",
       own},
      {"in a folder of a group of both", makeOwn + "chgrp both Applications; chmod g+w Applications", ""},
      {"in a folder of the user's own group, which has a member",
       makeOwn + "chmod -R g+w .; sed -i 's/^victim:.*/&mallory/' /etc/group", ""},
      {"in a folder for all", makeOwn + "chmod 777 Applications", ""},
      {"mallory's in a folder for all", "chmod 777 /opt; app mallory /opt/A.app; app root /opt/Z.app", ""},
      {"mallory's in a sticky folder", "chmod 1777 /opt; app mallory /opt/A.app; app root /opt/Z.app", "/opt/Z.app"},
      {"mallory's in root's folder", "app mallory /opt/A.app", ""},
      {"unpacked with the number of nobody", "app 501:20 /opt/Z.app", "/opt/Z.app"},
      {"the same in a sticky folder", "chmod 1777 /opt; app 501:20 /opt/Z.app", ""},
      {"unpacked with a number that mallory can take on", "app 500001 /opt/Z.app", ""},
      {"unpacked with a group that mallory can take on", "app 501:500001 /opt/Z.app; chmod -R g+w /opt/Z.app", ""},
      {"unpacked while accounts cannot be read", "app 501:20 /opt/Z.app; chmod 600 /etc/passwd", ""},
      {"a link to what root has unpacked", "app 501:20 /opt/zt-1; ln -s ./zt-1/. /opt/Z.app", "/opt/Z.app"},
      {"mallory's maze of links",
       "chmod 1777 /opt; for i in {1..38}; do p+=/lib64/../..; done; ln -s $p /opt/A.app; chown -h mallory /opt/*;"
       "app root /opt/Z.app",
       "/opt/Z.app"},
      {"root's maze of links", "for i in {1..38}; do p+=/bin/../..; done; ln -s $p/opt/zt /opt/A.app; app root /opt/zt",
       "/opt/A.app"},
      {"root's with a link to mallory's", "app mallory ~/mallory/Z.app; ln -s ~/mallory/Z.app /opt", ""},
      {"root's with a link to root's", "app root /opt/old; ln -s old /opt/Z.app", "/opt/Z.app"},
      {"mallory's link to the user's",
       makeOwn + "chmod 1777 /opt; mv Applications/Z.app ..; ln -s ~/Z.app /opt;"
                 "chown -h mallory /opt/Z.app",
       ""},
      {"a link to mallory's folder", "rmdir Applications; ln -s ~/mallory Applications; app root ~/mallory/Z.app", ""},
      {"mallory's agent", makeOwn + "chown mallory Applications/Z.app/Contents/MacOS/ZTAgent", ""},
      {"a link to mallory's agent",
       makeOwn + "cd Applications/Z.app/Contents/MacOS; mv ZTAgent ~/mallory;"
                 "ln -s ~/mallory/ZTAgent .",
       ""},
      {"a controller for all", makeOwn + "chmod o+w Applications/Z.app/Contents/Helpers/*", ""},
      {"helpers for all", makeOwn + "chmod 1777 Applications/Z.app/Contents/Helpers", ""},
  };
  for (const auto& [reason, script, application] : rows) EXPECT_EQ(used(script), application) << reason;
}

TEST_F(ApplicationsOfTwoUsers, AreTheRunningOnesEvenIfTheirProgramsAreReplaced) {
  const std::string start = "app victim Z.app; run Z.app; cd Z.app/Contents/MacOS; ";
  const auto own = (home / "victim/Z.app").string();
  const std::vector<std::tuple<const char*, std::string, std::string>> rows = {
      {"as it was", start, own},
      {"removed", start + "rm Zantrove", own},
      {"replaced", start + "rm Zantrove; cp /bin/true Zantrove", own},
      {"renamed over", start + "cp /bin/true new; mv new Zantrove", own},
      {"with a link left", start + "ln Zantrove old; rm Zantrove; cp /bin/true Zantrove", own},
      {"another program of the bundle", start + "mv Zantrove other", ""},
      {"only in a mount namespace of its own",
       "app victim Z.app; app victim X.app; unshare -m sh -c 'mount --bind X.app Z.app; setpriv --reuid victim "
       "--regid victim --clear-groups Z.app/Contents/MacOS/Zantrove 1000 <&- >/dev/null 2>&1 &'; until pgrep -u victim "
       "Zantrove; do "
       ":; done",
       ""},
      {"gone from a sticky folder, where mallory puts hers",
       "chmod 1777 .; touch file; chown victim file; app victim G.app; run G.app; rm -r G.app; app mallory G.app;"
       "ln -sf $PWD/file G.app/Contents/MacOS/Zantrove",
       ""},
      {"in a folder of mallory's", "cd ~/mallory; app victim G.app; run G.app", ""},
  };
  for (const auto& [reason, script, application] : rows) EXPECT_EQ(used(script), application) << reason;
}
