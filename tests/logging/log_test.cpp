#include <gtest/gtest.h>

#include "logging/log_factory.h"
#include "logging/plain_format.h"
#include "support/fakes.h"

namespace zt {
namespace {

TEST(Log, KeepsAreaCategoryAndLevelInTheUnifiedLog) {
  const std::array makers = {LogFactory::setting, LogFactory::utility, LogFactory::volume, LogFactory::delegate,
                             LogFactory::view,    LogFactory::vc,      LogFactory::helper, LogFactory::extension};
  const std::array areas = {"Settings", "Utilities",       "Volumes", "Delegates",
                            "Views",    "ViewControllers", "Helpers", "Extensions"};
  for (std::size_t i = 0; i < makers.size(); ++i) {
    FakeUnifiedLog unified;
    FakePlainLog plain;
    const Log log = makers.at(i)("c", {&unified, plain});
    log.default_("50% done");
    log.debug("%@");
    log.info("two\nlines");
    log.error("%s");
    log.fault("");
    const auto subsystem = std::string("com.velmorra.Zantrove.") + areas.at(i);
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
  EXPECT_EQ(plain.entries,
            (Texts{"DEFAULT: 500one", "DEBUG: (null)%", "INFO: a%20b %", "ERROR: 50% done %@", "FAULT: %s"}));
  EXPECT_EQ(expandPlainFormat("%5.2lf %*d %-8s %99999999999d %1$@ %n"), "0 0 (null) 0 (null) %n");
  EXPECT_EQ(expandPlainFormat("A: %@, %@", "%d"), "A: %d, (null)");
}

}  // namespace
}  // namespace zt
