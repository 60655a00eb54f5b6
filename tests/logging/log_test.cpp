#include "logging/log_factory.h"
#include "logging/plain_format.h"
#include "support/fakes.h"
#include "support/test.h"

TEST(Log, KeepsAreaCategoryAndLevelInTheUnifiedLog) {
  using Maker = Log (*)(std::string, LogSinks);
  const std::vector<std::pair<Maker, std::string>> makers = {
      {LogFactory::setting, "Settings"},   {LogFactory::utility, "Utilities"},   {LogFactory::volume, "Volumes"},
      {LogFactory::delegate, "Delegates"}, {LogFactory::view, "Views"},          {LogFactory::vc, "ViewControllers"},
      {LogFactory::helper, "Helpers"},     {LogFactory::extension, "Extensions"}};
  for (const auto& [make, area] : makers) {
    FakeUnifiedLog unified;
    FakePlainLog plain;
    const Log log = make("c", {&unified, plain});
    log.default_("50% done");
    log.debug("%@");
    log.info("two\nlines");
    log.error("%s");
    log.fault("");
    const auto subsystem = "com.velmorra.Zantrove." + area;
    EXPECT_EQ(unified.entries, (std::vector<FakeUnifiedLog::Entry>{{LogLevel::default_, subsystem, "c", "50% done"},
                                                                   {LogLevel::debug, subsystem, "c", "%@"},
                                                                   {LogLevel::info, subsystem, "c", "two\nlines"},
                                                                   {LogLevel::error, subsystem, "c", "%s"},
                                                                   {LogLevel::fault, subsystem, "c", ""}}));
  }
}

TEST(Log, ReadsThreeLevelsAsFormatsInThePlainLog) {
  FakePlainLog plain;
  const Log log = LogFactory::helper("c", {.unified = nullptr, .plain = plain});
  log.default_("50% done");
  log.debug("%@%%");
  log.info("a%20b %");
  log.error("50% done %@");
  log.fault("%s");
  EXPECT_EQ(plain.of("log"),
            (Texts{"DEFAULT: 500one", "DEBUG: (null)%", "INFO: a%20b %", "ERROR: 50% done %@", "FAULT: %s"}));
  EXPECT_EQ(expandPlainFormat("%5.2lf %*d %-8s %99999999999d %1$@ %n"), "0 0 (null) 0 (null) %n");
  EXPECT_EQ(expandPlainFormat("A: %@, %@", "%d"), "A: %d, (null)");
}
