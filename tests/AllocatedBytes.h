// The bytes the process holds allocated right now, for tests that check
// that memory stays flat.
#pragma once

#include <malloc.h>

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// The sanitizers' runtime counts what is allocated through it.
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

inline size_t AllocatedBytes() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return __sanitizer_get_current_allocated_bytes();
#else
    return mallinfo2().uordblks;
#endif
}
