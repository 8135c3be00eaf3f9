// Fault.h - what a wrong bundle does wrong.
#pragma once

/// Tells whether the bundle has that fault, which is named after the check that finds it: whether
/// its file has the name.
bool HasFault(const char* fault);
