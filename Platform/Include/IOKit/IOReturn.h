// IOReturn.h - the error codes of IOKit.
#pragma once

/// The general error, 0xE00002BC: the IOKit system (0x38), the common subsystem, code 0x2bc.
#define kIOReturnError (-536870212)
