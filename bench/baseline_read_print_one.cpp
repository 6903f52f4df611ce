// Baseline for one-shot start-up: read all of standard input, print one line.
#include <iostream>
#include <iterator>
#include <string>

int main() {
  std::ios::sync_with_stdio(false);
  const std::string input{std::istreambuf_iterator<char>(std::cin), {}};
  std::cout << "{\"bytes\":" << input.size() << "}\n";
  return 0;
}
