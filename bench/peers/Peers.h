// The calculators compared by ordo_peers: each one set up for one formula
// over the host variables a, b and c (1, 2 and 3) and t (2).
#pragma once

#include <memory>
#include <string>

class Calculator {
public:
    virtual ~Calculator() = default;
    virtual double Calculate() = 0;
};

// A peer library: what it calls a formula, set up for calculation, and the
// cost of setting one up from new text and dropping it again.
struct Peer {
    const char* name;
    std::unique_ptr<Calculator> (*create)(const std::string& formula);
    void (*prepareAndFree)(const std::string& formula);
};

extern const Peer muparser;
extern const Peer muparserx;
