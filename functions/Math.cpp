// Mathematical and system functions. Most are one-parameter functions of a
// number, applied element by element to a number list; a few take two or
// three numbers. Random and GetUserName ask the system.
#include <pwd.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include "functions/ArgumentToolkit.h"
#include "functions/FunctionRegistry.h"
#include "tree/Operators.h"
#include "values/ObjectFactory.h"

namespace CalcUtilities {

namespace {

// The value of one element. What the maths library answers stands: a domain
// error gives NaN, which is null, and a range error an infinity.
double FabsFunc(double x) { return std::fabs(x); }
double SinFunc(double x) { return std::sin(x); }
double SinhFunc(double x) { return std::sinh(x); }
double CosFunc(double x) { return std::cos(x); }
double CoshFunc(double x) { return std::cosh(x); }
double TanFunc(double x) { return std::tan(x); }
double CotFunc(double x) { return std::cos(x) / std::sin(x); }
double TanhFunc(double x) { return std::tanh(x); }
double CeilFunc(double x) { return std::ceil(x); }
double ExpFunc(double x) { return std::exp(x); }
double FloorFunc(double x) { return std::floor(x); }
double LogFunc(double x) { return std::log(x); }
double Log10Func(double x) { return std::log10(x); }
double Log2Func(double x) { return std::log(x) * 1.442695040889; }
double SqrFunc(double x) { return x * x; }
double SqrtFunc(double x) { return std::sqrt(x); }
double AcosFunc(double x) { return std::acos(x); }
double AsinFunc(double x) { return std::asin(x); }
double AtanFunc(double x) { return std::atan(x); }
// Through a signed 32-bit integer: beyond its range -2147483648; null 0.
double TruncFunc(double x) { return CalcEngine::NumberToInt32(x); }
// A null stays null.
double FracFunc(double x) { return x - TruncFunc(x); }
// A half away from zero, through 32 bits as TruncFunc; null gives 0.
double RoundFunc(double x) { return x < 0 ? -TruncFunc(x * -1.0 + 0.5) : TruncFunc(x + 0.5); }
// Null gives 0.
double SignFunc(double x) { return x > 0 ? 1 : x < 0 ? -1 : 0; }
// Null is not 0.
double ZeroFunc(double x) { return x == 0.0 ? 0 : 1; }

}  // namespace

}  // namespace CalcUtilities

namespace CalcEngine {

namespace {

// A number list of the one element `value`.
Object* NewSingleList(Environment& environment, double value) {
    PtrWrapper list(CurrentFactory()->CreateNumberVector(&environment));
    list->SetNumber(value);
    return list.Detach();
}

template <double (*functor)(double)>
Object* FunctorFunc(ICalcContext&, Environment&, ArgumentList& arguments) {
    // Called directly, not through a pointer: the loop over a list inlines it.
    return ApplyToParameter(arguments, [](double x) { return functor(x); });
}

// x to the power y exactly as `x ^ y`, list rules included; y is checked
// first.
Object* PowFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    RequireArgument(arguments[1], 1);
    RequireArgument(arguments[0], 0);
    return BinOp::Apply(OpPow, environment, *arguments[0].value, *arguments[1].value);
}

constexpr int32_t MaxRoundingDecimals = 20;

// Round(x) rounds a half away from zero. Round(x, decimals) works on a copy
// through the value's own operators, so a list rounds element by element:
// floor(x * m + 0.5) / m with m = 10^decimals, a half rounding up.
Object* RoundingFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    if (arguments.size() < 2 || !arguments[1].value)
        return ApplyToParameter(arguments, CalcUtilities::RoundFunc);
    int32_t decimals = IntArgument(arguments[1], 1);
    if (decimals > MaxRoundingDecimals) {
        ReportWarning(&environment, u"only 20 decimals supported when rounding numbers");
        decimals = MaxRoundingDecimals;
    } else if (decimals < -MaxRoundingDecimals) {
        ReportWarning(&environment, u"only 20 zeros supported when rounding numbers");
        decimals = -MaxRoundingDecimals;
    }
    // Powers of ten up to 10^20 are exact doubles.
    const double power = std::pow(10.0, std::abs(decimals));
    PtrWrapper scale(NewNumber(environment, decimals < 0 ? 1.0 / power : power));
    PtrWrapper half(NewNumber(environment, 0.5));
    PtrWrapper copy(CopyOf(arguments[0], 0));
    copy->OperatorMul(*scale);
    copy->OperatorPlus(*half);
    ApplyToObject(*copy, CalcUtilities::FloorFunc);
    copy->OperatorDiv(*scale);
    return copy.Detach();
}

