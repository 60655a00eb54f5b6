#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <span>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// Tries a target on the files in some folders, where there is no libFuzzer.
int main(int argc, char** argv) {
  std::size_t tried = 0;
  for (const char* folder : std::span(argv, static_cast<std::size_t>(argc)).subspan(1)) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      std::cerr << entry.path().string() << std::endl;  // the last one named is the one that a target ends at
      std::ifstream file(entry.path(), std::ios::binary);
      const std::string text{std::istreambuf_iterator<char>(file), {}};
      // Of no more than its size, for AddressSanitizer to see what is read beyond its end.
      const std::vector<std::uint8_t> input(text.begin(), text.end());
      LLVMFuzzerTestOneInput(input.data(), input.size());
      ++tried;
    }
  }
  std::cerr << tried << " inputs\n";
  return tried > 0 ? 0 : 1;
}
