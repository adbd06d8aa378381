// The allocator of every buffer that crosses the interface, in either
// direction: the exported xCalcAllocateMemory and iCalcFreeMemory are these.
// The engine calls them directly, not through its own exported symbols.
#pragma once

#include <cstddef>

namespace CalcEngine {

void* AllocateHostMemory(size_t bytes);
// Accepts null.
void FreeHostMemory(void* memory);

// Frees a host buffer when it goes out of scope, whichever way that happens.
class HostBuffer {
public:
    explicit HostBuffer(void* memory) : memory(memory) {}
    ~HostBuffer() { FreeHostMemory(memory); }
    HostBuffer(const HostBuffer&) = delete;
    HostBuffer& operator=(const HostBuffer&) = delete;

private:
    void* memory;
};

}  // namespace CalcEngine
