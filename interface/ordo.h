/*
 * ordo.h - the C interface of the Ordo formula-calculation library.
 *
 * A host creates a client with iCalcInitialize, prepares formula text into a
 * handle with iCalcPrepareFormula, calculates the handle with iCalcCalculate
 * as often as it likes (from any number of threads), frees it with
 * iCalcFreeFormula and ends with iCalcFinalize.
 *
 * Text crossing this boundary is zero-terminated UTF-16 (char16_t), except
 * the two one-byte separators of DTCalcInit.
 *
 * Memory: every buffer that crosses the boundary comes from
 * xCalcAllocateMemory. Buffers the library hands out (result texts, numbers)
 * belong to the host, which releases them with iCalcFreeMemory. Buffers the
 * host hands to the library from a callback must come from
 * xCalcAllocateMemory; the library releases them.
 *
 * Every function returns an ENTCalcErrorCode (0 or negative) unless stated.
 * No C++ exception ever leaves this interface.
 *
 * Handles: a client handle and a formula handle are opaque values, not
 * pointers. A client handle lives from iCalcInitialize to iCalcFinalize; a
 * formula handle from the first iCalcPrepareFormula that gave it until as
 * many iCalcFreeFormula calls as preparations gave it, or until its client
 * is finalised. Every function checks the handles it is given: a null
 * handle, an ended one, a formula handle passed with a client other than
 * the one that prepared it, or a handle of the wrong kind answers
 * ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR (-2) and changes nothing. The
 * check is exact for every value the library handed out, however long ago;
 * a value it never handed out (a stray pointer) is not detected. Ending a
 * handle while another thread still uses it is not detected either: the
 * host must not make the last free of a formula, or finalise a client,
 * while another thread calculates with it.
 */
#ifndef ORDO_H
#define ORDO_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#else
#include <uchar.h>
#endif

#if defined(__GNUC__)
#define ORDO_API __attribute__((visibility("default")))
#else
#define ORDO_API
#endif

/* ENTCalcConstants */
enum ENTCalcConstants {
    ORDODLL_VERSION = 8400 /* OrdoDLL version number */
};

/* ENTCalcErrorCode */
enum ENTCalcErrorCode {
    ORDODLL_RESULT_OK = 0,                                    /* No error. */
    ORDODLL_RESULT_UNKNOWN_ERROR = -1,                        /* Unknown error */
    ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR = -2,              /* Illegal parameter */
    ORDODLL_RESULT_PARSE_ERROR = -3,                          /* Error parsing formula */
    ORDODLL_RESULT_EVALUATION_ERROR = -4,                     /* Error evaluating formula */
    ORDODLL_RESULT_INCOMPATIBLE_INTERFACE_VERSION_ERROR = -5, /* Ordo.dll interface mismatch */
    /* The formula was too complex for allocated calculation quota */
    ORDODLL_RESULT_QUOTA_EXCEEDED_ERROR = -6,
    ORDODLL_RESULT_UNHANDLED_EXCEPTION = -7 /* Unhandled exception occured */
};

/* ENTCalcLogEntryPriority */
enum ENTCalcLogEntryPriority {
    ORDODLL_LOG_ENTRY_PRIORITY_CRITICAL_ERROR = 1, /* Log entry priority: Critical error */
    ORDODLL_LOG_ENTRY_PRIORITY_ERROR = 2,          /* Log entry priority: Error */
    ORDODLL_LOG_ENTRY_PRIORITY_WARNING = 3,        /* Log entry priority: Warning */
    ORDODLL_LOG_ENTRY_PRIORITY_NOTIFICATION = 4,   /* Log entry priority: Notification */
    ORDODLL_LOG_ENTRY_PRIORITY_DEBUG = 5,          /* Log entry priority: Debug */
    ORDODLL_LOG_ENTRY_PRIORITY_INFORMATION = 6     /* Log entry priority: Information */
};

