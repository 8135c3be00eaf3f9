// Fault.h - what a wrong bundle does wrong.
#pragma once

/// Tells whether the bundle has the fault of that check: whether its file has the check's name.
bool HasFault(const char* check);
