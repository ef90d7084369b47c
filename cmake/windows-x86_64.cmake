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

set(cross_root /usr/${MINGW_SYSTEM})
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)

find_program(WINE NAMES wine64 wine wine64-stable
             PATHS /usr/lib/wine /usr/lib/x86_64-linux-gnu/wine)
if(WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${WINE})
endif()