/* ENTCalcFlags: bits of DTCalcInit.iFlags */
enum ENTCalcFlags {
    ORDODLL_FLAG_DEFAULT = 0,                            /* Default flags */
    ORDODLL_FLAG_FORCE_FLOAT_RESULT = 1,                 /* Force float result */
    ORDODLL_FLAG_FORCE_NUMBER_SYMBOL_PARAMETER_TYPE = 2, /* Force number symbol parameter type */
    ORDODLL_FLAG_FORCE_FLOAT_OR_STRING_RESULT = 4        /* Force float or string result */
};

/* ENTCalcExternalObjectReferenceFlags */
enum ENTCalcExternalObjectReferenceFlags {
    ORDODLL_EXTERNAL_OBJECT_REFERENCE_FLAG_DEFAULT = 0,          /* Default flags */
    ORDODLL_EXTERNAL_OBJECT_REFERENCE_FLAG_EMPTY_PARAM_LIST = 1, /* Empty parameter list */
    ORDODLL_EXTERNAL_OBJECT_REFERENCE_FLAG_CONST_VALUE = 2       /* Const value */
};

/* ENTCalcFunctionFlags */
enum ENTCalcFunctionFlags {
    ORDODLL_FUNCTION_PARAMETER_FLAG_DEFAULT = 0,    /* Default flags */
    ORDODLL_FUNCTION_PARAMETER_FLAG_ONE_OR_MORE = 1 /* One or more times */
};

/* ENTCalcFunctionParameterType */
enum ENTCalcFunctionParameterType {
    ORDODLL_FUNCTION_PARAMETER_TYPE_STRING = 1,     /* String parameter */
    ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBERLIST = 2, /* Numberlist parameter */
    ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBER = 3,     /* Number parameter */
    ORDODLL_FUNCTION_PARAMETER_TYPE_VARREF = 4      /* Variable reference parameter */
};

/* ENTCalcFunctionResultType */
enum ENTCalcFunctionResultType {
    ORDODLL_FUNCTION_RESULT_TYPE_UNKNOWN = 0,        /* Unknown result */
    ORDODLL_FUNCTION_RESULT_TYPE_STRING = 1,         /* String result */
    ORDODLL_FUNCTION_RESULT_TYPE_NUMBERLIST = 2,     /* Numberlist result */
    ORDODLL_FUNCTION_RESULT_TYPE_NUMBER = 3,         /* Number result */
    ORDODLL_FUNCTION_RESULT_TYPE_RAW_NUMBERLIST = 4, /* Raw numberlist result */
    ORDODLL_FUNCTION_RESULT_TYPE_RAW_NUMBER = 5      /* Raw number result */
};

/* ENTCalcPreparedFormulaFlags */
enum ENTCalcPreparedFormulaFlags {
    ORDODLL_PREPARED_FORMULA_FLAG_DEFAULT = 0,         /* Default flags */
    ORDODLL_PREPARED_FORMULA_FLAG_CONST = 1,           /* The function is const */
    ORDODLL_PREPARED_FORMULA_FLAG_CONST_REFERENCES = 2 /* The function is const via reference */
};

/* ENTCalcGetSymbolValueFlags */
enum ENTCalcGetSymbolValueFlags {
    ORDODLL_GET_SYMBOL_VALUE_FLAG_DEFAULT = 0,    /* Default flags */
    ORDODLL_GET_SYMBOL_VALUE_FLAG_IGNORE_NULL = 1 /* Ignore null */
};

/* ENTCalcExternalFunctionFlags */
enum ENTCalcExternalFunctionFlags {
    ORDODLL_EXTERNAL_FUNCTION_FLAG_DEFAULT = 0, /* Default flags */
    ORDODLL_EXTERNAL_FUNCTION_FLAG_CONST = 1 /* Constant value when used with constant parameters */
};

