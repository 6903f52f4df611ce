# The version of the host's nlohmann-json headers, read from the headers themselves (newer
# releases define it in detail/abi_macros.hpp, older ones in json.hpp).
set(_textport_json_version "")
foreach(_header detail/abi_macros.hpp json.hpp)
  if(NOT _textport_json_version AND EXISTS ${TEXTPORT_HOST_INCLUDE_DIR}/nlohmann/${_header})
    file(STRINGS ${TEXTPORT_HOST_INCLUDE_DIR}/nlohmann/${_header} _textport_json_version
         REGEX "#define NLOHMANN_JSON_VERSION_(MAJOR|MINOR|PATCH) +[0-9]+")
  endif()
endforeach()
string(REGEX REPLACE ".*MAJOR +([0-9]+).*MINOR +([0-9]+).*PATCH +([0-9]+).*" "\\1.\\2.\\3"
       PACKAGE_VERSION "${_textport_json_version}")
set(PACKAGE_VERSION_COMPATIBLE FALSE)
if(PACKAGE_VERSION MATCHES "^[0-9]+\\.[0-9]+\\.[0-9]+$"
   AND PACKAGE_VERSION VERSION_GREATER_EQUAL PACKAGE_FIND_VERSION)
  string(REGEX MATCH "^[0-9]+" _textport_json_major "${PACKAGE_VERSION}")
  if(_textport_json_major EQUAL PACKAGE_FIND_VERSION_MAJOR)
    set(PACKAGE_VERSION_COMPATIBLE TRUE)
  endif()
endif()
if(PACKAGE_VERSION VERSION_EQUAL PACKAGE_FIND_VERSION)
  set(PACKAGE_VERSION_EXACT TRUE)
endif()
