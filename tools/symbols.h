/*
 * The host symbols of ordo-calc: values given on the command line
 * (--var name=value) or in a file (--vars FILE), answered to the library's
 * symbol callback. A value is a number list in brackets ("[1 2 3]"), a text
 * in double quotes, a number, or else the text as written.
 */
#ifndef ORDO_TOOLS_SYMBOLS_H
#define ORDO_TOOLS_SYMBOLS_H

#include <ordo.h>
#include <stddef.h>
#include <uchar.h>

struct Symbol;

/* Symbols are read once, before any calculation, and only read after. */
typedef struct SymbolTable {
    struct Symbol* symbols;
    size_t count;
} SymbolTable;

/* Adds "name = value" (blanks around either allowed); answers null, or what
 * is wrong with it. A later symbol of a name hides an earlier one. */
const char* symbols_add(SymbolTable* table, const char* assignment);

/* Adds each "name = value" line of a file; blank lines and lines starting
 * with '#' are skipped. Answers 0 after a message on stderr when the file
 * cannot be read or a line is malformed. */
int symbols_load(SymbolTable* table, const char* path);

void symbols_free(SymbolTable* table);

/* The library's symbol callback; vxData is the SymbolTable. An unknown
 * symbol fails the calculation with ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR.
 * Arguments of a symbol are ignored. */
int32_t symbols_get_value(const char16_t* symbol, struct DTCalcFunctionParameterValue* params,
                          int32_t flags, DTCalcResult* result, void* data);

#endif
