# The Linux backend (src/platform/linux): AT-SPI2 for accessibility, the X11 CLIPBOARD selection,
# XInput2 and XTest; and the textport program that runs on it. No GTK: only the libraries below.
find_package(PkgConfig REQUIRED)
pkg_check_modules(TEXTPORT_LINUX REQUIRED IMPORTED_TARGET ${TEXTPORT_LINUX_PACKAGES})

file(GLOB TEXTPORT_LINUX_SOURCES CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/platform/linux/*.cpp)
add_library(textport_linux STATIC ${TEXTPORT_LINUX_SOURCES})
target_include_directories(textport_linux PUBLIC ${CMAKE_SOURCE_DIR}/src)
# An imported target's headers are system headers, so GLib's own warnings stay out of -Werror.
target_link_libraries(textport_linux PUBLIC PkgConfig::TEXTPORT_LINUX)

add_executable(textport ${CMAKE_SOURCE_DIR}/src/main.cpp)
target_link_libraries(textport PRIVATE textport_linux textport_core)
