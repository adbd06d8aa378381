/*
 * ordo-calc: calculates formulas with libordo.so and prints their results.
 *
 * A plain host that uses only the exported C interface: one client, the
 * symbols given with --var and --vars, each formula prepared, calculated
 * (on one thread, or on several at once) and freed. Results go to standard
 * output, log entries and errors to standard error, all as UTF-8. At a
 * terminal without formula arguments it reads formulas interactively.
 */
#define _POSIX_C_SOURCE 200809L /* getline, clock_gettime */

#include <math.h>
#include <ordo.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include "catalogue.h"
#include "interactive.h"
#include "symbols.h"
#include "text.h"

enum { EXIT_USAGE = 2, kMaxThreads = 1024 };

static void print_usage(void) {
    fputs(
        "Usage: ordo-calc [options] [--] [formula...]\n"
        "       ordo-calc --functions [PATTERN]\n"
        "Calculates each formula, or each non-empty line of standard input when no\n"
        "formula is given, and prints its result. At a terminal, reads formulas with\n"
        "line editing and a history kept in ~/.ordo_calc_history; Ctrl-D ends.\n"
        "\n"
        "  --force-float                 return every result as a number\n"
        "  --force-float-or-string       return single numbers as numbers, all else as text\n"
        "  --force-number-symbol-params  pass symbol parameters as numbers\n"
        "  --quota N                     calculation quota per formula (0: none)\n"
        "  --list-separator C            expression-list separator (default ',')\n"
        "  --decimal-separator C         decimal separator (default '.')\n"
        "  --line-feed TEXT              line end in messages (default: a newline)\n"
        "  --var NAME=VALUE              the symbol NAME has VALUE: [1 2 3] a number list,\n"
        "                                \"text\" a text, else a number if it reads as one,\n"
        "                                else a text\n"
        "  --vars FILE                   a NAME = VALUE line per symbol; blank lines and\n"
        "                                lines starting with # are skipped\n"
        "  --time                        print prepare and calculate times on stderr\n"
        "  --threads N                   calculate each formula on N threads at once and\n"
        "                                check that their results agree\n"
        "  --functions [PATTERN]         list the builtin functions whose name, alias or\n"
        "                                category contains PATTERN, in any case\n"
        "  --help                        show this help\n"
        "\n"
        "Exit status: 0 when every formula succeeded, 1 when any failed, 2 on a usage error.\n",
        stdout);
}

/* What the options ask for beyond the client's start-up record. */
typedef struct Options {
    const char* line_feed;
    SymbolTable symbols;
    int threads;
    int timing;
    int catalogue; /* --functions */
} Options;

/* What calculating a formula needs. */
typedef struct Session {
    void* client;
    const Options* options;
    int interactive;
} Session;

/* One calculation of a formula, on a thread of its own when there are several. */
typedef struct Run {
    const Session* session;
    void* formula;
    pthread_rwlock_t* start; /* held for writing until every thread is there */
    int32_t code;
    DTCalcResult result;
} Run;

static int32_t write_log(const char16_t* text, int32_t priority) {
    flockfile(stderr); /* one entry at a time when threads calculate */
    fprintf(stderr, "[%d] ", (int)priority);
    print_utf16(text, stderr);
    fputc('\n', stderr);
    funlockfile(stderr);
    return ORDODLL_RESULT_OK;
}

static int ends_with_newline(const char16_t* text) {
    size_t length = utf16_length(text);
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
static int print_result(const DTCalcResult* result, FILE* out) {
    if (result->iType == ORDODLL_FUNCTION_RESULT_TYPE_STRING) {
        if (result->xResultBuffer != NULL) {
            print_utf16(result->xResultBuffer, out);
        }
        fputc('\n', out);
        return 0;
    }
    double value;
    if (result->iType == ORDODLL_FUNCTION_RESULT_TYPE_NUMBER &&
        result->iResultBufferLength == sizeof value && result->xResultBuffer != NULL) {
        memcpy(&value, result->xResultBuffer, sizeof value);
        if (isnan(value)) {
            fputs("NULL\n", out);
        } else {
            fprintf(out, "%.17g\n", value);
        }
        return 0;
    }
    fprintf(stderr, "unexpected result: type %d, %d bytes\n", (int)result->iType,
            (int)result->iResultBufferLength);
    return 1;
}

/* Prints the outcome of a calculation, a result to out and an error to
 * stderr; answers 0 on success, 1 on failure. */
static int print_outcome(const Run* run, FILE* out) {
    if (run->code == ORDODLL_RESULT_OK) {
        return print_result(&run->result, out);
    }
    int is_text = run->result.iType == ORDODLL_FUNCTION_RESULT_TYPE_STRING;
    report_error(run->code, is_text ? run->result.xResultBuffer : NULL);
    return 1;
}

static int same_outcome(const Run* a, const Run* b) {
    const DTCalcResult* x = &a->result;
    const DTCalcResult* y = &b->result;
    if (a->code != b->code || x->iType != y->iType ||
        x->iResultBufferLength != y->iResultBufferLength) {
        return 0;
    }
    return x->iResultBufferLength == 0 || x->xResultBuffer == NULL || y->xResultBuffer == NULL
               ? x->xResultBuffer == y->xResultBuffer
               : memcmp(x->xResultBuffer, y->xResultBuffer, (size_t)x->iResultBufferLength) == 0;
}

static double seconds_since(const struct timespec* begin) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (double)(now.tv_sec - begin->tv_sec) + (double)(now.tv_nsec - begin->tv_nsec) / 1e9;
}

