/*
 * ordo.h - the C interface of the Ordo formula-calculation library.
 *
 * Link with -lordo (pkg-config module "ordo", CMake target Ordo::ordo).
 * The header compiles as C11 and as C++.
 *
 * USE
 *
 * A host creates a client with iCalcInitialize, adds its own functions with
 * iCalcRegisterFunction, prepares formula text into a formula handle with
 * iCalcPrepareFormula, calculates that handle with iCalcCalculate as often
 * as it likes, frees it with iCalcFreeFormula and ends the client with
 * iCalcFinalize. iCalcCalculateFormula prepares, calculates and frees in one
 * call. Text crossing the interface is zero-terminated UTF-16 (char16_t),
 * except the two one-byte separators of DTCalcInit.
 *
 * RESULT CODES
 *
 * Every function but xCalcAllocateMemory and xcCalcGetErrorString answers
 * an ENTCalcErrorCode: ORDODLL_RESULT_OK (0) or a negative code, whose text
 * xcCalcGetErrorString gives. No C++ exception ever leaves the library.
 * A fault (SIGSEGV, SIGBUS, SIGFPE, SIGILL) or a C++ exception inside
 * iCalcPrepareFormula, iCalcCalculate, iCalcCalculateFormula or
 * iCalcFreeFormula, in the library or in a host callback that the call
 * made, ends that call with ORDODLL_RESULT_UNHANDLED_EXCEPTION (-7) and a
 * crash report at ORDODLL_LOG_ENTRY_PRIORITY_CRITICAL_ERROR through the
 * client's log callback; the process and the client go on. For this the
 * first of those calls installs process-wide handlers for the four signals,
 * which hand every fault outside such a call to the handler installed
 * before them (a host that replaces them later loses the guard), and each
 * thread that makes such a call gets a 64 KiB alternate signal stack unless
 * it has one, released when the thread ends.
 *
 * MEMORY
 *
 * Every buffer that changes owner crosses the interface as memory of
 * xCalcAllocateMemory, and the side that receives it releases it:
 *  - A buffer the library hands out (the xResultBuffer of a DTCalcResult
 *    that a calculation filled, the error text of a failed preparation)
 *    belongs to the host, which releases it once with iCalcFreeMemory.
 *  - A buffer the host hands in (the xResultBuffer of the DTCalcResult that
 *    a symbol callback or a function handler fills) must come from
 *    xCalcAllocateMemory; the library releases it, whatever the callback
 *    answered.
 * Everything else the library passes to a callback (texts, parameter
 * arrays and their values, the DTExternalObjectReferenceData record) stays
 * the library's and is valid only until the callback returns: the host
 * neither frees nor keeps it. Records and texts the host passes in stay the
 * host's: the library copies what it keeps (the settings of DTCalcInit,
 * the whole DTCalcFunction record, the formula text) and holds no pointer
 * into them once the call has returned. vxData is never dereferenced.
 *
 * A host sets every result record to zeros before the call: a call that
 * fails before its work leaves the record as it was, so that releasing its
 * xResultBuffer with iCalcFreeMemory is right after every answer.
 *
 * HANDLES
 *
 * A client handle and a formula handle are opaque values, not pointers. A
 * client handle lives from the iCalcInitialize that wrote it until
 * iCalcFinalize. A formula handle lives from the first iCalcPrepareFormula
 * that gave it until as many iCalcFreeFormula calls as preparations gave
 * it, or until its client is finalised. A handle that has ended is never
 * handed out again. Every function checks the handles it is given: a null
 * handle, an ended one, a formula handle passed with a client other than
 * the one that prepared it, or a handle of the wrong kind answers
 * ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR (-2) and changes nothing. The
 * check is exact for every value the library handed out, however long ago;
 * a value it never handed out (a stray pointer) is not detected.
 *
 * THREADS
 *
 * Any function may be called from any thread, for any number of clients.
 *  - iCalcCalculate takes no lock: any number of threads may calculate at
 *    once, with one client and with the same formula handle.
 *  - iCalcPrepareFormula, iCalcFreeFormula, iCalcRegisterFunction and
 *    iCalcFinalize take one lock shared by all clients of the process, so
 *    that parses and changes to the formula caches, the registries and the
 *    handles happen one at a time. A preparation calculates a constant
 *    formula outside the lock; iCalcCalculateFormula takes it to prepare and
 *    to free, not to calculate.
 *  - iCalcInitialize, xCalcAllocateMemory, iCalcFreeMemory and
 *    xcCalcGetErrorString may run at any time.
 *  - The one rule the library cannot check: no call may end a handle that
 *    another call is still using. The last iCalcFreeFormula of a formula
 *    must not run while another thread calculates with it, and
 *    iCalcFinalize must not run while another call with the client or one
 *    of its formulas is under way, on any thread.
 *  - Callbacks run on the thread of the library call that makes them, so
 *    the callbacks of a client run on several threads at once while several
 *    threads calculate. A callback may call back into the library. The
 *    reference and function-call callbacks run while their preparation
 *    holds the lock: they must not wait for another thread that is itself
 *    waiting for it.
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
 * doubles, one allocation). iResultBufferLength is its length in bytes; 0
 * means no buffer, which a callback's answer reads as an empty value.
 *
 * A calculation answers ORDODLL_FUNCTION_RESULT_TYPE_NUMBER (8 bytes) or
 * ORDODLL_FUNCTION_RESULT_TYPE_STRING (the text with its terminator; an
 * empty text is no buffer, length 0), as the client's flags say: by default
 * every value as its text, with ORDODLL_FLAG_FORCE_FLOAT_RESULT every value
 * as a number, with ORDODLL_FLAG_FORCE_FLOAT_OR_STRING_RESULT a single
 * number as a number and anything else, a list too, as its text. A value
 * with no number, such as a division by zero, is a success whose number is
 * the null value, a not-a-number. The buffer is the host's to release with
 * iCalcFreeMemory.
 */
