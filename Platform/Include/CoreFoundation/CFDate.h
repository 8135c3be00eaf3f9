// CFDate.h - time spans.
#pragma once

#include <CoreFoundation/CFBase.h>

/// A time span in seconds.
typedef double CFTimeInterval;
