# Cross-compiles for 64-bit Windows with the distribution's mingw-w64 (posix threads) and runs tests
# under Wine. MINGW_SYSTEM names the compiler's system: x86_64-w64-mingw32ucrt uses the universal C
# runtime in place of the old one, and has posix threads alone, so its names do not say so.
set(MINGW_SYSTEM x86_64-w64-mingw32 CACHE STRING "What the names of the cross compiler begin with")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES MINGW_SYSTEM)

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
find_program(CMAKE_C_COMPILER NAMES ${MINGW_SYSTEM}-gcc-posix ${MINGW_SYSTEM}-gcc REQUIRED)
find_program(CMAKE_CXX_COMPILER NAMES ${MINGW_SYSTEM}-g++-posix ${MINGW_SYSTEM}-g++ REQUIRED)
set(CMAKE_RC_COMPILER ${MINGW_SYSTEM}-windres)

list(APPEND CMAKE_FIND_ROOT_PATH /usr/${MINGW_SYSTEM})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Boost's headers serve both systems, but the folder that they stand in must not: it holds the
# host's own.
set(Boost_INCLUDE_DIR ${CMAKE_BINARY_DIR}/boost_headers)
file(MAKE_DIRECTORY ${Boost_INCLUDE_DIR})
if(NOT EXISTS ${Boost_INCLUDE_DIR}/boost)
  file(CREATE_LINK /usr/include/boost ${Boost_INCLUDE_DIR}/boost SYMBOLIC)
endif()

find_program(WINE NAMES wine64 wine wine64-stable
             PATHS /usr/lib/wine /usr/lib/x86_64-linux-gnu/wine)
if(WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${WINE})
endif()
