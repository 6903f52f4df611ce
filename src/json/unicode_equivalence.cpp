// One implementation on every platform, so the product compares strings with the same code
// that the tests run: utf8proc's canonical decomposition (the system library, or utf8proc's own
// sources compiled into the build where no library for the target exists).
#include "json/unicode_equivalence.h"

#include <utf8proc.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace textport {

namespace {
struct FreeDeleter {
  void operator()(utf8proc_uint8_t* p) const { std::free(p); }
};

// The canonical decomposition (NFD), or nothing when the bytes are not valid UTF-8.
bool decompose(std::string_view s, std::string& out) {
  utf8proc_uint8_t* result = nullptr;
  auto length = utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(s.data()),
                             static_cast<utf8proc_ssize_t>(s.size()), &result,
                             static_cast<utf8proc_option_t>(UTF8PROC_DECOMPOSE | UTF8PROC_STABLE));
  std::unique_ptr<utf8proc_uint8_t, FreeDeleter> owned(result);
  if (length < 0) return false;
  out.assign(reinterpret_cast<const char*>(result), static_cast<std::size_t>(length));
  return true;
}
}  // namespace

bool canonicallyEqual(std::string_view a, std::string_view b) {
  if (a == b) return true;
  std::string da, db;
  if (!decompose(a, da) || !decompose(b, db)) return false;
  return da == db;
}

}  // namespace textport
