// What the fuzz targets share: a check that ends the run, and the stand-ins of the kit.
//
// A factory works once a process, so a target keeps its service for all inputs, together with the
// stand-ins that the service asks for, in one static object whose members end in the right order at
// exit.
#pragma once

#include <common/kit/stand_ins.h>

#include <cstdlib>
#include <iostream>

namespace Common::Fuzz {

using StoredClock = Kit::Stored<Kit::StandInClock>;
using StoredLog = Kit::Stored<Kit::StandInLog>;

inline void Check(bool holds, const char* claim) {
  if (holds) return;
  std::cerr << "Does not hold: " << claim << std::endl;
  std::abort();
}

}  // namespace Common::Fuzz