Object* RadiusFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const double x = NumberArgument(arguments[0], 0);
    const double y = NumberArgument(arguments[1], 1);
    return NewSingleList(environment, std::sqrt(x * x + y * y));
}

// The angle of the point (x, y); on the y axis, the origin included, the
// angle is +pi/2 above it and -pi/2 otherwise.
double Angle(double x, double y) {
    if (x > 0) return std::atan(y / x);
    if (x < 0) return std::atan(y / x) + std::numbers::pi;
    return y > 0 ? std::numbers::pi / 2 : -std::numbers::pi / 2;
}

Object* ArgFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return NewSingleList(environment,
                         Angle(NumberArgument(arguments[0], 0), NumberArgument(arguments[1], 1)));
}

// base to the exponent by multiplying |exponent| times, inverted for a
// negative exponent. Once the product is 0 or infinite, or when the base is
// 1 or -1, further multiplications could only flip its sign: the parity of
// the rest decides that without running them.
double MultipliedPower(int32_t base, int32_t exponent) {
    int64_t remaining = std::abs(static_cast<int64_t>(exponent));
    double result = 1.0;
    for (; remaining > 0 && base != 1 && base != -1 && result != 0 && std::isfinite(result);
         --remaining)
        result *= base;
    if (base < 0 && remaining % 2 == 1) result = -result;
    return exponent < 0 ? 1.0 / result : result;
}

Object* IPowerFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const int32_t base = IntArgument(arguments[0], 0);
    const int32_t exponent = IntArgument(arguments[1], 1);
    return NewSingleList(environment, MultipliedPower(base, exponent));
}

Object* NotFunc(ICalcContext&, Environment&, ArgumentList& arguments) {
    PtrWrapper copy(CopyOf(arguments[0], 0));
    copy->OperatorLnot();
    return copy.Detach();
}

Object* EqualWithinRangeFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const double a = NumberArgument(arguments[0], 0);
    const double b = NumberArgument(arguments[1], 1);
    const double range = NumberArgument(arguments[2], 2);
    return CurrentFactory()->CreateBool(&environment, std::fabs(a - b) < range);
}

// A number from 0 to 1, both included: 15 random bits over 32767, from a
// sequence of the thread's own, seeded once from the clock. The generator's
// state is a single word: the library's thread-locals must fit into the
// small space the C library keeps for modules loaded with dlopen.
double RandomNumber() {
    thread_local std::minstd_rand generator(static_cast<uint32_t>(
        std::chrono::high_resolution_clock::now().time_since_epoch().count()));
    return std::uniform_int_distribution<int>(0, 32767)(generator) / 32767.0;
}

// Random() and Random(1) give one number, Random(n) a list of n numbers; a
// count beyond the longest list the library makes is refused.
Object* RandomFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const int32_t count = arguments.empty() ? 1 : IntArgument(arguments[0], 0);
    if (count < 1) RaiseRuntimeError(u"1st parameter has to be positive integer");
    if (count > Range::MaxLength)
        RaiseRuntimeError(u"1st parameter exceeds the maximum amount of " +
                          ToDecimal(Range::MaxLength) + u" values");
    if (count == 1) return NewNumber(environment, RandomNumber());
    PtrWrapper list(CurrentFactory()->CreateNumberVector(&environment));
    auto& numbers = static_cast<NumberVectorObject&>(*list).values;
    numbers.resize(static_cast<size_t>(count));
    for (double& x : numbers) x = RandomNumber();
    return list.Detach();
}

