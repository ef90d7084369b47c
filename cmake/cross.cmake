# What all cross builds share: where libraries are looked for, `cross_root` alone, and Boost.
list(APPEND CMAKE_FIND_ROOT_PATH ${cross_root})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Boost's headers serve all systems, but the folder that they stand in must not: it holds the host's
# own.
set(Boost_INCLUDE_DIR ${CMAKE_BINARY_DIR}/boost_headers)
file(MAKE_DIRECTORY ${Boost_INCLUDE_DIR})
if(NOT EXISTS ${Boost_INCLUDE_DIR}/boost)
  file(CREATE_LINK /usr/include/boost ${Boost_INCLUDE_DIR}/boost SYMBOLIC)
endif()
