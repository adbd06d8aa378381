// The process-wide lock held by preparation, freeing and registration:
// parses must not overlap. Recursive, since a host callback made under it
// may call back into the library on the same thread.
#pragma once

#include <cstddef>

class PrepareLock {
public:
    PrepareLock();
    ~PrepareLock();
    PrepareLock(const PrepareLock&) = delete;
    PrepareLock& operator=(const PrepareLock&) = delete;

    // How often this thread holds the lock; the fault guard releases what a
    // faulting call could not release itself.
    static size_t HeldOnThisThread();
    static void ReleaseBeyond(size_t depth);
};
