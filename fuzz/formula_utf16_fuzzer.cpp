// Formula text as raw 16-bit units, ill-formed UTF-16 included.
#include "fuzz/FuzzHost.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const ordofuzz::Input input = ordofuzz::SplitInput(data, size);
    ordofuzz::RunFormula(input.setup, ordofuzz::ReadUnits(input.text, input.textSize));
    return 0;
}