typedef struct DTCalcResult {
    int32_t iResultBufferLength;
    int32_t iType;
    char16_t* xResultBuffer;
} DTCalcResult;

/*
 * DTCalcFormulaPreparationResult: the outcome of iCalcPrepareFormula. On
 * success all four fields are written, xResultBuffer null. On a parse error
 * xResultBuffer holds the error text, which the host releases with
 * iCalcFreeMemory, and iResultBufferLength its length in characters,
 * terminator included (characters, not bytes); iFlags is left as it was.
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
 * other answer fails the preparation or calculation that made it, with a
 * message that names the code. vxData is the host's pointer passed to the
 * library call that made the callback. Every pointer the library passes in
 * is valid until the callback returns, and stays the library's.
 *
 * TCalcGetSymbolValueFunc: the value of a symbol (a name in a formula that
 * is no known function), asked at every calculation. vxdtParameters is the
 * symbol's evaluated arguments, null for none; viFlags has
 * ORDODLL_GET_SYMBOL_VALUE_FLAG_IGNORE_NULL while the formula ignores nulls.
 * vxdtResult arrives zeroed; the host puts a buffer from xCalcAllocateMemory
 * into it, which the library frees, also when the answer is a failure.
 *
 * TCalcWriteLogEntryFunc: one log entry and its ENTCalcLogEntryPriority: the
 * start-up line of iCalcInitialize, the formula's Print output, crash
 * reports. It has no vxData, and runs on whichever thread made the entry.
 * A failure answered to a crash report is ignored.
 *
 * TCalcOnExternalObjectReferenceCreatedFunc (optional): told of each symbol
 * reference at every preparation, also of a cached text, arguments before
 * the symbol that has them. xdtConstParams holds the arguments when all are
 * constant. Setting ORDODLL_EXTERNAL_OBJECT_REFERENCE_FLAG_CONST_VALUE in
 * iFlags says that the symbol's value never changes; a formula whose every
 * reference says so is calculated once, at preparation.
 *
 * TCalcOnExternalFunctionCallCreatedFunc (optional): told, at every
 * preparation, of each call of a host-registered function, by its name.
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
 * the library owns and frees, with every value in it, when the handler has
 * returned; vxdtResult arrives zeroed and receives the result as the
 * registration's iResultType says, in a buffer from xCalcAllocateMemory that
 * the library frees. A non-zero answer fails the calculation, with the text
 * left in vxdtResult as its message. Handlers run on the calling thread,
 * several at once when several threads calculate.
 */
