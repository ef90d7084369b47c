# Compiles the examples that the headers of the kit show, so that they stay true.
set(examples_source ${CMAKE_CURRENT_BINARY_DIR}/kit_examples.cpp)
set(services "Common::SFrameUtility* frames, Common::SPerformanceProfiler* profiler,
    Common::Config::SConfigFile* settings, Common::Log::SMessageLog* log")
set(includes "")
set(examples "")
foreach(path IN LISTS kit_headers)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${path})
  file(READ ${path} text)
  string(REGEX MATCH "/// ```cpp\n(.*)\n/// ```\n" found "${text}")
  if(NOT found)
    message(FATAL_ERROR "${path} shows no example")
  endif()
  string(REGEX REPLACE "(^|\n)/// ?" "\\1" example "${CMAKE_MATCH_1}")
  cmake_path(GET path STEM header)
  string(APPEND includes "#include <common/kit/${header}.h>\n")
  string(APPEND examples "\nvoid Show_${header}(${services}) {\n${example}\n}\n")
endforeach()
# What the examples use beside the kit.
set(surroundings "#include <common/content_paths.h>
#include <fstream>
#include <thread>

void Beep();
void CloseHarbor();
void Show(const std::string& text);
bool WindHasDropped();
void Simulate();
void Draw();
void UnloadShips(Common::SPerformanceProfiler& profiler);
void RunFrames(Common::SPerformanceProfiler& profiler);
")
file(CONFIGURE OUTPUT ${examples_source} CONTENT "${includes}${surroundings}${examples}" @ONLY)
add_library(common_services_kit_examples OBJECT ${examples_source})
target_link_libraries(common_services_kit_examples PRIVATE common_services_kit)
