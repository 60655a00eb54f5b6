// Next to nothing, of the standard library.

#include <iostream>

int main() {
  std::cout << std::flush;
}
