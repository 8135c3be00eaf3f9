// FaultNote.h - lets a process that crashes say why, before it ends.
#pragma once

#include "Tools/Host/Validate/Journal.h"

namespace Validate {

/// From now on a signal that ends this process leaves its number, and for an invalid address where
/// that is, in the verdict. The process still ends by the signal.
void NoteFaults(Verdict& verdict);

/// "SIGSEGV, an invalid memory access", or the number of a signal that has no name here.
std::string DescribeSignal(int number);

} // namespace Validate
