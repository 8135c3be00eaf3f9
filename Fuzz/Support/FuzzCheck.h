// FuzzCheck.h - what a fuzz target asserts, in every build type.
#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the process with the position and text of `condition` if it does not hold.
#define FUZZ_CHECK(condition)                                                                      \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #condition);    \
            std::abort();                                                                          \
        }                                                                                          \
    } while (false)
