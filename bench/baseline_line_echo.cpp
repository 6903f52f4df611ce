// Baseline for daemon throughput: echo every line back, flushing after each one.
#include <iostream>
#include <string>

int main() {
  std::ios::sync_with_stdio(false);
  std::string line;
  while (std::getline(std::cin, line)) {
    line += '\n';
    std::cout.write(line.data(), static_cast<std::streamsize>(line.size()));
    std::cout.flush();
  }
  return 0;
}
