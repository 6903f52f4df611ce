# nlohmann-json for the macOS cross build: the host's header-only package, reached through a
# build-time folder that links to its headers alone.
if(NOT TARGET nlohmann_json::nlohmann_json)
  set(_textport_json_root ${CMAKE_BINARY_DIR}/host-headers/json)
  file(MAKE_DIRECTORY ${_textport_json_root})
  file(CREATE_LINK ${TEXTPORT_HOST_INCLUDE_DIR}/nlohmann ${_textport_json_root}/nlohmann SYMBOLIC)
  add_library(nlohmann_json::nlohmann_json INTERFACE IMPORTED)
  set_target_properties(nlohmann_json::nlohmann_json PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES ${_textport_json_root})
endif()
set(nlohmann_json_FOUND TRUE)
