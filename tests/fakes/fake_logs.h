#pragma once

#include <string>
#include <vector>

#include "platform/log_sinks.h"

namespace zt {

struct FakeUnifiedLog : UnifiedLog {
  struct Entry {
    LogLevel level;
    std::string subsystem, category, message;
    bool operator==(const Entry&) const = default;
  };
  void write(LogLevel level, std::string_view subsystem, std::string_view category, std::string_view message) override {
    entries.push_back({level, std::string(subsystem), std::string(category), std::string(message)});
  }

  std::vector<Entry> entries;
};

struct FakePlainLog : PlainLog {
  void write(std::string_view message) override { entries.emplace_back(message); }

  std::vector<std::string> entries;
};

}  // namespace zt
