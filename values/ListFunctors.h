// Functors over the elements of number lists, the building blocks of list
// operators and list functions: readers fold a list into one number and are
// run with std::for_each; modifiers rewrite each element in place.
#pragma once

#include "values/Object.h"

namespace CalcUtilities {

// The sum of the elements; a null element makes it null for good.
class UnSumFunc {
public:
    void operator()(double x) {
        if (!CalcEngine::IsNull(sum)) sum += x;
    }
    double Result() const { return sum; }

private:
    double sum = 0.0;
};

// Logical combinations of each element with a scalar: 1.0 or 0.0, with a
// null counting as not 0.0.
struct BinScalarLAndFunc {
    double scalar;
    void operator()(double& x) const { x = (x != 0.0 && scalar != 0.0) ? 1.0 : 0.0; }
};

struct BinScalarLOrFunc {
    double scalar;
    void operator()(double& x) const { x = (x != 0.0 || scalar != 0.0) ? 1.0 : 0.0; }
};

struct BinScalarLXOrFunc {
    double scalar;
    void operator()(double& x) const { x = ((x != 0.0) != (scalar != 0.0)) ? 1.0 : 0.0; }
};

}  // namespace CalcUtilities
