// The processor's integer division fault. C++ leaves a zero divisor and the
// quotient 2^31 undefined; the engine raises this instead where the
// processor would have faulted.
#pragma once

#include <cstdint>

namespace CalcEngine {

// Deliberately outside the Exception family and std::exception: no engine
// handler takes it, so it reaches the exported call's fault guard, which
// reports it like a hardware fault.
class DivisionFault {};

[[noreturn]] void RaiseDivisionFault();

// Faults where the processor's 32-bit signed division of a by b would.
inline void CheckDivision(int32_t a, int32_t b) {
    if (b == 0 || (a == INT32_MIN && b == -1)) RaiseDivisionFault();
}
inline int32_t FaultingQuotient(int32_t a, int32_t b) {
    CheckDivision(a, b);
    return a / b;
}
inline int32_t FaultingRemainder(int32_t a, int32_t b) {
    CheckDivision(a, b);
    return a % b;
}

}  // namespace CalcEngine