typedef int32_t (*TCalcFunctionHandler)(int32_t viFlags,
                                        struct DTCalcFunctionParameterValue* vxdtParameters,
                                        void* vxData, DTCalcResult* vxdtResult);

/*
 * DTCalcInit: the start-up record, read by iCalcInitialize only: the client
 * copies the callbacks, flags, quota, separators and the xcLineFeed text,
 * and the host may release the record and its text afterwards. The field
 * order is binding. xWriteLogEntryFunc must not be null. xGetSymbolValueFunc
 * may be null for formulas without symbols: a calculation that asks for a
 * symbol then fails with -4 and the message "Error: no symbol value callback
 * to evaluate external symbol: " and the symbol. A null xcLineFeed means
 * "\r\n"; it ends the lines of composed messages. xxClientHandle is where
 * the client handle is written. iQuota is the most formula steps one call
 * may evaluate, beyond which it answers -6; 0 means no quota, a negative
 * quota allows none. A separator of 0 means the default ("," for
 * expression lists, "." for decimals).
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

/*
 * DTCalcFunction: what iCalcRegisterFunction receives. The library copies
 * the names, the category and the parameter list; the host may release the
 * record, its texts and its parameters when the call has returned. A null
 * text counts as empty.
 */
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

/*
 * Allocate memory: viBytes bytes from the library's allocator (the C
 * library's malloc), for a buffer that a callback hands to the library.
 * Answers null when no memory is left. Release with iCalcFreeMemory.
 */
ORDO_API void* xCalcAllocateMemory(size_t viBytes);

/*
 * Free memory allocated by xCalcAllocateMemory, or a buffer the library
 * handed out; each buffer once. Accepts null; always returns 0.
 */
ORDO_API int32_t iCalcFreeMemory(void* vxMem);

/*
 * DLL initialization function: makes a client, with the builtin functions
 * and the settings of *vxdtInit. Answers -2 when the record is null, -5
 * when iVersion is not ORDODLL_VERSION, -2 when xxClientHandle or
 * xWriteLogEntryFunc is null; then *xxClientHandle is left unwritten. On
 * success writes a notification to the log, then the client handle
 * through xxClientHandle. When that log callback fails, answers -1 and no
 * client is made. The client lives until iCalcFinalize.
 */
ORDO_API int32_t iCalcInitialize(DTCalcInit* vxdtInit);

/*
 * Prepare formula: parses vxcFormula for the client and tells the host's
 * reference and function-call callbacks, with vxData, of what it refers
 * to. Stores null through vxHandle first (when it is not null), then
 * answers -2, preparing nothing, when vxcFormula, vxdtResult or vxHandle is
 * null or vxClientHandle is not a live client handle. On success stores
 * the formula handle through vxHandle and fills *vxdtResult with its flags.
 * On a parse error, or when one of those callbacks fails, answers -3 with
 * the error text in vxdtResult->xResultBuffer, which the host releases with
 * iCalcFreeMemory; *vxHandle stays null. The text is copied.
 * Preparing a text again while its handle is held gives the same handle
 * with one more use, and each use needs its own iCalcFreeFormula. The first
 * of those frees ends the sharing: a later preparation of the text parses
 * it anew into a new handle. The flags:
 * ORDODLL_PREPARED_FORMULA_FLAG_CONST when nothing in the formula varies but
 * its symbols, ORDODLL_PREPARED_FORMULA_FLAG_CONST_REFERENCES when no symbol
 * varies either (no symbols, or the host called each constant); a formula
 * with both is calculated here, once, with this call's vxData, and every
 * calculation returns a copy of that result and its code.
 */
