// CFDate.h - differences of time.
#pragma once

#include <CoreFoundation/CFBase.h>

/// Seconds.
typedef double CFTimeInterval;
