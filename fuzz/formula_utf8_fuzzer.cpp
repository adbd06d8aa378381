// Formula text as UTF-8, converted to the library's UTF-16.
#include "fuzz/FuzzHost.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const ordofuzz::Input input = ordofuzz::SplitInput(data, size);
    ordofuzz::RunFormula(input.setup, ordofuzz::DecodeUtf8(input.text, input.textSize));
    return 0;
}