/* ENTCalcExternalFunctionHandlerFlags */
enum ENTCalcExternalFunctionHandlerFlags {
    ORDODLL_EXTERNAL_FUNCTION_HANDLER_FLAG_DEFAULT = 0,    /* Default flags */
    ORDODLL_EXTERNAL_FUNCTION_HANDLER_FLAG_IGNORE_NULL = 1 /* Ignore null */
};

/*
 * DTCalcResult: the outcome of a calculation, and what a host callback hands
 * back. xResultBuffer holds, by iType, a 64-bit float, a zero-terminated
 * UTF-16 text, or a number list (a uint64 count followed by that many
 * doubles). iResultBufferLength is its length in bytes; 0 means no buffer.
 */
typedef struct DTCalcResult {
    int32_t iResultBufferLength;
    int32_t iType;
    char16_t* xResultBuffer;
} DTCalcResult;

/*
 * DTCalcFormulaPreparationResult: the outcome of iCalcPrepareFormula. On
 * failure xResultBuffer holds the error text and iResultBufferLength its
 * length in characters, terminator included (characters, not bytes).
 */
typedef struct DTCalcFormulaPreparationResult {
    int32_t iResultBufferLength;
    int32_t iFlags; /* ENTCalcPreparedFormulaFlags bits */
    int32_t iType;  /* 0 on success, ORDODLL_FUNCTION_RESULT_TYPE_STRING on failure */
    char16_t* xResultBuffer;
} DTCalcFormulaPreparationResult;

struct DTCalcFunctionParameterValue;
struct DTExternalObjectReferenceData;

/*
 * Host callbacks. Each returns an ENTCalcErrorCode; 0 means success, and any
 * other answer fails the library call that made it. vxData is the host's
 * pointer passed to that call.
 *
 * TCalcGetSymbolValueFunc: the value of a symbol (a name in a formula that
 * is no known function), asked at every calculation. vxdtParameters is the
 * symbol's evaluated arguments, null for none; viFlags has
 * ORDODLL_GET_SYMBOL_VALUE_FLAG_IGNORE_NULL while the formula ignores nulls.
 * The host puts a buffer from xCalcAllocateMemory into vxdtResult, which the
 * library frees, also when the answer is a failure.
 *
 * TCalcOnExternalObjectReferenceCreatedFunc (optional): told of each symbol
 * reference at every preparation, also of a cached text, arguments before
 * the symbol that has them. xdtConstParams holds the arguments when all are
 * constant. Setting ORDODLL_EXTERNAL_OBJECT_REFERENCE_FLAG_CONST_VALUE in
 * iFlags says that the symbol's value never changes; a formula whose every
 * reference says so is calculated once, at preparation.
 */
typedef int32_t (*TCalcGetSymbolValueFunc)(const char16_t* vxcSymbol,
                                           struct DTCalcFunctionParameterValue* vxdtParameters,
                                           int32_t viFlags, DTCalcResult* vxdtResult, void* vxData);
typedef int32_t (*TCalcWriteLogEntryFunc)(const char16_t* vxcText, int32_t viPriority);
typedef int32_t (*TCalcOnExternalObjectReferenceCreatedFunc)(
    struct DTExternalObjectReferenceData* vxdtData, void* vxData);
typedef int32_t (*TCalcOnExternalFunctionCallCreatedFunc)(const char16_t* vxcName, void* vxData);

/*
 * The handler of a host-registered function: viFlags has
 * ORDODLL_EXTERNAL_FUNCTION_HANDLER_FLAG_IGNORE_NULL while the formula
 * ignores nulls; vxdtParameters is the argument array (null for none), which
 * the library owns and frees after the call, each xValue with
 * iCalcFreeMemory; vxdtResult receives the result as the registration's
 * iResultType says, in a buffer from xCalcAllocateMemory. A non-zero answer
 * fails the calculation, with the text left in vxdtResult as its message.
 */
typedef int32_t (*TCalcFunctionHandler)(int32_t viFlags,
                                        struct DTCalcFunctionParameterValue* vxdtParameters,
                                        void* vxData, DTCalcResult* vxdtResult);