static void* calculate_run(void* argument) {
    Run* run = argument;
    if (run->start != NULL) {
        pthread_rwlock_rdlock(run->start);
        pthread_rwlock_unlock(run->start);
    }
    void* symbols = (void*)&run->session->options->symbols;
    run->code = iCalcCalculate(run->session->client, run->formula, &run->result, symbols);
    return NULL;
}

/* Calculates the runs on a thread each, all let go at once; answers 0 when
 * not every thread could be started. */
static int calculate_together(Run* runs, int count) {
    pthread_rwlock_t start = PTHREAD_RWLOCK_INITIALIZER;
    pthread_t threads[kMaxThreads];
    pthread_rwlock_wrlock(&start);
    int started = 0;
    while (started < count) {
        runs[started].start = &start;
        if (pthread_create(&threads[started], NULL, calculate_run, &runs[started]) != 0) {
            break;
        }
        ++started;
    }
    pthread_rwlock_unlock(&start);
    for (int i = 0; i < started; ++i) {
        pthread_join(threads[i], NULL);
    }
    pthread_rwlock_destroy(&start);
    return started == count;
}

/* Prints the outcome of the first run, and each other run that disagrees
 * with it; answers 0 when all succeeded alike. */
static int report_runs(const Run* runs, int count) {
    int failed = print_outcome(&runs[0], stdout);
    fflush(stdout); /* before any message about it */
    for (int i = 1; i < count; ++i) {
        if (!same_outcome(&runs[0], &runs[i])) {
            fprintf(stderr, "ordo-calc: thread %d of %d has another outcome than thread 1: ", i + 1,
                    count);
            print_outcome(&runs[i], stderr);
            failed = 1;
        }
    }
    return failed;
}

/* Calculates a prepared formula as often as --threads says and prints the
 * outcome once; answers 0 when it succeeded the same way on every thread. */
static int calculate_prepared(const Session* session, void* formula, double* seconds) {
    int count = session->options->threads;
    Run* runs = calloc((size_t)count, sizeof *runs);
    if (runs == NULL) {
        perror("ordo-calc");
        return 1;
    }
    for (int i = 0; i < count; ++i) {
        runs[i] = (Run){.session = session, .formula = formula};
    }
    struct timespec begin;
    clock_gettime(CLOCK_MONOTONIC, &begin);
    int all_started = 1;
    if (count == 1) {
        calculate_run(&runs[0]);
    } else {
        all_started = calculate_together(runs, count);
    }
    *seconds = seconds_since(&begin);
    int failed = 1;
    if (all_started) {
        failed = report_runs(runs, count);
    } else {
        fprintf(stderr, "ordo-calc: cannot start %d threads\n", count);
    }
    for (int i = 0; i < count; ++i) {
        iCalcFreeMemory(runs[i].result.xResultBuffer);
    }
    free(runs);
    return failed;
}

/* Prepares, calculates and frees one formula; answers 0 on success, 1 on failure. */
static int calculate(void* context, const char* formula) {
    const Session* session = context;
    char16_t* text = utf8_to_utf16(formula);
    DTCalcFormulaPreparationResult prepared = {0};
    void* handle = NULL;
    void* symbols = (void*)&session->options->symbols;
    struct timespec begin;
    clock_gettime(CLOCK_MONOTONIC, &begin);
    int32_t code = iCalcPrepareFormula(session->client, text, &prepared, &handle, symbols);
    double prepare_seconds = seconds_since(&begin);
    free(text);
    if (code != ORDODLL_RESULT_OK) {
        if (session->interactive) {
            mark_error_position(formula, prepared.xResultBuffer);
        }
        report_error(code, prepared.xResultBuffer);
        iCalcFreeMemory(prepared.xResultBuffer);
        return 1;
    }
    double calculate_seconds = 0;
    int failed = calculate_prepared(session, handle, &calculate_seconds);
    iCalcFreeFormula(session->client, handle);
    if (session->options->timing) {
        fprintf(stderr, "time: prepare %.3f ms, calculate %.3f ms\n", prepare_seconds * 1e3,
                calculate_seconds * 1e3);
    }
    return failed;
}

