#include "web/module/rounded_sine.h"

#include <cmath>
#include <limits>

namespace rounded {

namespace {

// high + low, where low is less than half a unit in the last place of high: some 106 bits.
struct Pair {
    double high, low;
};

// `a` is not the smaller one.
constexpr Pair QuickSum(double a, double b) {
    const double sum = a + b;
    return {sum, b - (sum - a)};
}

constexpr Pair Sum(double a, double b) {
    const double sum = a + b;
    const double part = sum - a;
    return {sum, (a - (sum - part)) + (b - part)};
}

constexpr Pair Product(double a, double b) {
    constexpr double kSplit = (1 << 27) + 1;
    const double aTimes = kSplit * a, bTimes = kSplit * b;
    const double aHigh = aTimes - (aTimes - a), bHigh = bTimes - (bTimes - b);
    const double aLow = a - aHigh, bLow = b - bHigh;
    const double product = a * b;
    return {product, ((aHigh * bHigh - product) + aHigh * bLow + aLow * bHigh) + aLow * bLow};
}

constexpr Pair operator+(Pair a, Pair b) {
    const Pair high = Sum(a.high, b.high), low = Sum(a.low, b.low);
    const Pair sum = QuickSum(high.high, high.low + low.high);
    return QuickSum(sum.high, sum.low + low.low);
}

constexpr Pair operator-(Pair a) {
    return {-a.high, -a.low};
}

constexpr Pair operator*(Pair a, Pair b) {
    const Pair high = Product(a.high, b.high);
    return QuickSum(high.high, high.low + (a.high * b.low + a.low * b.high));
}

constexpr Pair operator/(Pair a, double b) {
    const double first = a.high / b;
    const Pair rest = a + -Product(first, b);
    return QuickSum(first, (rest.high + rest.low) / b);
}

constexpr int kTerms = 14;

// 1, -1/2!, 1/4!, ... for `first` 0, and 1, -1/3!, 1/5!, ... for 1.
struct Series {
    Pair terms[kTerms];

    constexpr explicit Series(int first) : terms{} {
        Pair term{1, 0};
        for (int i = 0; i < kTerms; ++i) {
            terms[i] = term;
            const int n = 2 * i + first;
            term = -(term / double((n + 1) * (n + 2)));
        }
    }
    Pair Of(Pair square) const {
        Pair sum = terms[kTerms - 1];
        for (int i = kTerms - 2; i >= 0; --i) {
            sum = sum * square + terms[i];
        }
        return sum;
    }
};
constexpr Series kCosine{0}, kSine{1};

// Half of pi in three parts, each the nearest double to what is left.
constexpr double kQuarterTurn[] = {0x1.921fb54442d18p+0, 0x1.1a62633145c07p-54,
                                   -0x1.f1976b7ed8fbcp-110};

// The sine of `radians` + `quarters` quarter turns.
double Turned(double radians, int quarters) {
    if (!(std::fabs(radians) <= kMostRadians)) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    const double turns = std::nearbyint(radians / kQuarterTurn[0]);
    Pair rest{radians, 0};
    for (const double part : kQuarterTurn) {
        rest = rest + -Product(turns, part);
    }
    const int quadrant = (static_cast<int>(turns) + quarters) & 3;
    const Pair square = rest * rest;
    const Pair value = (quadrant & 1) != 0 ? kCosine.Of(square) : kSine.Of(square) * rest;
    return (quadrant & 2) != 0 ? -value.high : value.high;
}

} // namespace

double Sine(double radians) {
    return radians == 0 ? radians : Turned(radians, 0); // the sign of zero stays
}

double Cosine(double radians) {
    return Turned(radians, 1);
}

} // namespace rounded
