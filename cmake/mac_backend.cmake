# The macOS backend (src/platform/mac) and the textport program that runs on it.
#
# Three ways in:
#  - native on a Mac: one build, universal when CMAKE_OSX_ARCHITECTURES names both architectures;
#  - cross with one architecture (TEXTPORT_MACOS_ARCHS=arm64, toolchain cmake/macos-cross.cmake);
#  - cross with several: one sub-build per architecture, joined into one universal textport by lipo.

list(LENGTH TEXTPORT_MACOS_ARCHS _textport_arch_count)
if(CMAKE_CROSSCOMPILING AND _textport_arch_count GREATER 1)
  include(ExternalProject)
  # This level only drives the sub-builds; the core is compiled inside each of them.
  set_target_properties(textport_core PROPERTIES EXCLUDE_FROM_ALL ON)
  cmake_host_system_information(RESULT _textport_cores QUERY NUMBER_OF_LOGICAL_CORES)
  set(TEXTPORT_CROSS_JOBS ${_textport_cores} CACHE STRING
      "Parallel jobs of each architecture's sub-build (they run one after the other)")
  if(NOT TEXTPORT_LIPO)
    message(FATAL_ERROR "llvm-lipo not found; set TEXTPORT_LIPO to it")
  endif()

  set(_textport_slices)
  set(_textport_previous)
  foreach(_arch ${TEXTPORT_MACOS_ARCHS})
    set(_dir ${CMAKE_BINARY_DIR}/${_arch})
    ExternalProject_Add(textport_${_arch}
      SOURCE_DIR ${CMAKE_SOURCE_DIR}
      BINARY_DIR ${_dir}
      CMAKE_ARGS
        -DCMAKE_TOOLCHAIN_FILE=${CMAKE_TOOLCHAIN_FILE}
        -DTEXTPORT_MACOS_SDK=${TEXTPORT_MACOS_SDK}
        -DTEXTPORT_UTF8PROC_SOURCE=${TEXTPORT_UTF8PROC_SOURCE}
        -DTEXTPORT_MACOS_ARCHS=${_arch}
        -DTEXTPORT_LLVM_SUFFIX=${TEXTPORT_LLVM_SUFFIX}
        -DCMAKE_BUILD_TYPE=${CMAKE_BUILD_TYPE}
        -DTEXTPORT_PLATFORM=mac
        -DTEXTPORT_SIM=OFF
        -DTEXTPORT_TESTS=OFF
        -DTEXTPORT_BENCH=OFF
      BUILD_COMMAND ${CMAKE_COMMAND} --build ${_dir} --parallel ${TEXTPORT_CROSS_JOBS}
      BUILD_ALWAYS ON
      INSTALL_COMMAND ""
      BUILD_BYPRODUCTS ${_dir}/textport
      DEPENDS ${_textport_previous})
    list(APPEND _textport_slices ${_dir}/textport)
    set(_textport_previous textport_${_arch})
  endforeach()

  add_custom_command(
    OUTPUT ${CMAKE_BINARY_DIR}/textport
    COMMAND ${TEXTPORT_LIPO} -create ${_textport_slices} -output ${CMAKE_BINARY_DIR}/textport
    DEPENDS ${_textport_slices} ${_textport_previous}
    COMMENT "Joining the architectures into one universal textport")
  add_custom_target(textport_universal ALL DEPENDS ${CMAKE_BINARY_DIR}/textport)
  return()
endif()

enable_language(OBJCXX)

file(GLOB TEXTPORT_MAC_SOURCES CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/platform/mac/*.mm)
add_library(textport_mac STATIC ${TEXTPORT_MAC_SOURCES})
target_include_directories(textport_mac PUBLIC ${CMAKE_SOURCE_DIR}/src)
# The pasteboard code catches the exceptions NSPasteboard raises and carries on, so ARC must release
# what a raising call held: -fobjc-arc-exceptions, which Objective-C++ has on by default, is named
# so that this does not hang on a default.
target_compile_options(textport_mac PRIVATE -fobjc-arc -fobjc-arc-exceptions)

if(CMAKE_CROSSCOMPILING)
  # ld64.lld does not follow an umbrella framework's re-exports, so every framework the backend
  # calls into is named, accessibility's HIServices inside ApplicationServices and the keyboard
  # layouts' HIToolbox (Carbon) and CarbonCore (CoreServices) included.
  set(_textport_frameworks ${TEXTPORT_MACOS_SDK}/System/Library/Frameworks)
  set(TEXTPORT_MAC_LINK
      ${_textport_frameworks}/ApplicationServices.framework/Versions/A/Frameworks/HIServices.framework
      ${_textport_frameworks}/Carbon.framework/Versions/A/Frameworks/HIToolbox.framework
      ${_textport_frameworks}/CoreServices.framework/Versions/A/Frameworks/CarbonCore.framework
      ${_textport_frameworks}/CoreGraphics.framework
      ${_textport_frameworks}/CoreFoundation.framework
      ${_textport_frameworks}/AppKit.framework
      ${_textport_frameworks}/Foundation.framework
      objc)
else()
  set(TEXTPORT_MAC_LINK
      "-framework ApplicationServices" "-framework Carbon" "-framework CoreGraphics"
      "-framework CoreServices" "-framework CoreFoundation"
      "-framework AppKit" "-framework Foundation" objc)
endif()
target_link_libraries(textport_mac PUBLIC ${TEXTPORT_MAC_LINK})

add_executable(textport ${CMAKE_SOURCE_DIR}/src/main.cpp)
target_link_libraries(textport PRIVATE textport_mac textport_core)

# Tests of the backend: the contract every backend keeps (tests/contract) and what only this one
# does. They need a Mac to run; the cross build compiles them only, since no macOS build of
# GoogleTest is available there.
file(GLOB TEXTPORT_MAC_TEST_SOURCES CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/mac/*.cpp)
if(CMAKE_CROSSCOMPILING)
  set(_textport_gtest_root ${CMAKE_BINARY_DIR}/host-headers/gtest)
  file(MAKE_DIRECTORY ${_textport_gtest_root})
  file(CREATE_LINK ${TEXTPORT_HOST_INCLUDE_DIR}/gtest ${_textport_gtest_root}/gtest SYMBOLIC)
  add_library(textport_mac_tests OBJECT ${TEXTPORT_MAC_TEST_SOURCES})
  target_include_directories(textport_mac_tests SYSTEM PRIVATE ${_textport_gtest_root})
  target_include_directories(textport_mac_tests PRIVATE ${CMAKE_SOURCE_DIR}/src
                             ${CMAKE_SOURCE_DIR}/tests)
elseif(TEXTPORT_TESTS)
  find_package(GTest REQUIRED)
  include(GoogleTest)
  add_executable(textport_mac_tests ${TEXTPORT_MAC_TEST_SOURCES})
  target_include_directories(textport_mac_tests PRIVATE ${CMAKE_SOURCE_DIR}/tests)
  target_link_libraries(textport_mac_tests PRIVATE textport_mac textport_core GTest::gtest
                        GTest::gtest_main)
  gtest_discover_tests(textport_mac_tests DISCOVERY_TIMEOUT 60)
endif()