/* Calculates each non-empty line; answers the number of failures. */
static int calculate_lines(Session* session, FILE* in) {
    char* line = NULL;
    size_t size = 0;
    ssize_t length;
    int failures = 0;
    while ((length = getline(&line, &size, in)) >= 0) {
        while (length > 0 && (line[length - 1] == '\n' || line[length - 1] == '\r')) {
            line[--length] = 0;
        }
        if (length > 0) {
            failures += calculate(session, line);
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

/* Reads a whole decimal number from min to max. */
static int parse_count(const char* text, long min, long max, long* count) {
    char* end;
    long value = strtol(text, &end, 10);
    if (*text == 0 || *end != 0 || value < min || value > max) {
        return 0;
    }
    *count = value;
    return 1;
}

/* Reads an option that takes a value; answers 0 when option is none of them or value is bad. */
static int parse_valued_option(const char* option, const char* value, DTCalcInit* init,
                               Options* options) {
    long number;
    const char* error;
    if (strcmp(option, "--quota") == 0 && parse_count(value, 0, INT32_MAX, &number)) {
        init->iQuota = (int32_t)number;
    } else if (strcmp(option, "--threads") == 0 && parse_count(value, 1, kMaxThreads, &number)) {
        options->threads = (int)number;
    } else if (strcmp(option, "--list-separator") == 0 && strlen(value) == 1) {
        init->cExpressionListSeparator = (unsigned char)value[0];
    } else if (strcmp(option, "--decimal-separator") == 0 && strlen(value) == 1) {
        init->cDecimalSeparator = (unsigned char)value[0];
    } else if (strcmp(option, "--line-feed") == 0) {
        options->line_feed = value;
    } else if (strcmp(option, "--vars") == 0) {
        return symbols_load(&options->symbols, value);
    } else if (strcmp(option, "--var") == 0) {
        if ((error = symbols_add(&options->symbols, value)) != NULL) {
            fprintf(stderr, "ordo-calc: --var %s: %s\n", value, error);
            return 0;
        }
    } else {
        fprintf(stderr, "ordo-calc: unknown option or bad value: %s %s\n", option, value);
        return 0;
    }
    return 1;
}

/*
 * Reads the options into *init and *options. Answers the index of the first
 * formula argument, or -1 after reporting a usage error.
 */
static int parse_options(int argc, char** argv, DTCalcInit* init, Options* options) {
    int i = 1;
    while (i < argc && strncmp(argv[i], "--", 2) == 0) {
        const char* option = argv[i++];
        int32_t flag = flag_of(option);
        if (strcmp(option, "--") == 0) {
            break;
        } else if (strcmp(option, "--help") == 0) {
            print_usage();
            symbols_free(&options->symbols);
            exit(EXIT_SUCCESS);
        } else if (flag != 0) {
            init->iFlags |= flag;
        } else if (strcmp(option, "--time") == 0) {
            options->timing = 1;
        } else if (strcmp(option, "--functions") == 0) {
            options->catalogue = 1;
        } else if (i == argc) {
            fprintf(stderr, "ordo-calc: unknown option or missing value: %s\n", option);
            return -1;
        } else if (!parse_valued_option(option, argv[i++], init, options)) {
            return -1;
        }
    }
    return i;
}

/* --functions [PATTERN]: answers the exit status. */
static int list_functions(int argc, char** argv, int first) {
    if (argc - first > 1) {
        fputs("ordo-calc: --functions takes one pattern\n", stderr);
        return EXIT_USAGE;
    }
    const char* pattern = first < argc ? argv[first] : NULL;
    if (catalogue_print(pattern, stdout) == 0) {
        fprintf(stderr, "ordo-calc: no function matches '%s'\n", pattern);
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}

/* Calculates the formula arguments, or what standard input brings. */
static int run(Session* session, int argc, char** argv, int first) {
    int failures = 0;
    for (int i = first; i < argc; ++i) {
        failures += calculate(session, argv[i]);
    }
    if (first == argc && isatty(STDIN_FILENO)) {
        session->interactive = 1;
        failures = run_interactive(calculate, session);
    } else if (first == argc) {
        failures = calculate_lines(session, stdin);
    }
    return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

int main(int argc, char** argv) {
    void* client = NULL;
    Options options = {.line_feed = "\n", .threads = 1};
    DTCalcInit init = {
        .iVersion = ORDODLL_VERSION,
        .xGetSymbolValueFunc = symbols_get_value,
        .xWriteLogEntryFunc = write_log,
        .xxClientHandle = &client,
    };
    int first = parse_options(argc, argv, &init, &options);
    if (first < 0) {
        fputs("Try 'ordo-calc --help'.\n", stderr);
        symbols_free(&options.symbols);
        return EXIT_USAGE;
    }
    if (options.catalogue) {
        symbols_free(&options.symbols);
        return list_functions(argc, argv, first);
    }
    char16_t* line_feed16 = utf8_to_utf16(options.line_feed);
    init.xcLineFeed = line_feed16;
    int32_t code = iCalcInitialize(&init);
    int status = EXIT_FAILURE;
    if (code == ORDODLL_RESULT_OK) {
        Session session = {.client = client, .options = &options};
        status = run(&session, argc, argv, first);
        iCalcFinalize(client);
    } else {
        report_error(code, NULL);
    }
    free(line_feed16);
    symbols_free(&options.symbols);
    return status;
}
