/*
 * A host that loads the library at run time, as plug-in hosts and language
 * bindings do: the library must fit into the thread-local space that the C
 * library keeps for modules loaded late, and work from there.
 *
 *   ordo_dlopen_test PATH-OF-LIBORDO
 */
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

#include <ordo.h>

typedef int32_t (*Initialize)(DTCalcInit*);
typedef int32_t (*CalculateFormula)(void*, const char16_t*, DTCalcResult*, void*);
typedef int32_t (*FreeMemory)(void*);
typedef int32_t (*Finalize)(void*);

static int32_t IgnoreLog(const char16_t* text, int32_t priority) {
    (void)text;
    (void)priority;
    return ORDODLL_RESULT_OK;
}

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    Initialize initialize = (Initialize)dlsym(library, "iCalcInitialize");
    CalculateFormula calculate = (CalculateFormula)dlsym(library, "iCalcCalculateFormula");
    FreeMemory freeMemory = (FreeMemory)dlsym(library, "iCalcFreeMemory");
    Finalize finalize = (Finalize)dlsym(library, "iCalcFinalize");
    if (!initialize || !calculate || !freeMemory || !finalize) return 1;

    void* client = NULL;
    DTCalcInit init;
    memset(&init, 0, sizeof init);
    init.iVersion = ORDODLL_VERSION;
    init.xxClientHandle = &client;
    init.xWriteLogEntryFunc = IgnoreLog;
    init.iFlags = ORDODLL_FLAG_FORCE_FLOAT_RESULT;
    if (initialize(&init) != ORDODLL_RESULT_OK) return 1;
    /* Random() and a list reach the engine's thread-local state. */
    DTCalcResult result;
    memset(&result, 0, sizeof result);
    int32_t code = calculate(client, u"Sum([1..4]) + 0 * Random()", &result, NULL);
    double value = 0;
    if (code == ORDODLL_RESULT_OK) memcpy(&value, result.xResultBuffer, sizeof value);
    freeMemory(result.xResultBuffer);
    finalize(client);
    if (code != ORDODLL_RESULT_OK || value != 10) {
        fprintf(stderr, "code %d, value %g\n", (int)code, value);
        return 1;
    }
    return dlclose(library) == 0 ? 0 : 1;
}
