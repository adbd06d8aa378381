/*
 * ordo-calc: calculates formulas with libordo.so and prints their results.
 *
 * A plain host that uses only the exported C interface: one client, no
 * symbols, each formula prepared, calculated once and freed. Results go to
 * standard output, log entries and errors to standard error, all as UTF-8.
 */
#define _POSIX_C_SOURCE 200809L /* getline */

#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "interface/ordo.h"

enum { EXIT_USAGE = 2 };
static const uint32_t kReplacement = 0xFFFD;

static void print_usage(void) {
    fputs(
        "Usage: ordo-calc [options] [--] [formula...]\n"
        "Calculates each formula, or each non-empty line of standard input when no\n"
        "formula is given, and prints its result.\n"
        "\n"
        "  --force-float                 return every result as a number\n"
        "  --force-float-or-string       return single numbers as numbers, all else as text\n"
        "  --force-number-symbol-params  pass symbol parameters as numbers\n"
        "  --quota N                     calculation quota per formula (0: none)\n"
        "  --list-separator C            expression-list separator (default ',')\n"
        "  --decimal-separator C         decimal separator (default '.')\n"
        "  --line-feed TEXT              line end in messages (default: a newline)\n"
        "  --help                        show this help\n"
        "\n"
        "Exit status: 0 when every formula succeeded, 1 when any failed, 2 on a usage error.\n",
        stdout);
}

