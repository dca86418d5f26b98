// A run's check with the verdict that follows from it.
#pragma once

#include "check/reasons.h"
#include "check/run_check.h"

namespace tarvel {

struct checked_run {
  run_check check;
  run_verdict verdict;
};

}  // namespace tarvel
