// Radio network planning functions: the shadow-fading margin for a coverage
// probability, the cell radius for a path loss, and Erlang B sizing of GSM
// transceivers. Each maps the numbers of one parameter, a number or a number
// list, to results of the same shape. A parameter out of range gives 0, never
// an error; so does a value for which a search would have to run without
// bound.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "functions/ArgumentToolkit.h"
#include "functions/FunctionRegistry.h"

namespace CalcEngine {

namespace {

// How often a search may move its bracket before it gives up with 0. The
// searches below need at most a few hundred moves for any physically
// meaningful parameters; without a limit some would move forever (a negative
// slope for the margin, a blocking probability next to 1 for the traffic).
constexpr int MaxBracketShifts = 1000;
// Traffic (Erlang) above which NPErlbChs answers 0: it takes one step per
// channel, and no trunk group comes near this.
constexpr double MaxTraffic = 1e6;
// Transceivers above which NPGSMTraffic answers 0: each Erlang B evaluation
// takes one step per channel, and no cell comes near this.
constexpr double MaxTransceivers = 1000;

bool WithinZeroToOne(double x) { return x >= 0 && x <= 1; }

// The error function by a polynomial fit (absolute error below 1.2e-7).
// Hosts compare results made with this fit: a closer library function would
// not do.
double ErfApprox(double x) {
    constexpr double coefficients[] = {0.17087277,  -0.82215223, 1.48851587,
                                       -1.13520398, 0.27886807,  -0.18628806,
                                       0.09678418,  0.37409196,  1.00002368};
    const double z = std::fabs(x);
    const double t = 1 / (0.5 * z + 1);
    double polynomial = 0;
    for (double coefficient : coefficients) polynomial = polynomial * t + coefficient;
    const double value = 1 - t * std::exp(polynomial * t - (z * z + 1.26551223));
    return x < 0 ? -value : value;
}

// The share of the cell area covered when the edge has the fading margin x
// (dB), for a log-normal deviation (dB) and a path loss slope.
double EdgeCoverage(double x, double deviation, double slope) {
    const double b = slope * 3.07092573 / deviation;
    const double a = x * 0.70710678 / deviation;
    return ((1 - ErfApprox((a * b + 1) / b)) * std::exp((2 * a * b + 1) / (b * b)) + ErfApprox(a) +
            1) *
           0.5;
}

// Moves [lo, hi] by its width, down while f(lo) is at least 0 and up
// otherwise, until f does not keep its sign over it; lo stays at least
// `floor`. False when that takes more than MaxBracketShifts moves.
template <class F>
bool Enclose(F f, double& lo, double& hi, double& flo, double floor) {
    const double width = hi - lo;
    flo = f(lo);
    double fhi = f(hi);
    for (int shifts = 0; flo * fhi > 0; ++shifts) {
        if (shifts == MaxBracketShifts) return false;
        const double move = flo >= 0 ? -width : width;
        lo = std::max(lo + move, floor);
        hi += move;
        flo = f(lo);
        fhi = f(hi);
    }
    return true;
}

// Halves `step` from `base` for up to `passes` passes, moving base to each
// point where f is at most 0. Answers base once the step is below
// `tolerance` or f is exactly 0; 0 when the passes run out.
template <class F>
double Bisect(F f, double base, double step, int passes, double tolerance) {
    for (int pass = 0; pass < passes; ++pass) {
        step *= 0.5;
        const double mid = base + step;
        const double value = f(mid);
        if (value <= 0) base = mid;
        if (std::fabs(step) < tolerance || value == 0) return base;
    }
    return 0;
}

// The fading margin (dB, to 0.01) at which the area coverage is p.
double ShadowMargin(double p, double deviation, double slope) {
    const auto excess = [=](double x) { return EdgeCoverage(x, deviation, slope) - p; };
    double lo = -deviation, hi = deviation, flo;
    if (!Enclose(excess, lo, hi, flo, -std::numeric_limits<double>::infinity())) return 0;
    return flo >= 0 ? Bisect(excess, hi, lo - hi, 39, 0.01) : Bisect(excess, lo, hi - lo, 39, 0.01);
}

// The traffic channels of `transceivers` when the share hr of the
// connections is half rate (two per timeslot), less the channels set aside
// for signalling. The callers make sure that hr lies within 0 to 1.
int64_t Timeslots(int64_t transceivers, double hr) {
    if (transceivers <= 0) return 0;
    const double slots = ((1 - hr) * 8 + hr * 16) * transceivers;
    const auto signalling = static_cast<uint32_t>((std::sqrt(slots + 1) - 1) * 0.5);
    return static_cast<int64_t>(slots - signalling * (hr * 2 + (1 - hr)));
}

// The Erlang B blocking probability of `traffic` offered to `channels`.
double ErlangB(double traffic, int64_t channels) {
    if (traffic <= 0 || channels <= 0) return 0;
    double inverse = 1;
    for (int64_t k = 1; k <= channels; ++k) inverse = (k / traffic) * inverse + 1;
    return 1 / inverse;
}

// The traffic (Erlang, to 0.001) that `channels` carry at the blocking
// probability p.
double ErlangTraffic(double p, int64_t channels) {
    if (p <= 0 || p >= 1 || channels <= 0) return 0;
    const auto excess = [=](double traffic) { return ErlangB(traffic, channels) - p; };
    double hi = channels * 2.0, lo = hi * 0.25, flo;
    if (!Enclose(excess, lo, hi, flo, 0)) return 0;
    return flo > 0 ? Bisect(excess, hi, lo - hi, 99, 0.001)
                   : Bisect(excess, lo, hi - lo, 99, 0.001);
}

// The traffic of a transceiver count, interpolated linearly between whole
// counts.
double GsmTraffic(double transceivers, double blocking, double hr) {
    if (!WithinZeroToOne(blocking) || !WithinZeroToOne(hr) || !(transceivers >= 0) ||
        transceivers > MaxTransceivers)
        return 0;
    const auto whole = static_cast<int64_t>(transceivers);
    const double fraction = transceivers - whole;
    return ErlangTraffic(blocking, Timeslots(whole + 1, hr)) * fraction +
           ErlangTraffic(blocking, Timeslots(whole, hr)) * (1 - fraction);
}

// The transceivers for `channels`, interpolated between the first count
// that carries them and the count before, whose channels go to `previous`.
// Where one transceiver carries them there is no count before, and
// `previous` keeps what it had.
double Transceivers(int32_t channels, double hr, int32_t& previous) {
    if (channels < 0) return 0;
    // A count carries fewer channels than its slots, so no count below
    // channels / slots per transceiver is the one; start one lower still, in
    // case of rounding.
    const double slotsPerTransceiver = (1 - hr) * 8 + hr * 16;
    int64_t count = std::max<int64_t>(1, static_cast<int64_t>(channels / slotsPerTransceiver) - 1);
    int64_t have = Timeslots(count, hr);
    if (count > 1) previous = static_cast<int32_t>(Timeslots(count - 1, hr));
    while (have < channels) {
        ++count;
        previous = static_cast<int32_t>(have);
        have = Timeslots(count, hr);
    }
    return ((count + 1) - static_cast<double>(have - channels) / (have - previous)) - 1;
}

// The channels that carry `traffic` at a blocking probability of at most
// `blocking`: the Erlang B recursion grown one channel at a time.
double ErlangChannels(double traffic, double blocking) {
    if (!(traffic >= 0) || traffic > MaxTraffic) return 0;
    double b = 1;
    int64_t channels = 1;
    if (blocking < 1) {
        do {
            b *= traffic;
            b /= channels + b;
            ++channels;
        } while (blocking < b);
    }
    return channels - 1;
}

// The Okumura-Hata path loss solved for the distance: the cell radius (km)
// for a path loss (dB) at one frequency (MHz) and antenna heights (m).
class HataRadius {
public:
    HataRadius(double frequency, double baseHeight, double mobileHeight)
        : logFrequency(std::log10(frequency)),
          logBaseHeight(std::log10(baseHeight)),
          constant(frequency < 1500 ? 69.55 : 46.3),
          frequencyFactor(frequency < 1500 ? 26.16 : 33.9),
          mobileCorrection((1.1 * logFrequency - 0.7) * mobileHeight -
                           (1.56 * logFrequency - 0.8)) {}