ORDO_API int32_t iCalcPrepareFormula(void* vxClientHandle, const char16_t* vxcFormula,
                                     DTCalcFormulaPreparationResult* vxdtResult, void** vxHandle,
                                     void* vxData);

/*
 * Calculate prepared formula: evaluates the formula, asking the host's
 * callbacks, with vxData, for symbol values and host functions, and fills
 * *vxdtResult. Answers -2, leaving the record as it was, when vxdtResult is
 * null, vxClientHandle is not a live client handle, or vxHandle is not a
 * live formula handle prepared through that client. Answers 0 with the
 * value, -4 when the formula fails (a failed callback too), -6 when it
 * exceeds the client's quota; with -4 and -6 the record holds the
 * calculation's summary as a text. The result buffer belongs to the host, which releases it with
 * iCalcFreeMemory. Takes no lock: any number of threads may calculate at
 * once, also with the same handle.
 */
ORDO_API int32_t iCalcCalculate(void* vxClientHandle, void* vxHandle, DTCalcResult* vxdtResult,
                                void* vxData);

/*
 * Calculate formula: prepare, calculate and free in one call, with the
 * rules of the three. Unless vxdtResult is null, its buffer and length are
 * cleared first. Answers the first failing step's code: -2 for a null
 * vxdtResult (after the formula was prepared and freed again), -3 for a
 * parse error, whose text is not handed on: the record stays empty.
 */
ORDO_API int32_t iCalcCalculateFormula(void* vxClientHandle, const char16_t* formula,
                                       DTCalcResult* vxdtResult, void* vxData);

/*
 * Free resources allocated by prepared formula: ends one use of vxHandle,
 * and the handle itself with its last use, which must not overlap a
 * calculation with it on another thread. Answers -2, changing nothing,
 * when vxClientHandle is not a live client handle or vxHandle is not a live
 * formula handle of that client: null, freed more often than prepared,
 * prepared through another client, or ended with its client.
 */
ORDO_API int32_t iCalcFreeFormula(void* vxClientHandle, void* vxHandle);

/*
 * Register a host function: formulas prepared from now on call it by its
 * name or second name (in any case), which it takes over from any earlier
 * function, a builtin too; formulas prepared before keep their binding. The
 * library copies all it needs from the record; the function lives as long
 * as the client. A formula's arguments reach the handler as the declared
 * parameter types; a parameter of an unknown type is left out. -2 for a
 * client handle that is not live, or a null record or handler; -1 when
 * memory runs out. Safe while other threads calculate.
 */
ORDO_API int32_t iCalcRegisterFunction(void* vxClientHandle, DTCalcFunction* vxdtFunction);

/*
 * Free resources allocated by ordo.dll client. Null is accepted and answers
 * 0. Ends the client handle and every formula handle still prepared through
 * it, whose formulas are deleted, and the functions registered with it:
 * later use of any of these handles answers -2. A handle that is not a live
 * client handle, such as one already finalised, answers -2. No other call
 * may use the client or its formulas meanwhile, on any thread.
 */
ORDO_API int32_t iCalcFinalize(void* vxClientHandle);

/*
 * Get error string: the English text of an ENTCalcErrorCode, static and
 * never freed. Codes above 0 or below -7 give "Unknown error".
 */
ORDO_API const char16_t* xcCalcGetErrorString(int32_t viErrorCode);

#ifdef __cplusplus
}
#endif

#endif /* ORDO_H */
