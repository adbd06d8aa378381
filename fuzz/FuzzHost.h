// The host that the fuzz targets drive. Each input makes one client: its
// first bytes choose the client's flags, separators and quota and how the
// host answers, the rest is the formula text. The host answers symbols with
// numbers, texts and number lists, sometimes fails them, registers its own
// functions, prepares the formula and calculates it, and frees all it got.
// Any outcome that the library must never give aborts the process, so that
// the fuzzer (or the corpus replay) reports it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace ordofuzz {

// The set-up bytes that lead each input; a shorter input reads as if it
// were padded with zeros.
constexpr size_t setupSize = 7;

struct Input {
    uint8_t setup[setupSize] = {};
    const uint8_t* text = nullptr;
    size_t textSize = 0;
};

Input SplitInput(const uint8_t* data, size_t size);

// Well-formed UTF-8 becomes its UTF-16 form; any other byte stands for
// itself (Latin-1), so that every input gives some text.
std::u16string DecodeUtf8(const uint8_t* data, size_t size);
// Little-endian 16-bit units taken as they are, lone surrogates included; an
// odd last byte is dropped.
std::u16string ReadUnits(const uint8_t* data, size_t size);

void RunFormula(const uint8_t (&setup)[setupSize], const std::u16string& formula);

}  // namespace ordofuzz
