# Cross-compiling textport for macOS on Linux with clang, ld64.lld and llvm-lipo against a macOS
# SDK snapshot given as -DTEXTPORT_MACOS_SDK=<sdk root> (the folder holding System/ and usr/), with
# utf8proc compiled from its sources, given as -DTEXTPORT_UTF8PROC_SOURCE=<folder with utf8proc.c>.
# Each architecture is configured with this file on its own (TEXTPORT_MACOS_ARCHS names one);
# with several, the build runs one sub-build per architecture and joins them (see mac_backend.cmake).
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_VERSION 21.0)

# Sub-builds and try_compile projects see the same values.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TEXTPORT_MACOS_SDK TEXTPORT_MACOS_ARCHS
     TEXTPORT_LLVM_SUFFIX TEXTPORT_UTF8PROC_SOURCE)

if(NOT TEXTPORT_MACOS_SDK)
  message(FATAL_ERROR "Pass the macOS SDK root: -DTEXTPORT_MACOS_SDK=<path>")
endif()
if(NOT EXISTS "${TEXTPORT_MACOS_SDK}/usr/lib/libSystem.tbd")
  message(FATAL_ERROR "TEXTPORT_MACOS_SDK='${TEXTPORT_MACOS_SDK}' holds no usr/lib/libSystem.tbd")
endif()
# The host's utf8proc is a Linux library; the build compiles the sources for each architecture.
if(NOT TEXTPORT_UTF8PROC_SOURCE)
  message(FATAL_ERROR "Pass utf8proc's source folder (utf8proc.c, utf8proc.h, utf8proc_data.c): "
                      "-DTEXTPORT_UTF8PROC_SOURCE=<path>")
endif()
if(NOT TEXTPORT_MACOS_ARCHS)
  set(TEXTPORT_MACOS_ARCHS x86_64 arm64)
endif()
if(NOT DEFINED TEXTPORT_LLVM_SUFFIX)
  set(TEXTPORT_LLVM_SUFFIX -14)
endif()

# The compiler checks of a multi-architecture configure run for the first architecture; the
# clang driver would need a lipo of its own to build several at once.
list(GET TEXTPORT_MACOS_ARCHS 0 _textport_arch)
set(CMAKE_OSX_ARCHITECTURES ${_textport_arch})
set(CMAKE_OSX_SYSROOT ${TEXTPORT_MACOS_SDK})
set(CMAKE_OSX_DEPLOYMENT_TARGET 11.0)
set(_textport_triple ${_textport_arch}-apple-macos${CMAKE_OSX_DEPLOYMENT_TARGET})

# Full paths: the Objective-C++ compiler is looked up with the SDK as the search root otherwise.
find_program(TEXTPORT_CLANG NAMES clang${TEXTPORT_LLVM_SUFFIX} clang REQUIRED NO_CMAKE_FIND_ROOT_PATH)
find_program(TEXTPORT_CLANGXX NAMES clang++${TEXTPORT_LLVM_SUFFIX} clang++ REQUIRED
             NO_CMAKE_FIND_ROOT_PATH)
set(CMAKE_C_COMPILER ${TEXTPORT_CLANG})
set(CMAKE_CXX_COMPILER ${TEXTPORT_CLANGXX})
set(CMAKE_OBJCXX_COMPILER ${TEXTPORT_CLANGXX})
set(CMAKE_C_COMPILER_TARGET ${_textport_triple})
set(CMAKE_CXX_COMPILER_TARGET ${_textport_triple})
set(CMAKE_OBJCXX_COMPILER_TARGET ${_textport_triple})
set(CMAKE_AR llvm-ar${TEXTPORT_LLVM_SUFFIX} CACHE FILEPATH "")
set(CMAKE_RANLIB llvm-ranlib${TEXTPORT_LLVM_SUFFIX} CACHE FILEPATH "")
set(CMAKE_INSTALL_NAME_TOOL llvm-install-name-tool${TEXTPORT_LLVM_SUFFIX} CACHE FILEPATH "")
find_program(TEXTPORT_LIPO NAMES llvm-lipo${TEXTPORT_LLVM_SUFFIX} llvm-lipo
             PATHS /usr/lib/llvm${TEXTPORT_LLVM_SUFFIX}/bin NO_CMAKE_FIND_ROOT_PATH)

# Debian's clang defaults to libstdc++, which the SDK does not have.
set(CMAKE_CXX_FLAGS_INIT "-stdlib=libc++")
set(CMAKE_OBJCXX_FLAGS_INIT "-stdlib=libc++")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-fuse-ld=lld")

# Headers and libraries come from the SDK only; programs from the host.
set(CMAKE_FIND_ROOT_PATH ${TEXTPORT_MACOS_SDK})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Header-only host packages (nlohmann-json, GoogleTest declarations) are reached through a
# folder that holds nothing but links to them, so /usr/include itself never is on the path.
set(nlohmann_json_DIR ${CMAKE_CURRENT_LIST_DIR}/cross-deps/nlohmann_json CACHE PATH "")
set(TEXTPORT_HOST_INCLUDE_DIR /usr/include CACHE PATH "Where the host's header-only packages are")
