// The applications the core treats specially, in one table: chat applications whose message
// composer is found by a search, the verification fixtures, and where a paste may go to the
// window itself. Every other application is treated alike.
#pragma once

#include <string_view>

namespace textport {

struct ApplicationTraits {
  bool composer = false;     // has a message composer: captured in mode "composer"
  bool windowPaste = false;  // without a composer, the paste may go to the focused window
  bool fixture = false;      // a verification fixture: the fixture probe may drive it
  bool hidesFocus = false;   // under "--verify-selection" its focus is ignored and not searched
};

// The traits of the application with this bundle identifier (none for an unknown one).
ApplicationTraits applicationTraits(std::string_view bundleIdentifier);

}  // namespace textport
