#include "capture/special_applications.h"

#include <array>
#include <utility>

namespace textport {

namespace {
constexpr std::array<std::pair<std::string_view, ApplicationTraits>, 4> kSpecialApplications{{
    {"com.tencent.xinWeChat", {.composer = true, .windowPaste = true}},
    {"app.tamsel.fixturecomposer", {.composer = true, .fixture = true}},
    {"app.tamsel.fixtureambiguous", {.composer = true, .fixture = true}},
    {"app.tamsel.fixtureopaque",
     {.composer = true, .windowPaste = true, .fixture = true, .hidesFocus = true}},
}};
}  // namespace

ApplicationTraits applicationTraits(std::string_view bundleIdentifier) {
  for (const auto& [bundle, traits] : kSpecialApplications) {
    if (bundle == bundleIdentifier) return traits;
  }
  return ApplicationTraits{};
}

}  // namespace textport
