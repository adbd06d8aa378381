#include "interface/PrepareLock.h"

#include <mutex>

namespace {

std::recursive_mutex& Mutex() {
    static std::recursive_mutex mutex;
    return mutex;
}

thread_local size_t heldOnThisThread = 0;

}  // namespace

PrepareLock::PrepareLock() {
    Mutex().lock();
    ++heldOnThisThread;
}

PrepareLock::~PrepareLock() {
    --heldOnThisThread;
    Mutex().unlock();
}

size_t PrepareLock::HeldOnThisThread() { return heldOnThisThread; }

void PrepareLock::ReleaseBeyond(size_t depth) {
    for (; heldOnThisThread > depth; --heldOnThisThread) Mutex().unlock();
}
