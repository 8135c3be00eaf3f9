// Fault.h - what a wrong bundle does wrong.
#pragma once

/// The name of the check that the bundle is to fail, or "none" for a bundle that is right.
extern const char* const gFault;

/// Tells whether the bundle has the fault of that check.
bool HasFault(const char* check);