/* Decodes one UTF-8 sequence and advances *text past it; malformed input gives U+FFFD. */
static uint32_t next_code_point(const unsigned char** text) {
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

/* A zero-terminated UTF-16 copy of UTF-8 text, to be released with free(). */
static char16_t* utf8_to_utf16(const char* text) {
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

/* Writes UTF-16 text as UTF-8; a lone surrogate becomes U+FFFD. */
static void print_utf16(const char16_t* text, FILE* out) {
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

static int32_t write_log(const char16_t* text, int32_t priority) {
    fprintf(stderr, "[%d] ", (int)priority);
    print_utf16(text, stderr);
    fputc('\n', stderr);
    return ORDODLL_RESULT_OK;
}

/* The tool defines no symbols, so every symbol is unknown. */
static int32_t get_symbol_value(const char16_t* symbol, struct DTCalcFunctionParameterValue* params,
                                int32_t flags, DTCalcResult* result, void* data) {
    (void)symbol, (void)params, (void)flags, (void)result, (void)data;
    return ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR;
}

static int ends_with_newline(const char16_t* text) {
    size_t length = 0;
    while (text[length] != 0) {
        ++length;
    }
    return length > 0 && text[length - 1] == '\n';
}

/* "error -3 (Parse error): <text>" on stderr; the text may be null. */
static void report_error(int32_t code, const char16_t* text) {
    fprintf(stderr, "error %d (", (int)code);
    print_utf16(xcCalcGetErrorString(code), stderr);
    fputc(')', stderr);
    if (text != NULL && text[0] != 0) {
        fputs(": ", stderr);
        print_utf16(text, stderr);
    }
    if (text == NULL || !ends_with_newline(text)) {
        fputc('\n', stderr);
    }
}

/* Prints a successful result; answers 0, or 1 for a result of an unexpected form. */
static int print_result(const DTCalcResult* result) {
    if (result->iType == ORDODLL_FUNCTION_RESULT_TYPE_STRING) {
        if (result->xResultBuffer != NULL) {
            print_utf16(result->xResultBuffer, stdout);
        }
        putchar('\n');
        return 0;
    }
    double value;
    if (result->iType == ORDODLL_FUNCTION_RESULT_TYPE_NUMBER &&
        result->iResultBufferLength == sizeof value && result->xResultBuffer != NULL) {
        memcpy(&value, result->xResultBuffer, sizeof value);
        if (isnan(value)) {
            puts("NULL");
        } else {
            printf("%.17g\n", value);
        }
        return 0;
    }
    fprintf(stderr, "unexpected result: type %d, %d bytes\n", (int)result->iType,
            (int)result->iResultBufferLength);
    return 1;
}

/* Prepares, calculates and frees one formula; answers 0 on success, 1 on failure. */
static int calculate(void* client, const char* formula) {
    char16_t* text = utf8_to_utf16(formula);
    DTCalcFormulaPreparationResult prepared = {0};
    void* handle = NULL;
    int32_t code = iCalcPrepareFormula(client, text, &prepared, &handle, NULL);
    free(text);
    if (code != ORDODLL_RESULT_OK) {
        report_error(code, prepared.xResultBuffer);
        iCalcFreeMemory(prepared.xResultBuffer);
        return 1;
    }
    DTCalcResult result = {0};
    code = iCalcCalculate(client, handle, &result, NULL);
    iCalcFreeFormula(client, handle);
    int failed = 1;
    if (code == ORDODLL_RESULT_OK) {
        failed = print_result(&result);
    } else {
        int is_text = result.iType == ORDODLL_FUNCTION_RESULT_TYPE_STRING;
        report_error(code, is_text ? result.xResultBuffer : NULL);
    }
    iCalcFreeMemory(result.xResultBuffer);
    return failed;
}

/* Calculates each non-empty line; answers the number of failures. */
static int calculate_lines(void* client, FILE* in) {
    char* line = NULL;
    size_t size = 0;
    ssize_t length;
    int failures = 0;
    while ((length = getline(&line, &size, in)) >= 0) {
        while (length > 0 && (line[length - 1] == '\n' || line[length - 1] == '\r')) {
            line[--length] = 0;
        }
        if (length > 0) {
            failures += calculate(client, line);
        }
    }
    free(line);
    return failures;
}

static int32_t flag_of(const char* option) {
    static const struct {
        const char* option;
        int32_t flag;
    } kFlags[] = {
        {"--force-float", ORDODLL_FLAG_FORCE_FLOAT_RESULT},
        {"--force-float-or-string", ORDODLL_FLAG_FORCE_FLOAT_OR_STRING_RESULT},
        {"--force-number-symbol-params", ORDODLL_FLAG_FORCE_NUMBER_SYMBOL_PARAMETER_TYPE},
    };
    for (size_t i = 0; i < sizeof kFlags / sizeof kFlags[0]; ++i) {
        if (strcmp(option, kFlags[i].option) == 0) {
            return kFlags[i].flag;
        }
    }
    return 0;
}

static int parse_quota(const char* text, int32_t* quota) {
    char* end;
    long value = strtol(text, &end, 10);
    if (*text == 0 || *end != 0 || value < 0 || value > INT32_MAX) {
        return 0;
    }
    *quota = (int32_t)value;
    return 1;
}

/*
 * Reads the options into *init and *line_feed. Answers the index of the first
 * formula argument, or -1 after reporting a usage error.
 */
static int parse_options(int argc, char** argv, DTCalcInit* init, const char** line_feed) {
    int i = 1;
    while (i < argc && strncmp(argv[i], "--", 2) == 0) {
        const char* option = argv[i++];
        const char* value = i < argc ? argv[i] : NULL;
        int32_t flag = flag_of(option);
        if (strcmp(option, "--") == 0) {
            break;
        } else if (strcmp(option, "--help") == 0) {
            print_usage();
            exit(EXIT_SUCCESS);
        } else if (flag != 0) {
            init->iFlags |= flag;
        } else if (value == NULL) {
            fprintf(stderr, "ordo-calc: unknown option or missing value: %s\n", option);
            return -1;
        } else if (strcmp(option, "--quota") == 0 && parse_quota(value, &init->iQuota)) {
            ++i;
        } else if (strcmp(option, "--list-separator") == 0 && strlen(value) == 1) {
            init->cExpressionListSeparator = (unsigned char)argv[i++][0];
        } else if (strcmp(option, "--decimal-separator") == 0 && strlen(value) == 1) {
            init->cDecimalSeparator = (unsigned char)argv[i++][0];
        } else if (strcmp(option, "--line-feed") == 0) {
            *line_feed = argv[i++];
        } else {
            fprintf(stderr, "ordo-calc: unknown option or bad value: %s %s\n", option, value);
            return -1;
        }
    }
    return i;
}

int main(int argc, char** argv) {
    void* client = NULL;
    const char* line_feed = "\n";
    DTCalcInit init = {
        .iVersion = ORDODLL_VERSION,
        .xGetSymbolValueFunc = get_symbol_value,
        .xWriteLogEntryFunc = write_log,
        .xxClientHandle = &client,
    };
    int first = parse_options(argc, argv, &init, &line_feed);
    if (first < 0) {
        fputs("Try 'ordo-calc --help'.\n", stderr);
        return EXIT_USAGE;
    }
    char16_t* line_feed16 = utf8_to_utf16(line_feed);
    init.xcLineFeed = line_feed16;
    int32_t code = iCalcInitialize(&init);
    if (code != ORDODLL_RESULT_OK) {
        report_error(code, NULL);
        free(line_feed16);
        return EXIT_FAILURE;
    }
    int failures = 0;
    for (int i = first; i < argc; ++i) {
        failures += calculate(client, argv[i]);
    }
    if (first == argc) {
        failures = calculate_lines(client, stdin);
    }
    iCalcFinalize(client);
    free(line_feed16);
    return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
