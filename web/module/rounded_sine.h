#pragma once
// Sine and cosine that are rounded as well as they can be. Libraries differ in the last bit of
// these; a vertex that is cut at the border of a picture shows that bit, so that words would depend
// on the library.

namespace rounded {

// Of an angle in radians up to this; NaN for others.
inline constexpr double kMostRadians = 1 << 20;

double Sine(double radians);
double Cosine(double radians);

} // namespace rounded
