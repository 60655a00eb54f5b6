#include "platform/linux/system_applications.h"

#include <sys/stat.h>

#include "support/test.h"

TEST(SystemApplications, FindsAnInstalledBundleByItsPropertyList) {
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
  bundle("one/F.app", "<string>a\0b</string>"s);
  bundle("one/G.app", ours + std::string(std::size_t{256} * 1024, ' '));  // larger than is read
  bundle("two/Y.app", ours);
  bundle("two/X.app", ours);
  const auto refused = [](const std::string& reason) { ADD_FAILURE() << reason; };
  const SystemApplications applications({folder / "missing", folder / "one", folder / "two"});
  EXPECT_EQ(applications.installed("com.velmorra.Zantrove", refused), folder / "two/X.app");
  EXPECT_EQ(applications.installed("com.velmorra.None", refused), std::nullopt);
  fs::remove_all(folder);
}
