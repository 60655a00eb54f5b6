#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "fakes/zone.h"
#include "platform/linux/system_applications.h"

namespace zt {
namespace {

namespace fs = std::filesystem;

TEST(Calendar, TellsUniqueSkippedAndRepeatedTimes) {
  using Kind = LocalTimeLookup::Kind;
  struct Row {
    const char *zone, *local;
    Kind kind;
    const char *earlier, *later;
  };
  const std::vector<Row> rows = {
      {"Europe/Berlin", "2027-03-28 02:30:00", Kind::skipped, "2027-03-28 01:30:00 +0100", "2027-03-28 03:30:00 +0200"},
      {"Europe/Berlin", "2027-03-28 03:00:00", Kind::unique, "2027-03-28 03:00:00 +0200", "2027-03-28 03:00:00 +0200"},
      {"Europe/Berlin", "2027-10-31 02:00:00", Kind::repeated, "2027-10-31 02:00:00 +0200",
       "2027-10-31 02:00:00 +0100"},
      {"Pacific/Apia", "2011-12-30 12:00:00", Kind::skipped, "2011-12-29 12:00:00 -1000", "2011-12-31 12:00:00 +1400"},
  };
  for (const auto& row : rows) {
    const Zone zone(row.zone);
    const LocalTime local{at(std::string(row.local) + " +0000").time_since_epoch()};
    const auto found = zone.calendar.instants(local);
    EXPECT_EQ(found.kind, row.kind) << row.local;
    EXPECT_EQ(found.earlier, at(row.earlier)) << row.local;
    EXPECT_EQ(found.later, at(row.later)) << row.local;
  }
}

TEST(Applications, AreBundlesByTheirPropertyList) {
  std::string name = testing::TempDir() + "zt.XXXXXX";
  const fs::path folder = ::mkdtemp(name.data());
  const auto bundle = [&](const char* path, const std::string& identifier) {
    fs::create_directories(folder / path / "Contents");
    std::ofstream(folder / path / "Contents/Info.plist")
        << "<plist><dict><key>CFBundleExecutable</key><string>Main</string>"
        << "<key>CFBundleIdentifier</key>" << identifier << "</dict></plist>";
  };
  const std::string ours = "<string>com.velmorra.Zantrove</string>";
  bundle("one/A.app", "<string>com.velmorra.Other</string>");
  bundle("one/B.app", "no property list");
  bundle("one/C.app", "<true/>");
  bundle("one/D.other", ours);
  fs::create_directories(folder / "one/E.app/Contents");
  ASSERT_EQ(::mkfifo((folder / "one/E.app/Contents/Info.plist").c_str(), 0600), 0) << "must not block";
  bundle("two/Y.app", ours);
  bundle("two/X.app", ours);
  const SystemApplications applications({folder / "missing", folder / "one", folder / "two"});
  EXPECT_EQ(applications.installed("com.velmorra.Zantrove"), folder / "two/X.app");
  EXPECT_EQ(applications.installed("com.velmorra.None"), std::nullopt);
  fs::remove_all(folder);
}

}  // namespace
}  // namespace zt