/*
 * DTCalcInit: the start-up record. The field order is binding.
 * xWriteLogEntryFunc must not be null. xGetSymbolValueFunc may be null for
 * formulas without symbols: a calculation that asks for a symbol then fails
 * with -4 and the message "Error: no symbol value callback to evaluate
 * external symbol: " and the symbol. A null xcLineFeed means "\r\n".
 * iQuota 0 means no quota. A separator of 0 means the default
 * ("," for expression lists, "." for decimals).
 */
typedef struct DTCalcInit {
    int32_t iVersion;
    TCalcGetSymbolValueFunc xGetSymbolValueFunc;
    TCalcWriteLogEntryFunc xWriteLogEntryFunc;
    TCalcOnExternalObjectReferenceCreatedFunc xOnExternalObjectReferenceCreatedFunc;
    TCalcOnExternalFunctionCallCreatedFunc xOnExternalFunctionCallCreatedFunc;
    const char16_t* xcLineFeed;
    void** xxClientHandle;
    int32_t iFlags;
    int32_t iQuota;
    unsigned char cExpressionListSeparator;
    unsigned char cDecimalSeparator;
} DTCalcInit;

/* DTCalcFunctionParameter: one declared parameter of a host function. */
typedef struct DTCalcFunctionParameter {
    const char16_t* xcDescription;
    int32_t iFlags; /* ENTCalcFunctionFlags bits */
    int32_t iType;  /* ENTCalcFunctionParameterType */
    struct DTCalcFunctionParameter* xdtNext;
} DTCalcFunctionParameter;

/* DTCalcFunction: what iCalcRegisterFunction receives; copied by the library. */
typedef struct DTCalcFunction {
    const char16_t* xcName;
    const char16_t* xcSecondaryName;
    const char16_t* xcCategory;
    DTCalcFunctionParameter* xdtParameters;
    int32_t iFlags;      /* ENTCalcExternalFunctionFlags bits */
    int32_t iResultType; /* ENTCalcFunctionResultType */
    TCalcFunctionHandler xFunctionHandler;
} DTCalcFunction;

/* DTCalcFunctionParameterValue: one actual argument; an array also linked by xdtNext. */
typedef struct DTCalcFunctionParameterValue {
    void*
        xValue; /* by iType: double, UTF-16 text, number list, DTCalcFunctionVarRefParameterValue */
    const char16_t* xcDescription;
    const char16_t* xcLabel; /* the argument's label, empty when it has none */
    int32_t iFlags;
    int32_t iType; /* ENTCalcFunctionParameterType */
    struct DTCalcFunctionParameterValue* xdtNext;
} DTCalcFunctionParameterValue;

/* DTCalcFunctionVarRefParameterValue: value of a VARREF parameter. */
typedef struct DTCalcFunctionVarRefParameterValue {
    const char16_t* xcIdentifier;
    DTCalcFunctionParameterValue* xdtParameters;
} DTCalcFunctionVarRefParameterValue;

/* DTExternalObjectReferenceData: what the host is told of a symbol reference. */
typedef struct DTExternalObjectReferenceData {
    const char16_t* xcSymbol;
    DTCalcFunctionParameterValue* xdtConstParams; /* all-constant arguments, else null */
    int32_t iFlags; /* ENTCalcExternalObjectReferenceFlags; read back after the callback */
    int32_t iStartPos;
} DTExternalObjectReferenceData;

/* Allocate memory. The library's own allocator; no check beyond the allocator's. */
ORDO_API void* xCalcAllocateMemory(size_t viBytes);

/* Free memory allocated by xCalcAllocateMemory. Accepts null; always returns 0. */
ORDO_API int32_t iCalcFreeMemory(void* vxMem);

