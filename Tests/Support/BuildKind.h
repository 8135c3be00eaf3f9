// BuildKind.h - what a test is built for: a sanitizer, a count of lines, an emulated machine.
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

// Whether the programs run several times slower than plain ones: a test that proves more with more
// rounds then does fewer. QX_COUNTS_COVERAGE comes from the preset coverage.
#if QX_HAS_ADDRESS_SANITIZER || QX_HAS_THREAD_SANITIZER || defined(QX_COUNTS_COVERAGE) ||          \
    defined(__powerpc__)
inline constexpr bool kIsSlow = true;
#else
inline constexpr bool kIsSlow = false;
#endif
