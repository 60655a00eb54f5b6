#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>

#include "util/process_runner.h"

namespace zt {

using namespace platform;
using namespace util;

using Texts = std::vector<std::string>;

/// The output of a script.
inline Texts bash(const std::string& script) {
  return shell(Task("/bin/bash", Texts{"-c", script})).value_or(Texts{"not UTF-8"});
}

/// Each test finds the home folder and the crontab spool empty.
struct PrivateMachine : testing::Test {
  PrivateMachine() {
    if (::getenv("PRIVATE_MACHINE") == nullptr) {
      std::cerr << "These tests empty the home folder. Start them with demo/private-machine.\n";
      std::_Exit(2);
    }
    bash("rm -rf ~/* /var/spool/cron/crontabs/*");
  }

  const std::filesystem::path home = ::getenv("HOME");
};

}  // namespace zt
