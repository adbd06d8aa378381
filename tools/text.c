/* Conversions between the UTF-8 of the terminal and the UTF-16 of the library. */
#include "text.h"

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

static const uint32_t kReplacement = 0xFFFD;

uint32_t next_code_point(const unsigned char** text) {
    static const uint32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
    const unsigned char* s = *text;
    int extra = s[0] < 0x80             ? 0
                : (s[0] & 0xE0) == 0xC0 ? 1
                : (s[0] & 0xF0) == 0xE0 ? 2
                : (s[0] & 0xF8) == 0xF0 ? 3
                                        : -1;
    if (extra <= 0) {
        *text = s + 1;
        return extra == 0 ? s[0] : kReplacement;
    }
    uint32_t cp = s[0] & (0x3F >> extra);
    for (int i = 1; i <= extra; ++i) {
        if ((s[i] & 0xC0) != 0x80) { /* also stops at the terminator */
            *text = s + i;
            return kReplacement;
        }
        cp = cp << 6 | (s[i] & 0x3F);
    }
    *text = s + extra + 1;
    int invalid = cp < kSmallest[extra] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF);
    return invalid ? kReplacement : cp;
}

char16_t* utf8_to_utf16(const char* text) {
    /* Every UTF-16 unit consumes at least one byte, so this is enough. */
    char16_t* out = malloc((strlen(text) + 1) * sizeof *out);
    if (out == NULL) {
        perror("ordo-calc");
        exit(EXIT_FAILURE);
    }
    const unsigned char* s = (const unsigned char*)text;
    size_t n = 0;
    while (*s != 0) {
        uint32_t cp = next_code_point(&s);
        if (cp >= 0x10000) {
            out[n++] = (char16_t)(0xD800 + ((cp - 0x10000) >> 10));
            out[n++] = (char16_t)(0xDC00 + ((cp - 0x10000) & 0x3FF));
        } else {
            out[n++] = (char16_t)cp;
        }
    }
    out[n] = 0;
    return out;
}

static void put_utf8(uint32_t cp, FILE* out) {
    static const unsigned char kLead[] = {0, 0xC0, 0xE0, 0xF0};
    int extra = cp < 0x80 ? 0 : cp < 0x800 ? 1 : cp < 0x10000 ? 2 : 3;
    fputc(extra == 0 ? (int)cp : kLead[extra] | (int)(cp >> (6 * extra)), out);
    for (int shift = 6 * (extra - 1); shift >= 0; shift -= 6) {
        fputc(0x80 | (int)((cp >> shift) & 0x3F), out);
    }
}

void print_utf16(const char16_t* text, FILE* out) {
    for (; *text != 0; ++text) {
        uint32_t cp = *text;
        if (cp >= 0xD800 && cp <= 0xDBFF && text[1] >= 0xDC00 && text[1] <= 0xDFFF) {
            cp = 0x10000 + ((cp - 0xD800) << 10) + (uint32_t)(*++text - 0xDC00);
        } else if (cp >= 0xD800 && cp <= 0xDFFF) {
            cp = kReplacement;
        }
        put_utf8(cp, out);
    }
}

size_t utf16_length(const char16_t* text) {
    size_t length = 0;
    while (text[length] != 0) {
        ++length;
    }
    return length;
}
