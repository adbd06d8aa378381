/*
 * The public header seen from a pedantic C11 host: its version, result codes
 * and record layouts are fixed at compile time, and the functions are called
 * through the shared library, so that a C caller and the C++ library agree on
 * every record they exchange.
 */
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <ordo.h>

/* The anchors of the binary interface: its version and the result codes. */
_Static_assert(ORDODLL_VERSION == 8400, "version");
_Static_assert(ORDODLL_RESULT_OK == 0 && ORDODLL_RESULT_UNKNOWN_ERROR == -1, "result codes");
_Static_assert(ORDODLL_RESULT_UNHANDLED_EXCEPTION == -7, "result codes");

/* Records: the field order is binding, and the fields have their fixed widths. */
#define BEFORE(T, a, b) _Static_assert(offsetof(T, a) < offsetof(T, b), #T ": " #a " before " #b)
#define WIDTH(T, a, n) _Static_assert(sizeof(((T*)0)->a) == (n), #T ": width of " #a)

BEFORE(DTCalcResult, iResultBufferLength, iType);
BEFORE(DTCalcResult, iType, xResultBuffer);
WIDTH(DTCalcResult, iResultBufferLength, 4);
WIDTH(DTCalcResult, iType, 4);

BEFORE(DTCalcFormulaPreparationResult, iResultBufferLength, iFlags);
BEFORE(DTCalcFormulaPreparationResult, iFlags, iType);
BEFORE(DTCalcFormulaPreparationResult, iType, xResultBuffer);

BEFORE(DTCalcInit, iVersion, xGetSymbolValueFunc);
BEFORE(DTCalcInit, xGetSymbolValueFunc, xWriteLogEntryFunc);
BEFORE(DTCalcInit, xWriteLogEntryFunc, xOnExternalObjectReferenceCreatedFunc);
BEFORE(DTCalcInit, xOnExternalObjectReferenceCreatedFunc, xOnExternalFunctionCallCreatedFunc);
BEFORE(DTCalcInit, xOnExternalFunctionCallCreatedFunc, xcLineFeed);
BEFORE(DTCalcInit, xcLineFeed, xxClientHandle);
BEFORE(DTCalcInit, xxClientHandle, iFlags);
BEFORE(DTCalcInit, iFlags, iQuota);
BEFORE(DTCalcInit, iQuota, cExpressionListSeparator);
BEFORE(DTCalcInit, cExpressionListSeparator, cDecimalSeparator);
WIDTH(DTCalcInit, iVersion, 4);
WIDTH(DTCalcInit, cExpressionListSeparator, 1);
WIDTH(DTCalcInit, cDecimalSeparator, 1);

BEFORE(DTCalcFunctionParameter, xcDescription, iFlags);
BEFORE(DTCalcFunctionParameter, iFlags, iType);
BEFORE(DTCalcFunctionParameter, iType, xdtNext);

BEFORE(DTCalcFunction, xcName, xcSecondaryName);
BEFORE(DTCalcFunction, xcSecondaryName, xcCategory);
BEFORE(DTCalcFunction, xcCategory, xdtParameters);
BEFORE(DTCalcFunction, xdtParameters, iFlags);
BEFORE(DTCalcFunction, iFlags, iResultType);
BEFORE(DTCalcFunction, iResultType, xFunctionHandler);

BEFORE(DTCalcFunctionParameterValue, xValue, xcDescription);
BEFORE(DTCalcFunctionParameterValue, xcDescription, xcLabel);
BEFORE(DTCalcFunctionParameterValue, xcLabel, iFlags);
BEFORE(DTCalcFunctionParameterValue, iFlags, iType);
BEFORE(DTCalcFunctionParameterValue, iType, xdtNext);

BEFORE(DTCalcFunctionVarRefParameterValue, xcIdentifier, xdtParameters);

BEFORE(DTExternalObjectReferenceData, xcSymbol, xdtConstParams);
BEFORE(DTExternalObjectReferenceData, xdtConstParams, iFlags);
BEFORE(DTExternalObjectReferenceData, iFlags, iStartPos);