    // A negative or null loss gives 0.
    double operator()(double loss) const {
        if (!(loss >= 0)) return 0;
        return std::pow(10.0, ((loss - constant - frequencyFactor * logFrequency) +
                               13.82 * logBaseHeight + mobileCorrection) /
                                  (44.9 - 6.55 * logBaseHeight));
    }

private:
    const double logFrequency;
    const double logBaseHeight;
    const double constant;
    const double frequencyFactor;
    const double mobileCorrection;
};

// The parameter's own copy set to the number 0, for a parameter out of
// range: a list keeps its length with every element 0.
Object* ZeroedCopy(const FunctionArgument& argument, size_t place) {
    PtrWrapper copy(OwnCopy(argument, place));
    copy->SetNumber(0);
    return copy.Detach();
}

Object* ShadowMarginFunc(ICalcContext&, Environment&, ArgumentList& arguments) {
    const double slope = NumberArgument(arguments[2], 2);
    const double deviation = NumberArgument(arguments[1], 1);
    if (deviation < 0) return ZeroedCopy(arguments[0], 0);
    return ApplyToParameter(arguments, [=](double p) {
        return p >= 0 && p < 1 ? ShadowMargin(p, deviation, slope) : 0;
    });
}

Object* RangeFunc(ICalcContext&, Environment&, ArgumentList& arguments) {
    const double frequency = NumberArgument(arguments[0], 0);
    const double baseHeight = NumberArgument(arguments[1], 1);
    const double mobileHeight = NumberArgument(arguments[2], 2);
    if (!(frequency > 0 && baseHeight > 0 && mobileHeight > 0)) return ZeroedCopy(arguments[3], 3);
    PtrWrapper result(OwnCopy(arguments[3], 3));
    ApplyToObject(*result, HataRadius(frequency, baseHeight, mobileHeight));
    return result.Detach();
}

Object* TransceiversFunc(ICalcContext&, Environment&, ArgumentList& arguments) {
    const double hr = NumberArgument(arguments[1], 1);
    if (!WithinZeroToOne(hr)) return ZeroedCopy(arguments[0], 0);
    // Hosts rely on this: one `previous` serves the whole list, and it
    // starts as the low 32 bits of hr's representation, which are 0 for the
    // usual shares 0, 0.25, 0.5 and 1.
    auto previous = static_cast<int32_t>(std::bit_cast<uint64_t>(hr));
    return ApplyToParameter(arguments, [hr, &previous](double channels) {
        return Transceivers(NumberToInt32(channels), hr, previous);
    });
}

Object* ErlangChannelsFunc(ICalcContext&, Environment&, ArgumentList& arguments) {
    const double blocking = NumberArgument(arguments[1], 1);
    if (!WithinZeroToOne(blocking)) return ZeroedCopy(arguments[0], 0);
    return ApplyToParameter(
        arguments, [blocking](double traffic) { return ErlangChannels(traffic, blocking); });
}

Object* GsmTrafficFunc(ICalcContext&, Environment&, ArgumentList& arguments) {
    const double blocking = NumberArgument(arguments[1], 1);
    const double hr = NumberArgument(arguments[2], 2);
    return ApplyToParameter(arguments, [blocking, hr](double transceivers) {
        return GsmTraffic(transceivers, blocking, hr);
    });
}

constexpr uint8_t Pure = ICalcFunction::Pure;

constexpr BuiltinEntry entries[] = {
    {u"Other", u"NPSFMargin", nullptr, ShadowMarginFunc, u"?DD",
     u"probability (num/numlist), deviation, slope", Pure},
    {u"Other", u"NPRangeOH", nullptr, RangeFunc, u"DDD?",
     u"System MHz, BS Antenna height (m), MS Antenna height (m), MS Isotropic path loss "
     u"(num/numlist)",
     Pure},
    {u"Other", u"NPGSMTrx", nullptr, TransceiversFunc, u"?D",
     u"chs (num/numlist), hr (number between zero and one)", Pure},
    {u"Other", u"NPErlbChs", nullptr, ErlangChannelsFunc, u"?D",
     u"erl (num/numlist), prob (number)", Pure},
    {u"Other", u"NPGSMTraffic", nullptr, GsmTrafficFunc, u"?DD",
     u"trx (num/numlist), prob (0...1), hr (0...1)", Pure},
};

}  // namespace

const std::span<const BuiltinEntry> networkPlanningFunctions = entries;

}  // namespace CalcEngine
