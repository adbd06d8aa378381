#include "language/UnicodeCharBuffer.h"

#include <string>

namespace CalcEngine {

namespace {

struct LeadByteForm {
    int keptBits;  // mask applied to the lead byte
    int continuationBytes;
};

LeadByteForm FormOfLeadByte(int lead) {
    if (lead >= 0xF8) return {0x07, 3};
    // 0xF0-0xF7 deliberately share the three-byte form.
    if (lead >= 0xE0) return {0x0F, 2};
    if (lead >= 0xC0) return {0x1F, 1};
    return {0x00, 0};  // a stray continuation byte reads as 0
}

}  // namespace

int UnicodeCharBuffer::getChar() {
    const int lead = input.get();
    if (lead == std::char_traits<char>::eof() || lead < 0x80) return lead;

    const LeadByteForm form = FormOfLeadByte(lead);
    int code = lead & form.keptBits;
    for (int i = 0; i < form.continuationBytes; ++i) code = (code << 6) | (input.get() & 0x3F);
    return code;
}

}  // namespace CalcEngine
