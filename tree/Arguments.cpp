#include "tree/Arguments.h"

#include "tree/Nodes.h"
#include "tree/References.h"
#include "values/ICalcContext.h"

namespace CalcEngine {

void EvaluateArguments(Environment& environment, const ExpressionList& list, ArgumentList& out,
                       const WString& functionName, bool evaluateAll) {
    out.reserve(out.size() + list.Size());
    for (size_t i = 0; i < list.Size(); ++i) {
        const Expr& item = list[i];
        try {
            const auto* reference = evaluateAll ? nullptr : dynamic_cast<const VarRef*>(&item);
            Object* value = reference ? reference->Reference() : item.Evaluate(environment);
            if (reference) AddRef(value);
            out.push_back(FunctionArgument{&item, PtrWrapper(value), false});
        } catch (const Error& e) {
            throw Exception(e.GetMessage() + CurrentContext()->GetLineFeed() +
                            u"Error occurred while evaluating " + ToDecimal(i + 1) +
                            u". parameter for function " + functionName + u".");
        }
    }
}

}  // namespace CalcEngine
