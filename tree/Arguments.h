// The arguments of a call, one record each: the expression, its value and
// whether its evaluation failed.
#pragma once

#include <vector>

#include "tree/SymNode.h"

namespace CalcEngine {

class ExpressionList;

struct FunctionArgument {
    const Expr* node;
    // The last value, null when there is none.
    PtrWrapper value;
    // Set while the node evaluates; stays set when the evaluation ended by
    // an exception.
    bool failed = false;
};

using ArgumentList = std::vector<FunctionArgument>;

// Appends a record for each item of `list` to `out`, in order, evaluated;
// with `evaluateAll` clear a reference to a name is taken as it stands,
// unevaluated. An Error raised by an item becomes an Exception whose text
// names the item's place and `functionName`.
void EvaluateArguments(Environment& environment, const ExpressionList& list, ArgumentList& out,
                       const WString& functionName, bool evaluateAll);

}  // namespace CalcEngine
