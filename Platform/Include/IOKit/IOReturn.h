// IOReturn.h - the error codes of IOKit.
#pragma once

#include <IOKit/IOTypes.h>

typedef int kern_return_t;
typedef kern_return_t IOReturn;

#define kIOReturnSuccess 0
/// The general error, 0xE00002BC: the IOKit system (0x38), the common subsystem, code 0x2bc.
#define kIOReturnError (-536870212)
