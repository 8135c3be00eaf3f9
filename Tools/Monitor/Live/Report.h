// Report.h - the live view as a form of the monitor's output.
#pragma once

#include "Tools/Monitor/Report.h"

namespace Monitor {

/// The full-screen view, which ends with the last states as text; with `isOnce` the picture as text
/// at the end, and nothing before.
std::unique_ptr<IReport> MakeLiveReport(bool isOnce, bool isColoured);

} // namespace Monitor
