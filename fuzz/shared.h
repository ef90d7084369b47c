// What the fuzz targets share: a check that ends the run, and the stand-ins of the samples.
//
// A factory works once a process, so a target keeps its service for all inputs, together with the stand-ins that the
// service asks for, in one static object whose members end in the right order at exit.
#pragma once

#include <cstdlib>
#include <iostream>

#include "testing/stand_ins.h"

namespace Common::Fuzz {

using Test::StoredClock;
using Test::StoredLog;

inline void Check(bool holds, const char* claim) {
  if (holds) return;
  std::cerr << "Does not hold: " << claim << std::endl;
  std::abort();
}

}  // namespace Common::Fuzz
