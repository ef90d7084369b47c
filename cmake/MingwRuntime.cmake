# Puts the runtime libraries of mingw-w64, stripped, beside the project's own, in the build folder and in the package, so
# that a copied folder runs on a machine that has none of them. They are shared on purpose: the global locale, the
# console streams and the exceptions in flight must be the same for all modules of a process.
foreach(runtime libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${runtime}
                  OUTPUT_VARIABLE runtime_path OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  if(NOT EXISTS ${runtime_path})
    message(FATAL_ERROR "The compiler does not find its own ${runtime}")
  endif()
  file(MAKE_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
  set(runtime_copy ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${runtime})
  execute_process(COMMAND ${CMAKE_STRIP} --strip-unneeded -o ${runtime_copy} ${runtime_path} COMMAND_ERROR_IS_FATAL ANY)
  install(PROGRAMS ${runtime_copy} TYPE BIN)
endforeach()
