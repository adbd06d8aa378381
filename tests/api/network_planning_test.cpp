// The network planning builtins through the exported interface, against
// computations of their own: Erlang B from its definition, the Okumura-Hata
// path loss run forwards, the area coverage from the normal distribution.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

#include "OrdoHost.h"

using namespace ordotest;

namespace {

// Calls of the builtins with exact numbers in and out.
class NetworkPlanning : public ::testing::Test {
protected:
    double Call(const std::string& function, std::initializer_list<double> arguments) {
        std::string formula = function;
        char text[32];
        for (double x : arguments) {
            std::snprintf(text, sizeof text, "%s%.17g", formula == function ? "(" : ", ", x);
            formula += text;
        }
        return host.Calc(formula + ")").number;
    }

    Host host{HostOptions{.flags = ORDODLL_FLAG_FORCE_FLOAT_RESULT}};
};

// Erlang B: (a^n / n!) / sum of a^k / k! over k from 0 to n, in logarithms.
double ErlangB(double traffic, int channels) {
    const auto term = [&](int k) { return k * std::log(traffic) - std::lgamma(k + 1.0); };
    double largest = term(0), sum = 0;
    for (int k = 1; k <= channels; ++k) largest = std::max(largest, term(k));
    for (int k = 0; k <= channels; ++k) sum += std::exp(term(k) - largest);
    return std::exp(term(channels) - largest) / sum;
}

// Solves increasing f(x) = 0 for x in [lo, hi] by a fine bisection.
template <class F>
double Root(F f, double lo, double hi) {
    for (int i = 0; i < 200; ++i) (f((lo + hi) / 2) < 0 ? lo : hi) = (lo + hi) / 2;
    return lo;
}

// Traffic channels of GSM transceivers: eight timeslots each, a half-rate
// share hr doubling its part, less the signalling channels c, the largest
// with 4c(c + 1) within the slots, each taking 1 + hr channels.
int64_t TrafficChannels(int64_t transceivers, double hr) {
    const double slots = 8 * transceivers * (1 + hr);
    int64_t signalling = 0;
    while (4 * (signalling + 1) * (signalling + 2) <= slots) ++signalling;
    return transceivers > 0 ? static_cast<int64_t>(slots - signalling * (1 + hr)) : 0;
}

TEST_F(NetworkPlanning, ErlangChannelsAreTheFewestThatMeetTheBlocking) {
    for (double traffic : {0.01, 0.5, 2.5, 7.0, 25.3, 100.0, 150.0}) {
        for (double blocking : {0.001, 0.02, 0.3}) {
            const double n = Call("NPErlbChs", {traffic, blocking});
            EXPECT_TRUE(n == std::round(n) && ErlangB(traffic, n) <= blocking &&
                        ErlangB(traffic, n - 1) > blocking)
                << n << " channels for " << traffic << " Erlang at " << blocking;
        }
    }
}

TEST_F(NetworkPlanning, GsmTrafficInterpolatesTheTrafficOfWholeTransceivers) {
    for (double hr : {0.0, 0.25, 1.0}) {
        for (double blocking : {0.01, 0.05, 0.5, 0.99}) {
            const auto traffic = [&](double transceivers) {
                const int64_t n = TrafficChannels(transceivers, hr);
                return n ? Root([&](double a) { return ErlangB(a, n) - blocking; }, 0, 1e5) : 0;
            };
            for (double t : {0.0, 0.5, 1.0, 1.25, 3.7, 24.0}) {
                const double whole = std::trunc(t);
                const double expected =
                    traffic(whole + 1) * (t - whole) + traffic(whole) * (1 - t + whole);
                // The search stops within 0.001 Erlang below the crossing.
                EXPECT_NEAR(Call("NPGSMTraffic", {t, blocking, hr}), expected - 0.0005, 0.00051)
                    << t << " transceivers at " << blocking << ", hr " << hr;
            }
        }
    }
}

// NPGSMTrx of one channel count: the first element of a list, interpolating
// against the low 32 bits of hr's representation when one transceiver does.
double ExpectedTransceivers(int32_t channels, double hr) {
    uint64_t bits;
    std::memcpy(&bits, &hr, sizeof bits);
    auto previous = static_cast<int32_t>(bits & 0xFFFFFFFF);
    int64_t count = 1;
    int64_t have = TrafficChannels(1, hr);
    for (; have < channels; ++count) {
        previous = static_cast<int32_t>(have);
        have = TrafficChannels(count + 1, hr);
    }
    return count - static_cast<double>(have - channels) / (have - previous);
}

TEST_F(NetworkPlanning, TransceiversInterpolateBetweenWholeCounts) {
    for (double hr : {0.0, 0.25, 0.5, 1.0, 0.3, 0.1}) {
        for (int32_t channels : {0, 1, 7, 8, 9, 15, 16, 50, 1000, 123457}) {
            const double expected = ExpectedTransceivers(channels, hr);
            EXPECT_NEAR(Call("NPGSMTrx", {double(channels), hr}), expected, 1e-12 * (1 + expected))
                << channels << " channels, hr " << hr;
        }
    }
}

// The path loss (dB) of the Okumura-Hata model at a distance (km), with the
// constants of the band from 1500 MHz on there.
double HataLoss(double frequency, double baseHeight, double mobileHeight, double km) {
    const double lf = std::log10(frequency), lb = std::log10(baseHeight);
    const bool high = frequency >= 1500;
    return (high ? 46.3 : 69.55) + (high ? 33.9 : 26.16) * lf - 13.82 * lb -
           ((1.1 * lf - 0.7) * mobileHeight - (1.56 * lf - 0.8)) +
           (44.9 - 6.55 * lb) * std::log10(km);
}

TEST_F(NetworkPlanning, RadiusGivesBackThePathLoss) {
    for (double frequency : {150.0, 900.0, 1499.5, 1500.0, 2000.0}) {
        for (auto [base, mobile] :
             {std::pair(30.0, 1.5), std::pair(50.0, 1.0), std::pair(100.0, 10.0)}) {
            for (double loss : {100.0, 130.5, 170.0}) {
                const double km = Call("NPRangeOH", {frequency, base, mobile, loss});
                EXPECT_NEAR(HataLoss(frequency, base, mobile, km), loss, 1e-9 * loss)
                    << frequency << " MHz, " << base << " m, " << mobile << " m";
            }
        }
    }
}

// The share of a cell's area above the threshold when its edge has the
// margin x (dB): log-normal fading of `deviation` dB about a path loss that
// grows by 10 * slope dB per decade of distance.
double AreaCoverage(double x, double deviation, double slope) {
    const double a = x / (deviation * std::sqrt(2.0));
    const double b = 10 * slope * std::log10(std::exp(1.0)) / (deviation * std::sqrt(2.0));
    const double edge = 0.5 * std::erfc(-a);  // the normal distribution at x / deviation
    return edge + 0.5 * std::exp(2 * a / b + 1 / (b * b)) * std::erfc(a + 1 / b);
}

TEST_F(NetworkPlanning, MarginReachesTheAreaCoverage) {
    for (double deviation : {4.0, 8.0, 10.0}) {
        for (double slope : {2.0, 3.5}) {
            for (double p : {0.05, 0.5, 0.75, 0.95, 0.99}) {
                const double margin = Root(
                    [&](double x) { return AreaCoverage(x, deviation, slope) - p; }, -1000, 1000);
                // The search stops within 0.01 dB below the crossing.
                EXPECT_NEAR(Call("NPSFMargin", {p, deviation, slope}), margin - 0.005, 0.0051)
                    << p << " at " << deviation << " dB, slope " << slope;
            }
        }
    }
}

TEST(NetworkPlanningTexts, RangesShapesAndReadingOrder) {
    ExpectTexts({
        {"NPErlbChs([5 10 0 -1 NULL], 0.01)", "11 18 1 0 0"},
        {"NPErlbChs([1 2], 1) + NPErlbChs([1 2], 1.5) + NPErlbChs([1 2], 1 / 0)", "0 0"},
        {"NPErlbChs(5, 0) > NPErlbChs(5, 1e-300)", "1"},  // ends once the blocking underflows
        {"NPErlbChs([1e6 1000001 1e300], 0.01)", "990099 0 0"},
        {"NPErlbChs(5, 1.5) ^ 0", "0"},     // a number stays a number
        {"NPErlbChs([5], 1) ^ 0", "NULL"},  // and a list a list
        {"NPGSMTraffic([1 -1 NULL 1001 1e300], 0.02, 0)", "2.9352 0 0 0 0"},
        {"NPGSMTraffic([1 2], 0.02, -0.5) + NPGSMTraffic([1 2], 0.02, 1.5)", "0 0"},
        {"NPGSMTraffic(1, 0.9999999, 0)", "0"},  // the traffic would be beyond any bound
        // One transceiver carries 7 channels, two 15, three 22. An element
        // that one transceiver serves interpolates against the channels that
        // the element before left: 15 (so 3 gives 1.5, not 3/7), then 15 again.
        {"NPGSMTrx([20 3], 0)", "2.7143 1.5"},
        {"NPGSMTrx([8 7 5], 0)", "1.125 NULL -inf"},
        {"NPGSMTrx(3, 0)", "0.4286"},  // each call starts afresh
        {"NPGSMTrx([5 6], 1.5) + NPGSMTrx([5 6], 1 / 0) + NPGSMTrx([-5 -3e9], 0.5)", "0 0"},
        {"Round(NPGSMTrx(2147483647, 0))", "268438352"},
        {"NPSFMargin([-0.1 1 1.5 NULL], 8, 3.5)", "0 0 0 0"},
        {"NPSFMargin([0.5 0.9], -1, 3.5) + NPSFMargin(0.5, 1 / 0, 3.5)", "0 0"},
        {"NPSFMargin(0, 8, 3.5) < -100", "1"},      // coverage 0 comes only by underflow
        {"NPSFMargin([0.5 0.9], 8, -3.5)", "0 0"},  // no crossing: the search gives up
        {"NPRangeOH(900, 30, 1.5, [-1 NULL 0])", "0 0 0.0003"},
        {"NPRangeOH(0, 30, 1.5, [130 140]) + NPRangeOH(900, 1 / 0, 1.5, 130)", "0 0"},
        {R"(Let("a", [0.5], Sequence(NPSFMargin(Local("a"), -1, 3), Local("a"))))", "0.5"},
        // The numbers are read before the list.
        {"NPSFMargin(Rem(), Rem(), Rem())",
         Failure("couldn't evaluate 3rd parameter", "NPSFMargin")},
        {"NPRangeOH(0, 30, 1.5, Rem())", Failure("couldn't evaluate 4th parameter", "NPRangeOH")},
        {"NPGSMTraffic(Rem(), Rem(), Rem())",
         Failure("couldn't evaluate 2nd parameter", "NPGSMTraffic")},
    });
}

}  // namespace
