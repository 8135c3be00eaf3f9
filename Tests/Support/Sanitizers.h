// Sanitizers.h - which sanitizer a test is built with, under one name for GCC and Clang.
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