_Static_assert(sizeof(char16_t) == 2, "text is UTF-16");

static int failures = 0;

#define CHECK(condition)                                                                  \
    do {                                                                                  \
        if (!(condition)) {                                                               \
            fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #condition); \
            ++failures;                                                                   \
        }                                                                                 \
    } while (0)

static int u16_equal(const char16_t* a, const char16_t* b) {
    while (*a != 0 && *a == *b) {
        ++a, ++b;
    }
    return *a == *b;
}

static void test_error_strings(void) {
    static const struct {
        int32_t code;
        const char16_t* text;
    } kCases[] = {
        {ORDODLL_RESULT_OK, u"No error"},
        {ORDODLL_RESULT_UNKNOWN_ERROR, u"Unknown error"},
        {ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR, u"Illegal parameter error"},
        {ORDODLL_RESULT_PARSE_ERROR, u"Parse error"},
        {ORDODLL_RESULT_EVALUATION_ERROR, u"Evaluation error"},
        {ORDODLL_RESULT_INCOMPATIBLE_INTERFACE_VERSION_ERROR,
         u"Incompatible ordo.dll interface error"},
        {ORDODLL_RESULT_QUOTA_EXCEEDED_ERROR,
         u"The formula was too complex for allocated calculation quota"},
        {ORDODLL_RESULT_UNHANDLED_EXCEPTION, u"Unhandled exception error"},
        {-8, u"Unknown error"},
        {1, u"Unknown error"},
        {INT32_MIN, u"Unknown error"},
        {INT32_MAX, u"Unknown error"},
    };
    for (size_t i = 0; i < sizeof kCases / sizeof kCases[0]; ++i) {
        const char16_t* text = xcCalcGetErrorString(kCases[i].code);
        if (text == NULL || !u16_equal(text, kCases[i].text)) {
            fprintf(stderr, "wrong error string for code %d\n", (int)kCases[i].code);
            ++failures;
        }
    }
}

static int log_calls = 0;

static int32_t write_log(const char16_t* text, int32_t priority) {
    (void)text, (void)priority;
    ++log_calls;
    return ORDODLL_RESULT_OK;
}

static DTCalcInit make_init(void** client) {
    DTCalcInit init = {
        .iVersion = ORDODLL_VERSION,
        .xWriteLogEntryFunc = write_log,
        .xxClientHandle = client,
        .iFlags = ORDODLL_FLAG_FORCE_FLOAT_RESULT,
    };
    return init;
}

/* A round trip through every record the host fills or reads for one formula. */
static void test_calculation(void) {
    void* client = NULL;
    DTCalcInit init = make_init(&client);
    log_calls = 0;
    CHECK(iCalcInitialize(&init) == ORDODLL_RESULT_OK);
    CHECK(client != NULL && log_calls == 1);
    if (client == NULL) {
        return;
    }

    DTCalcFormulaPreparationResult prepared = {0};
    void* handle = NULL;
    CHECK(iCalcPrepareFormula(client, u"1+2", &prepared, &handle, NULL) == ORDODLL_RESULT_OK);
    CHECK(handle != NULL);
    CHECK(prepared.iType == 0 && prepared.xResultBuffer == NULL);
    CHECK(prepared.iFlags & ORDODLL_PREPARED_FORMULA_FLAG_CONST);

    DTCalcResult result = {0};
    CHECK(iCalcCalculate(client, handle, &result, NULL) == ORDODLL_RESULT_OK);
    CHECK(result.iType == ORDODLL_FUNCTION_RESULT_TYPE_NUMBER);
    CHECK(result.iResultBufferLength == sizeof(double));
    if (result.xResultBuffer != NULL && result.iResultBufferLength == sizeof(double)) {
        double value;
        memcpy(&value, result.xResultBuffer, sizeof value);
        CHECK(value == 3.0);
    }
    CHECK(iCalcFreeMemory(result.xResultBuffer) == ORDODLL_RESULT_OK);
    if (handle != NULL) {
        CHECK(iCalcFreeFormula(client, handle) == ORDODLL_RESULT_OK);
    }
    CHECK(iCalcFinalize(client) == ORDODLL_RESULT_OK);
}

