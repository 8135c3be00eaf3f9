// IOTypes.h - the kernel object handles of IOKit.
#pragma once

#include <CoreServices/MacTypes.h>

typedef unsigned int natural_t;
typedef natural_t mach_port_name_t;
typedef mach_port_name_t mach_port_t;
typedef mach_port_t io_object_t;

#define IO_OBJECT_NULL 0U
