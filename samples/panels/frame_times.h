#pragma once

#include <common/kit/trace.h>

#include <imgui.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Panels {

// The last frames as a stacked plot: a column for each frame, a color for each of its phases, and a
// line at the budget. Below it the median and the 99th percentile.
class FrameTimes {
 public:
  // Shows the measurements of one accumulator. `phases` names its records in the order of a frame;
  // the one that has the accumulator's name is among them. REQUIRES: `shownTrace` outlives this
  // object and is filled by the thread that draws.
  FrameTimes(const Common::Kit::Trace& shownTrace, const std::string& accumulator,
             const std::vector<std::string>& phases);

  // `budget` is what a frame may take, in microseconds.
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