constexpr size_t MaxUserNameLength = 64;

// The effective user's login name, cut to 64 characters; empty when the
// system cannot tell it.
WString EffectiveUserName() {
    const long suggested = sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(suggested > 0 ? static_cast<size_t>(suggested) : 16384);
    passwd entry;
    passwd* found = nullptr;
    if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found)
        return WString();
    return FromUtf8(entry.pw_name).substr(0, MaxUserNameLength);
}

Object* GetUserNameFunc(ICalcContext&, Environment& environment, ArgumentList&) {
    return CurrentFactory()->CreateString(&environment, EffectiveUserName());
}

constexpr uint8_t Pure = ICalcFunction::Pure;

// A one-parameter function of the element value `functor`.
template <double (*functor)(double)>
constexpr BuiltinEntry Functor(const char16_t* name, const char16_t* alias = nullptr) {
    return {u"Math", name, alias, FunctorFunc<functor>, u"?", u"number/numberlist", Pure};
}

using namespace CalcUtilities;

constexpr BuiltinEntry entries[] = {
    Functor<FabsFunc>(u"Abs"),
    Functor<SinFunc>(u"Sin"),
    Functor<SinhFunc>(u"Sinh"),
    Functor<CosFunc>(u"Cos"),
    Functor<CoshFunc>(u"Cosh"),
    Functor<TanFunc>(u"Tan"),
    Functor<TanhFunc>(u"Tanh"),
    Functor<CotFunc>(u"Cotan", u"cot"),
    Functor<CeilFunc>(u"Ceil"),
    Functor<ExpFunc>(u"Exp"),
    Functor<FloorFunc>(u"Floor"),
    Functor<LogFunc>(u"Ln"),
    Functor<Log10Func>(u"Log10", u"lg"),
    Functor<Log2Func>(u"Log2", u"log"),
    Functor<SqrFunc>(u"Sqr"),
    Functor<SqrtFunc>(u"Sqrt"),
    Functor<TruncFunc>(u"Trunc", u"Int"),
    Functor<FracFunc>(u"Frac"),
    Functor<SignFunc>(u"Sign"),
    Functor<ZeroFunc>(u"Zero"),
    Functor<AcosFunc>(u"Acos"),
    Functor<AsinFunc>(u"Asin"),
    Functor<AtanFunc>(u"Atan"),
    {u"Math", u"Pow", u"Power", PowFunc, u"??",
     u"number/numberlist x, number/numberlist y (Calculates x to the power of y)", Pure},
    {u"Math", u"Round", nullptr, RoundingFunc, u"?.", u"number [, amount of decimals (0)]", Pure},
    {u"Math", u"Radius", nullptr, RadiusFunc, u"DD", u"number, number", Pure},
    {u"Math", u"Arg", nullptr, ArgFunc, u"DD", u"number, number", Pure},
    {u"Math", u"IPower", nullptr, IPowerFunc, u"DD", u"number, number", Pure},
    {u"Math", u"Not", nullptr, NotFunc, u"?", u"object", Pure},
    {u"Math", u"EqualWithinRange", nullptr, EqualWithinRangeFunc, u"DDD", u"number, number, number",
     Pure},
    {u"Other", u"Random", nullptr, RandomFunc, u".", u"[amount of values returned (default = 1)]",
     0},
    {u"System", u"GetUserName", nullptr, GetUserNameFunc, u"", u"", 0},
};

}  // namespace

const std::span<const BuiltinEntry> mathFunctions = entries;

}  // namespace CalcEngine