static int32_t seven(int32_t flags, struct DTCalcFunctionParameterValue* parameters, void* data,
                     DTCalcResult* result) {
    (void)flags, (void)parameters, (void)data;
    double* value = xCalcAllocateMemory(sizeof *value);
    *value = 7;
    result->iType = ORDODLL_FUNCTION_RESULT_TYPE_NUMBER;
    result->iResultBufferLength = sizeof *value;
    result->xResultBuffer = (char16_t*)value;
    return ORDODLL_RESULT_OK;
}

/* A copy of `text` in memory of its own, so that releasing it is seen. */
static char16_t* u16_copy(const char16_t* text) {
    size_t units = 1;
    while (text[units - 1] != 0) {
        ++units;
    }
    char16_t* copy = malloc(units * sizeof *copy);
    memcpy(copy, text, units * sizeof *copy);
    return copy;
}

/* The library keeps copies of what the start-up and registration records
   hold: the host releases them, and its client and function go on. */
static void test_records_are_copied(void) {
    void* client = NULL;
    DTCalcInit* init = malloc(sizeof *init);
    *init = make_init(&client);
    init->xcLineFeed = u16_copy(u"\n");
    CHECK(iCalcInitialize(init) == ORDODLL_RESULT_OK);
    free((void*)init->xcLineFeed);
    free(init);

    DTCalcFunctionParameter* parameter = malloc(sizeof *parameter);
    *parameter = (DTCalcFunctionParameter){u16_copy(u"any"), 0, ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBER,
                                           NULL};
    DTCalcFunction* function = malloc(sizeof *function);
    *function = (DTCalcFunction){u16_copy(u"Seven"), NULL, NULL, parameter, 0,
                                 ORDODLL_FUNCTION_RESULT_TYPE_NUMBER, seven};
    CHECK(iCalcRegisterFunction(client, function) == ORDODLL_RESULT_OK);
    free((void*)function->xcName);
    free((void*)parameter->xcDescription);
    free(parameter);
    free(function);

    DTCalcResult result = {0};
    CHECK(iCalcCalculateFormula(client, u"seven(1) * 2", &result, NULL) == ORDODLL_RESULT_OK);
    double value = 0;
    if (result.iResultBufferLength == sizeof value) {
        memcpy(&value, result.xResultBuffer, sizeof value);
    }
    CHECK(value == 14.0);
    iCalcFreeMemory(result.xResultBuffer);
    CHECK(iCalcFinalize(client) == ORDODLL_RESULT_OK);
}

/* What a refused or failed call leaves in the host's records. */
static void test_failures_leave_records(void) {
    void* client = NULL;
    DTCalcInit init = make_init(&client);
    CHECK(iCalcInitialize(&init) == ORDODLL_RESULT_OK);

    DTCalcFormulaPreparationResult prepared = {.iFlags = 77};
    void* handle = &prepared;
    CHECK(iCalcPrepareFormula(client, u"1+", &prepared, &handle, NULL) ==
          ORDODLL_RESULT_PARSE_ERROR);
    CHECK(handle == NULL && prepared.iFlags == 77);
    CHECK(prepared.iType == ORDODLL_FUNCTION_RESULT_TYPE_STRING && prepared.xResultBuffer != NULL);
    iCalcFreeMemory(prepared.xResultBuffer);

    DTCalcResult untouched = {5, 99, NULL};
    CHECK(iCalcCalculate(client, NULL, &untouched, NULL) == ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR);
    CHECK(untouched.iResultBufferLength == 5 && untouched.iType == 99);
    CHECK(iCalcCalculateFormula(client, u"1+2", NULL, NULL) ==
          ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR);
    CHECK(iCalcFinalize(client) == ORDODLL_RESULT_OK);
}

int main(void) {
    test_error_strings();
    test_calculation();
    test_records_are_copied();
    test_failures_leave_records();
    if (failures != 0) {
        fprintf(stderr, "%d check(s) failed\n", failures);
        return 1;
    }
    puts("C header test passed");
    return 0;
}
