# Linux on a big-endian system.
set(CMAKE_SYSTEM_PROCESSOR s390x)
include(${CMAKE_CURRENT_LIST_DIR}/linux-cross.cmake)
