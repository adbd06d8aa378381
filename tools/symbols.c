/* Host symbols from the command line and from files, answered to the library. */
#define _POSIX_C_SOURCE 200809L /* getline */

#include "symbols.h"

#include <ctype.h>
#include <errno.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "text.h"

/* A symbol keeps its answer ready: the buffer is copied for every callback. */
struct Symbol {
    char16_t* name;
    int32_t type;   /* ORDODLL_FUNCTION_RESULT_TYPE_* */
    int32_t length; /* of value, in bytes */
    void* value;
};

/* Memory from the C library, or the end of the process when there is none. */
static void* or_exit(void* memory) {
    if (memory == NULL) {
        perror("ordo-calc");
        exit(EXIT_FAILURE);
    }
    return memory;
}

/* Cuts blanks from both ends of text, in place. */
static char* trim(char* text) {
    while (isspace((unsigned char)*text)) {
        ++text;
    }
    size_t length = strlen(text);
    while (length > 0 && isspace((unsigned char)text[length - 1])) {
        text[--length] = 0;
    }
    return text;
}

/* Reads all of text as one number; answers 0 when anything else is there. */
static int read_number(const char* text, double* number) {
    char* end;
    errno = 0;
    *number = strtod(text, &end);
    return end != text && *end == 0 && errno != ERANGE;
}

/* "[1 2, 3]": the numbers between the brackets, apart by blanks or commas. */
static const char* make_list(struct Symbol* symbol, char* text) {
    text[strlen(text) - 1] = 0;
    double* numbers = or_exit(malloc(sizeof(uint64_t) + strlen(text) * sizeof *numbers));
    uint64_t count = 0;
    for (char* item = strtok(text + 1, " \t,"); item != NULL; item = strtok(NULL, " \t,")) {
        if (!read_number(item, &numbers[1 + count++])) {
            free(numbers);
            return "a number list holds numbers apart by blanks or commas";
        }
    }
    memcpy(numbers, &count, sizeof count);
    symbol->type = ORDODLL_FUNCTION_RESULT_TYPE_NUMBERLIST;
    symbol->length = (int32_t)(sizeof count + count * sizeof *numbers);
    symbol->value = numbers;
    return NULL;
}

static void make_text(struct Symbol* symbol, const char* text) {
    char16_t* value = utf8_to_utf16(text);
    symbol->type = ORDODLL_FUNCTION_RESULT_TYPE_STRING;
    symbol->length = (int32_t)((utf16_length(value) + 1) * sizeof *value);
    symbol->value = value;
}

static void make_number(struct Symbol* symbol, double number) {
    symbol->type = ORDODLL_FUNCTION_RESULT_TYPE_NUMBER;
    symbol->length = sizeof number;
    symbol->value = or_exit(malloc(sizeof number));
    memcpy(symbol->value, &number, sizeof number);
}

/* Fills in the value of symbol from its text; answers null or what is wrong. */
static const char* make_value(struct Symbol* symbol, char* text) {
    size_t length = strlen(text);
    double number;
    if (text[0] == '[' && text[length - 1] == ']') {
        return make_list(symbol, text);
    }
    if (length >= 2 && text[0] == '"' && text[length - 1] == '"') {
        text[length - 1] = 0;
        make_text(symbol, text + 1);
    } else if (read_number(text, &number)) {
        make_number(symbol, number);
    } else {
        make_text(symbol, text);
    }
    return NULL;
}

static const char* add_copy(SymbolTable* table, char* assignment) {
    char* equals = strchr(assignment, '=');
    if (equals == NULL) {
        return "expected name = value";
    }
    *equals = 0;
    char* name = trim(assignment);
    char* value = trim(equals + 1);
    if (*name == 0 || *value == 0) {
        return "expected name = value";
    }
    struct Symbol symbol = {0};
    const char* error = make_value(&symbol, value);
    if (error != NULL) {
        return error;
    }
    symbol.name = utf8_to_utf16(name);
    table->symbols = or_exit(realloc(table->symbols, (table->count + 1) * sizeof *table->symbols));
    table->symbols[table->count++] = symbol;
    return NULL;
}

const char* symbols_add(SymbolTable* table, const char* assignment) {
    char* copy = or_exit(strdup(assignment));
    const char* error = add_copy(table, copy);
    free(copy);
    return error;
}

int symbols_load(SymbolTable* table, const char* path) {
    FILE* file = fopen(path, "r");
    if (file == NULL) {
        fprintf(stderr, "ordo-calc: %s: %s\n", path, strerror(errno));
        return 0;
    }
    char* line = NULL;
    size_t size = 0;
    const char* error = NULL;
    for (size_t number = 1; error == NULL && getline(&line, &size, file) >= 0; ++number) {
        char* text = trim(line);
        if (*text != 0 && *text != '#' && (error = add_copy(table, text)) != NULL) {
            fprintf(stderr, "ordo-calc: %s:%zu: %s\n", path, number, error);
        }
    }
    free(line);
    fclose(file);
    return error == NULL;
}

void symbols_free(SymbolTable* table) {
    for (size_t i = 0; i < table->count; ++i) {
        free(table->symbols[i].name);
        free(table->symbols[i].value);
    }
    free(table->symbols);
    table->symbols = NULL;
    table->count = 0;
}

static int same_name(const char16_t* a, const char16_t* b) {
    while (*a != 0 && *a == *b) {
        ++a, ++b;
    }
    return *a == *b;
}

int32_t symbols_get_value(const char16_t* name, struct DTCalcFunctionParameterValue* params,
                          int32_t flags, DTCalcResult* result, void* data) {
    (void)params, (void)flags;
    const SymbolTable* table = data;
    for (size_t i = table->count; i-- > 0;) {
        const struct Symbol* symbol = &table->symbols[i];
        if (same_name(symbol->name, name)) {
            result->xResultBuffer = xCalcAllocateMemory((size_t)symbol->length);
            memcpy(result->xResultBuffer, symbol->value, (size_t)symbol->length);
            result->iResultBufferLength = symbol->length;
            result->iType = symbol->type;
            return ORDODLL_RESULT_OK;
        }
    }
    return ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR;
}
