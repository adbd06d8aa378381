// Functors over the elements of number lists, the building blocks of list
// operators and list functions: readers fold a list into one number and are
// run with std::for_each; modifiers rewrite each element in place; operator
// functors change an element by a right value.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>

#include "values/DivisionFault.h"
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

// The product of the elements; a null element makes it null.
class UnProductFunc {
public:
    void operator()(double x) { product *= x; }
    double Result() const { return product; }

private:
    double product = 1.0;
};

// The mean of the elements: null when one is, 0.0 for no element.
class UnMeanFunc {
public:
    void operator()(double x) {
        sum(x);
        ++count;
    }
    double Result() const { return count == 0 ? 0.0 : sum.Result() / static_cast<double>(count); }

private:
    UnSumFunc sum;
    size_t count = 0;
};

// The lowest (Better = std::less) or greatest (std::greater) element. A null
// element makes the result null for good; 0.0 for no element.
template <class Better>
class UnExtremeFunc {
public:
    void operator()(double x) {
        if (CalcEngine::IsNull(current)) return;
        if (CalcEngine::IsNull(x) || first || Better()(x, current)) current = x;
        first = false;
    }
    double Result() const { return current; }

private:
    double current = 0.0;
    bool first = true;
};

using UnMinFunc = UnExtremeFunc<std::less<double>>;
using UnMaxFunc = UnExtremeFunc<std::greater<double>>;

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

// Divides each element, null counted as 0.0, by the scalar; 0.0 is not
// guarded against.
struct BinScalarDivFunc {
    double scalar;
    void operator()(double& x) const { x = (CalcEngine::IsNull(x) ? 0.0 : x) / scalar; }
};

// Pairwise functors: combine element a of one list with element b of
// another at the same position, with ApplyPairwise.

// The lower of the two, b when equal; a null choice gives 0.0.
struct BinMinFunc {
    void operator()(double& a, double b) const {
        const double choice = a < b ? a : b;
        a = CalcEngine::IsNull(choice) ? 0.0 : choice;
    }
};

// The greater of the two, a when equal; a null choice gives 0.0.
struct BinMaxFunc {
    void operator()(double& a, double b) const {
        const double choice = a >= b ? a : b;
        a = CalcEngine::IsNull(choice) ? 0.0 : choice;
    }
};

// The sum, each null counted as 0.0.
struct BinSumFunc {
    void operator()(double& a, double b) const {
        a = (CalcEngine::IsNull(a) ? 0.0 : a) + (CalcEngine::IsNull(b) ? 0.0 : b);
    }
};

// Makes both lists as long as the longer one, each grown with its own
// default value, then combines them position by position into `target`.
template <class Func>
void ApplyPairwise(CalcEngine::DoubleVector& target, CalcEngine::DoubleVector& other, Func op) {
    const size_t size = std::max(target.Size(), other.Size());
    target.Resize(size);
    other.Resize(size);
    for (size_t i = 0; i < size; ++i) op(target.values[i], other.values[i]);
}

// Operator functors: change element a by the right value b. A null reads as
// not 0.0 in every test below.
struct NVOperatorPlusFunc {
    void operator()(double& a, double b) const { a += b; }
};
struct NVOperatorMinusFunc {
    void operator()(double& a, double b) const { a -= b; }
};
struct NVOperatorMulFunc {
    void operator()(double& a, double b) const { a *= b; }
};
struct NVOperatorDivFunc {
    void operator()(double& a, double b) const { a = b == 0.0 ? CalcEngine::NullNumber() : a / b; }
};
struct NVOperatorIntDivFunc {
    void operator()(double& a, double b) const {
        a = b == 0.0 ? CalcEngine::NullNumber() : CalcEngine::NumberToInt32(a / b);
    }
};
// A divisor that truncates to 0 (0.5, null) faults like the processor's
// integer division.
struct NVOperatorModFunc {
    void operator()(double& a, double b) const {
        a = b == 0.0 ? CalcEngine::NullNumber()
                     : CalcEngine::FaultingRemainder(CalcEngine::NumberToInt32(a),
                                                     CalcEngine::NumberToInt32(b));
    }
};
// Unlike the scalars, 0 to the 0 is null in a list.
struct NVOperatorPowFunc {
    void operator()(double& a, double b) const {
        a = a == 0.0 && b == 0.0 ? CalcEngine::NullNumber() : std::pow(a, b);
    }
};
struct NVOperatorLandFunc {
    void operator()(double& a, double b) const { a = a != 0.0 && b != 0.0 ? 1.0 : 0.0; }
};
struct NVOperatorLorFunc {
    void operator()(double& a, double b) const { a = a != 0.0 || b != 0.0 ? 1.0 : 0.0; }
};
struct NVOperatorLxorFunc {
    void operator()(double& a, double b) const { a = (a != 0.0) != (b != 0.0) ? 1.0 : 0.0; }
};
struct NVOperatorEqualFunc {
    void operator()(double& a, double b) const { a = a == b ? 1.0 : 0.0; }
};
struct NVOperatorNotEqualFunc {
    void operator()(double& a, double b) const { a = a != b ? 1.0 : 0.0; }
};
struct NVOperatorLtFunc {
    void operator()(double& a, double b) const { a = a < b ? 1.0 : 0.0; }
};
struct NVOperatorGtFunc {
    void operator()(double& a, double b) const { a = a > b ? 1.0 : 0.0; }
};
struct NVOperatorLeFunc {
    void operator()(double& a, double b) const { a = a <= b ? 1.0 : 0.0; }
};
struct NVOperatorGeFunc {
    void operator()(double& a, double b) const { a = a >= b ? 1.0 : 0.0; }
};

}  // namespace CalcUtilities
