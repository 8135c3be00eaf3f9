// IOTypes.h - the kernel object handles of IOKit.
#pragma once

typedef unsigned int io_object_t;
