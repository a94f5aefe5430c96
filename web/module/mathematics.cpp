// The library's functions by which scenes turn and place things, rounded alike wherever they run.
// The module's `long double` has 113 bits, which is enough to round by, and slow; sine and cosine
// are asked for often.
#include "web/module/rounded_sine.h"

#include <cmath>

extern "C" {

double sin(double x) {
    return std::fabs(x) <= rounded::kMostRadians ? rounded::Sine(x) : static_cast<double>(sinl(x));
}

double cos(double x) {
    return std::fabs(x) <= rounded::kMostRadians ? rounded::Cosine(x)
                                                 : static_cast<double>(cosl(x));
}

double tan(double x) {
    return static_cast<double>(tanl(x));
}

double atan(double x) {
    return static_cast<double>(atanl(x));
}
}
