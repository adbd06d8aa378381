// Mathematical and system functions.
#include "functions/FunctionRegistry.h"

namespace CalcEngine {

const std::span<const BuiltinEntry> mathFunctions;

}  // namespace CalcEngine
