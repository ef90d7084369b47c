#pragma once

#include <common/kit/trace.h>

#include <imgui.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Panels {

// A stacked plot of the last frames, with a column for each frame, a color for each phase and a
// line at the budget, above the median and the 99th percentile.
class FrameTimes {
 public:
  // Shows one accumulator. `phases` names its records in the order of a frame, the one with the
  // accumulator's name included. REQUIRES: the trace outlives this and is filled by this thread.
  FrameTimes(const Common::Kit::Trace& shownTrace, const std::string& accumulator,
             const std::vector<std::string>& phases);

  // `budget` is in microseconds.
  void Draw(std::uint64_t budget);

 private:
  struct Phase {
    std::string name;    // as the legend shows it
    std::string record;  // as the trace names it
    ImU32 color;
  };

  void CollectFrames(std::size_t most);
  const Phase* FindPhase(std::string_view record) const;
  void DrawPlot(std::uint64_t budget, ImVec2 size) const;
  void DrawColumn(std::size_t frame, ImVec2 bottom, ImVec2 step) const;
  void DrawLegend();

  const Common::Kit::Trace& trace;
  const std::string whole;
  std::vector<Phase> phases;
  std::vector<std::uint64_t> durations;  // of every phase of every frame shown, frame by frame
  std::vector<Common::Kit::Trace::Line> summary;
  int framesToSummary = 0;
};

}  // namespace Panels
