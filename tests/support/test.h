#pragma once

// What most tests use.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "support/crontab.h"
#include "support/zone.h"

namespace zt {
namespace util {}
using Texts = std::vector<std::string>;
}  // namespace zt

using namespace zt;
using namespace zt::platform;
using namespace zt::util;
using namespace std::chrono_literals;
using namespace std::string_literals;
namespace fs = std::filesystem;
