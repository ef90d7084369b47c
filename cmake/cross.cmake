# What all cross builds share: where libraries are looked for, `cross_root` alone, and libraries that are
# headers alone.
list(APPEND CMAKE_FIND_ROOT_PATH ${cross_root})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Such headers serve all systems, but the folder that they stand in must not: it holds the host's own.
set(shared_headers ${CMAKE_BINARY_DIR}/shared_headers)
file(MAKE_DIRECTORY ${shared_headers})
foreach(library boost fast_float nlohmann)
  if(NOT EXISTS ${shared_headers}/${library})
    file(CREATE_LINK /usr/include/${library} ${shared_headers}/${library} SYMBOLIC)
  endif()
endforeach()
set(Boost_INCLUDE_DIR ${shared_headers})
set(FAST_FLOAT_INCLUDE_DIR ${shared_headers})
set(NLOHMANN_JSON_INCLUDE_DIR ${shared_headers})
