// The guard around the calculating exported calls: a fault (SIGSEGV,
// SIGBUS, SIGFPE, SIGILL) or a stray exception inside the guarded work is
// reported through the client's log at priority 1 and the call answers
// ORDODLL_RESULT_UNHANDLED_EXCEPTION while the process goes on.
#pragma once

#include <cstdint>
#include <type_traits>

class CalcClient;

int32_t RunGuarded(CalcClient* client, int32_t (*work)(void*), void* data);

template <class Work>
int32_t Guarded(CalcClient* client, Work&& work) {
    using W = std::remove_reference_t<Work>;
    return RunGuarded(
        client, [](void* data) -> int32_t { return (*static_cast<W*>(data))(); }, &work);
}
