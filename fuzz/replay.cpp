#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <span>
#include <vector>

#include "property.h"

/// Runs a target on the files in some folders, where there is no libFuzzer.
// NOLINTNEXTLINE(bugprone-exception-escape): whatever goes wrong is to end it, loudly.
int main(int argc, char** argv) {
  std::size_t inputs = 0;
  for (const char* folder : std::span(argv, static_cast<std::size_t>(argc)).subspan(1)) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      std::cerr << entry.path().string() << std::endl;  // the last name printed is that of an input that fails
      std::ifstream file(entry.path(), std::ios::binary);
      std::vector<char> input(std::istreambuf_iterator<char>(file), {});
      input.shrink_to_fit();  // so that AddressSanitizer sees reads beyond its end
      zt::check({input.data(), input.size()});
      ++inputs;
    }
  }
  std::cerr << inputs << " inputs\n";
  return inputs > 0 ? 0 : 1;
}
