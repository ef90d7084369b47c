# Linux on 64-bit ARM, whose `char` is unsigned.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/linux-cross.cmake)
