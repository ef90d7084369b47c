# Cross-compiles for Linux on CMAKE_SYSTEM_PROCESSOR with the distribution's compiler and runs tests
# under QEMU.
set(CMAKE_SYSTEM_NAME Linux)
set(LINUX_SYSTEM ${CMAKE_SYSTEM_PROCESSOR}-linux-gnu)
find_program(CMAKE_C_COMPILER ${LINUX_SYSTEM}-gcc REQUIRED)
find_program(CMAKE_CXX_COMPILER ${LINUX_SYSTEM}-g++ REQUIRED)

set(cross_root /usr/${LINUX_SYSTEM})
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)

find_program(QEMU qemu-${CMAKE_SYSTEM_PROCESSOR})
if(QEMU)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${QEMU} -L ${cross_root})
endif()
