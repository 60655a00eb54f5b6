// Almost the smallest program that uses the standard library.

#include <iostream>

int main() {
  std::cout << std::flush;
}
