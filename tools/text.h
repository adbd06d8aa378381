/* UTF-8 <-> UTF-16 for the command-line host: the library speaks UTF-16, the terminal UTF-8. */
#ifndef ORDO_TOOLS_TEXT_H
#define ORDO_TOOLS_TEXT_H

#include <stdint.h>
#include <stdio.h>
#include <uchar.h>

/* Decodes one UTF-8 sequence and advances *text past it; malformed input gives U+FFFD. */
uint32_t next_code_point(const unsigned char** text);

/* A zero-terminated UTF-16 copy of UTF-8 text, to be released with free(). Exits the
 * process when memory runs out. */
char16_t* utf8_to_utf16(const char* text);

/* Writes UTF-16 text as UTF-8; a lone surrogate becomes U+FFFD. */
void print_utf16(const char16_t* text, FILE* out);

/* The number of UTF-16 units before the terminator. */
size_t utf16_length(const char16_t* text);

#endif
