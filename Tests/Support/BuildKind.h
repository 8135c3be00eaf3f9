// BuildKind.h - how a test is built: with a sanitizer, with counters for coverage, for an emulated
// machine.
#pragma once

#ifndef __has_feature
#define __has_feature(feature) 0 // GCC defines macros instead
#endif

#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
#define QX_HAS_ADDRESS_SANITIZER 1
#else
#define QX_HAS_ADDRESS_SANITIZER 0
#endif

#if defined(__SANITIZE_THREAD__) || __has_feature(thread_sanitizer)
#define QX_HAS_THREAD_SANITIZER 1
#else
#define QX_HAS_THREAD_SANITIZER 0
#endif

// True if the programs run several times slower than usual: tests with many rounds then do fewer.
// The preset coverage defines QX_COUNTS_COVERAGE.
#if QX_HAS_ADDRESS_SANITIZER || QX_HAS_THREAD_SANITIZER || defined(QX_COUNTS_COVERAGE) ||          \
    defined(__powerpc__)
inline constexpr bool kIsSlow = true;
#else
inline constexpr bool kIsSlow = false;
#endif
