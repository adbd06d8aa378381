// The functions a client knows, found by name. Built with the library's
// builtins; a function added later under a name takes that name over.
// Adding happens under the prepare lock, while other threads may be finding
// (a formula that Evaluate prepares during a calculation): a reader works on
// a snapshot of the names, which an addition replaces as a whole. Functions
// live until the registry goes.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <span>
#include <vector>

#include "functions/Function.h"

namespace CalcEngine {

class FunctionRegistry {
public:
    FunctionRegistry();

    // Takes `function` over and files it under its name and its alias,
    // lower-cased; an earlier function under either name loses that name.
    void Add(std::unique_ptr<ICalcFunction> function);
    // The function called `name` in any case, or null. One trailing '_' is
    // not part of the name: it marks the call to ignore nulls, and
    // `trailingMark` tells whether it was there.
    const ICalcFunction* Find(const WString& name, bool& trailingMark) const;

    // All functions, in the order they were added.
    const std::vector<std::unique_ptr<ICalcFunction>>& Functions() const { return functions; }

private:
    using Names = std::map<WString, const ICalcFunction*>;

    // Takes `function` over, under its names in `names`.
    void File(Names& names, std::unique_ptr<ICalcFunction> function);

    std::vector<std::unique_ptr<ICalcFunction>> functions;
    std::atomic<std::shared_ptr<const Names>> byName{std::make_shared<const Names>()};
};

// The registration tables of the builtin families.
extern const std::span<const BuiltinEntry> controlFunctions;
extern const std::span<const BuiltinEntry> conversionFunctions;
extern const std::span<const BuiltinEntry> dateFunctions;
extern const std::span<const BuiltinEntry> financeFunctions;
extern const std::span<const BuiltinEntry> listFunctions;
extern const std::span<const BuiltinEntry> mathFunctions;
extern const std::span<const BuiltinEntry> networkPlanningFunctions;
extern const std::span<const BuiltinEntry> textFunctions;

}  // namespace CalcEngine
