// Text functions.
#include "functions/FunctionRegistry.h"

namespace CalcEngine {

const std::span<const BuiltinEntry> textFunctions;

}  // namespace CalcEngine
