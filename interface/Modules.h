// Where an address of the process lies: its module (the program or a shared
// library), the module's section that holds it and the function it belongs
// to, read from the module's file. For crash reports, outside any signal
// handler: the first lookup in a module maps its file, which stays mapped.
#pragma once

#include <cstdint>
#include <string>

namespace CalcEngine {

struct CodeLocation {
    std::string module;     // the module's path; empty when no module holds the address
    unsigned section;       // the section's number, from 1; 0 when none holds it
    uint64_t offset;        // from the section's start
    std::string symbol;     // the function's name, demangled; empty when unknown
    uint64_t displacement;  // from the function's start
};

CodeLocation Locate(uintptr_t address);

// Where this library is loaded.
uintptr_t LibraryBase();

}  // namespace CalcEngine
