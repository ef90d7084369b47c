# Compiles the examples that the headers of the kit show, so that they stay true.
set(examples_source ${CMAKE_CURRENT_BINARY_DIR}/kit_examples.cpp)
set(examples "#include <common/kit/frame_pacer.h>
#include <common/kit/game_clock.h>
#include <common/kit/old_logs.h>
#include <common/kit/posted_calls.h>
#include <common/kit/report.h>
#include <common/kit/settings_reader.h>
#include <common/kit/settings_save.h>
#include <common/kit/stand_ins.h>
#include <common/kit/timer_resolution.h>
#include <common/kit/timers.h>
#include <common/kit/trace.h>
#include <common/content_paths.h>
#include <fstream>
#include <thread>

void CloseHarbor();
bool WindHasDropped();
void Simulate();
void Draw();
void UnloadShips(Common::SPerformanceProfiler& profiler);
void RunFrames(Common::SPerformanceProfiler& profiler);
")
set(services "Common::SFrameUtility* frames, Common::SPerformanceProfiler* profiler,
    Common::Config::SConfigFile* settings, Common::Log::SMessageLog* log")
foreach(header frame_pacer game_clock old_logs posted_calls report settings_reader settings_save stand_ins timer_resolution timers trace)
  set(path ${PROJECT_SOURCE_DIR}/include/common/kit/${header}.h)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${path})
  file(READ ${path} text)
  string(REGEX MATCH "/// ```cpp\n(.*)\n/// ```\n" found "${text}")
  if(NOT found)
    message(FATAL_ERROR "${path} shows no example")
  endif()
  string(REGEX REPLACE "(^|\n)/// ?" "\\1" example "${CMAKE_MATCH_1}")
  string(APPEND examples "\nvoid Show_${header}(${services}) {\n${example}\n}\n")
endforeach()
file(CONFIGURE OUTPUT ${examples_source} CONTENT "${examples}" @ONLY)
add_library(common_services_kit_examples OBJECT ${examples_source})
target_link_libraries(common_services_kit_examples PRIVATE common_services_kit)
