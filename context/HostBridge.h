// Calls from the engine into the host's callbacks: arguments are marshalled
// into the interface's records, the host's answer turned into a value, and
// a failure code into an exception with a fixed wording.
#pragma once

#include "interface/ordo.h"
#include "values/Text.h"

namespace CalcEngine {

class Environment;
class ExpressionList;
class Object;

// Asks the host for the value of `symbol` with the evaluated `arguments`
// (null for a plain name). One reference for the caller.
Object* GetSymbolValue(Environment& environment, const WString& symbol,
                       const ExpressionList* arguments);

// Turns a host's result record into a value (one reference), or null for a
// failed call or an unknown result type. The record's buffer stays the
// caller's.
Object* CreateObjectFromResult(Environment* environment, int32_t failed, int32_t type,
                               const DTCalcResult& result);

}  // namespace CalcEngine
