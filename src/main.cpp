// textport: answers JSON requests on standard input, one answer line each, on the host desktop.
#include <iostream>
#include <string>
#include <vector>

#include "platform/host_platform.h"
#include "request/process.h"

int main(int argc, char** argv) {
  std::vector<std::string> arguments(argv, argv + argc);
  auto platform = textport::makeHostPlatform();
  return textport::runProcess(*platform, std::move(arguments), std::cin, std::cout);
}
