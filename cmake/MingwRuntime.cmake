# Puts the runtime libraries of mingw-w64, stripped, beside the project's own, in the build folder
# and in the package, so that a copied folder runs on a machine that has none of them. They are
# shared on purpose: the global locale, the console streams and the exceptions in flight must be the
# same for all modules of a process.
#
# A cross compiler knows their places; a native one keeps them beside itself.
get_filename_component(compiler_folder ${CMAKE_CXX_COMPILER} DIRECTORY)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  set(runtime_libraries libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
else()
  set(runtime_libraries libc++.dll libunwind.dll libwinpthread-1.dll)
endif()
foreach(runtime IN LISTS runtime_libraries)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${runtime}
                  OUTPUT_VARIABLE runtime_path OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT EXISTS "${runtime_path}")
    set(runtime_path ${compiler_folder}/${runtime})
  endif()
  if(NOT EXISTS "${runtime_path}")
    message(WARNING "${runtime} stands neither where the compiler looks nor beside it, so it is "
                    "not put beside the libraries. A machine without it cannot run them.")
    continue()
  endif()
  set(runtime_copy ${PROJECT_BINARY_DIR}/bin/${runtime})
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
  execute_process(COMMAND ${CMAKE_STRIP} --strip-unneeded -o ${runtime_copy} ${runtime_path}
                  COMMAND_ERROR_IS_FATAL ANY)
  if(COMMON_SERVICES_INSTALL)
    install(PROGRAMS ${runtime_copy} TYPE BIN COMPONENT common-services)
  endif()
endforeach()