/*
 * DLL initialization function. Fails with -5 when iVersion is not
 * ORDODLL_VERSION, leaving *xxClientHandle unwritten, and with -2 when the
 * record, xxClientHandle or xWriteLogEntryFunc is null. On success writes
 * the client handle through xxClientHandle and a notification to the log;
 * when that log callback fails, answers -1 and no client is made.
 */
ORDO_API int32_t iCalcInitialize(DTCalcInit* vxdtInit);

/*
 * Prepare formula. Stores null through vxHandle first (when it is not
 * null), then answers -2, preparing nothing, when vxcFormula, vxdtResult or
 * vxHandle is null or vxClientHandle is not a live client handle. On
 * success stores the formula handle and its flags. On a parse error answers
 * -3 with the error text in vxdtResult->xResultBuffer (host frees it).
 * Preparing a text again while its handle is held gives the same handle
 * with one more use, and each use needs its own iCalcFreeFormula. The first
 * of those frees ends the sharing: a later preparation of the text parses
 * it anew into a new handle. The flags:
 * ORDODLL_PREPARED_FORMULA_FLAG_CONST when nothing in the formula varies but
 * its symbols, ORDODLL_PREPARED_FORMULA_FLAG_CONST_REFERENCES when no symbol
 * varies either (no symbols, or the host called each constant); a formula
 * with both is calculated here, once, and every calculation returns that
 * result.
 */
ORDO_API int32_t iCalcPrepareFormula(void* vxClientHandle, const char16_t* vxcFormula,
                                     DTCalcFormulaPreparationResult* vxdtResult, void** vxHandle,
                                     void* vxData);

/*
 * Calculate prepared formula. Answers -2 when vxdtResult is null,
 * vxClientHandle is not a live client handle, or vxHandle is not a live
 * formula handle prepared through that client. Takes no lock: any number
 * of threads may calculate at once, also with the same handle. The result
 * buffer belongs to the host.
 */
ORDO_API int32_t iCalcCalculate(void* vxClientHandle, void* vxHandle, DTCalcResult* vxdtResult,
                                void* vxData);

/*
 * Calculate formula: prepare, calculate and free in one call, with the
 * rules of the three. On a parse error answers -3 with an empty result
 * record.
 */
ORDO_API int32_t iCalcCalculateFormula(void* vxClientHandle, const char16_t* formula,
                                       DTCalcResult* vxdtResult, void* vxData);

/*
 * Free resources allocated by prepared formula: ends one use of vxHandle,
 * and the handle itself with its last use. Answers -2, changing nothing,
 * when vxClientHandle is not a live client handle or vxHandle is not a live
 * formula handle of that client: freed more often than prepared, prepared
 * through another client, or ended with its client.
 */
ORDO_API int32_t iCalcFreeFormula(void* vxClientHandle, void* vxHandle);

/*
 * Register a host function: formulas prepared from now on call it by its
 * name or second name (in any case), which it takes over from any earlier
 * function, a builtin too; formulas prepared before keep their binding. The
 * library copies all it needs from the record. A formula's arguments reach
 * the handler as the declared parameter types; a parameter of an unknown
 * type is left out. -2 for a client handle that is not live, or a null
 * record or handler. Safe while other threads calculate.
 */
ORDO_API int32_t iCalcRegisterFunction(void* vxClientHandle, DTCalcFunction* vxdtFunction);

/*
 * Free resources allocated by ordo.dll client. Null is accepted and answers
 * 0. Ends the client handle and every formula handle still prepared through
 * it, whose formulas are deleted: later use of any of them answers -2. A
 * handle that is not a live client handle, such as one already finalised,
 * answers -2. No other thread may use the client or its formulas meanwhile.
 */
ORDO_API int32_t iCalcFinalize(void* vxClientHandle);

/* Get error string: a static text, never freed. Unknown codes give "Unknown error". */
ORDO_API const char16_t* xcCalcGetErrorString(int32_t viErrorCode);

#ifdef __cplusplus
}
#endif

#endif /* ORDO_H */
