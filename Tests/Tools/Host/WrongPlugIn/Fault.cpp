// Fault.cpp - the one source that differs from bundle to bundle.

#include "Tests/Tools/Host/WrongPlugIn/Fault.h"

const char* const gFault = QX_FAULT;
