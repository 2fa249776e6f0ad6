// Small numeric helpers: integer roots and logarithms, gain and bias curves, angles, tolerant
// comparison, interpolation in a table of samples and gamma positions. All are pure functions; none
// needs MathInit. Float versions compute in float unless stated, double versions in double.
//
// The sources are compiled with -ffp-contract=off (gs/CMakeLists.txt): no multiply and add is fused,
// so each result is the same on every platform where the C library's log and exp2 agree.
#pragma once

// sqrt(x) rounded to the nearest integer, by Newton's method on 4x: the top two bits of x are
// ignored, so results are meaningful for 0..2^30-1 (isqrt(2^30 - 1) is 32768).
int isqrt(int x);

// An integer square root by a bisection with unusual bounds and updates, kept exactly as the
// library has always had it. It returns for only nine arguments: 147456, 589824, 2359296, 9437184,
// 37748736 and 150994944 give their square roots (384, 768, 1536, 3072, 6144, 12288), and 2^22,
// 2^24 and 2^26 give 2149582848, 2155876352 and 2181046272 (whose squares wrap to the argument).
// For every other argument, 0 included, it never returns: its first loop does not end for 0, and
// otherwise its bounds stop moving before the midpoint's square meets the argument (every 32-bit
// argument was tried with the loop bounded). Use isqrt.
unsigned int asqrt(unsigned int x);

// floor(log2 x) for x >= 2; 0 for x below 2, negative x included.
int ilog2(int x);

// Schlick's gain: with g = (1/a - 2) * (1 - 2t), t / (g + 1) for t below 0.5, else
// (g - t) / (g - 1). gain(a, 0) = 0, gain(a, 0.5) = 0.5, gain(a, 1) = 1; a = 0.5 is the identity.
float gain(float a, float t);
double gain(double a, double t);

// The bias parameter that maps t to a: with b = t limited to 0.001..0.999, a / (2a + (b - a) / (1 - b)).
// The double version tests the upper limit against the float 0.999 widened to double
// (0.9990000128746033) but limits to the double 0.999, so a t between the two is used as it is.
float invbias(float a, float t);
double invbias(double a, double t);

// The angle (radians) brought into [0, 2pi]: above 100000 it becomes 2pi, below -100000 0;
// otherwise 2pi is subtracted while it exceeds 2pi and added while it is below 0. Then, when
// keepFullTurn is 0 and the value lies within 1e-5 of 2pi (GSIsEqual), 2pi is subtracted: a full
// turn becomes 0 (or a value just below 0), and so does an angle above 100000. 2pi is
// 6.283185307179586 in the double version, 6.2831855 in the float one. NaN stays NaN.
double GSClipAngle(double angle, short keepFullTurn);
float GSClipAngle(float angle, short keepFullTurn);

// |a - b| <= 1e-5 (the float version: <= the float 1e-5).
bool GSIsEqual(double a, double b);
bool GSIsEqual(float a, float b);
// |a - b| <= max(|a| * 1e-5, |b| * 1e-5): relative; two zeros are equal, zero and any other
// value are not.
bool GSIsEqualFloating(double a, double b);
bool GSIsEqualFloating(float a, float b);

// v rounded to a multiple of g: floor(v / g + 0.49) * g, the number of steps being a 32-bit (float
// version) or 64-bit (double version) integer. A step count beyond that integer's range is limited
// to it; NaN stays NaN.
float GSCorrectForGranularity(float v, float g);
double GSCorrectForGranularity(double v, double g);

// The angle a fraction t of the way from a to b along the shorter arc: d = (b < a ? b + 2pi : b) - a,
// minus 2pi when it exceeds pi; the result is a + d * t, not clipped (it may pass 2pi). Both
// versions compute in double with 2pi as the float 6.2831855 widened (6.2831854820251465) and pi
// as the double 3.141592653589793.
double GSMergeAngles(double a, double b, double t);
float GSMergeAngles(float a, float b, float t);

// The value at t (0..1) of a curve given by n equally spaced samples (sample i at i / (n - 1)),
// by Catmull-Rom weights (GSCalcCubicFactors) over the samples around t, the first or last sample
// taken twice in the first or last interval. With fewer than 4 samples t itself is returned
// (deliberately: too few samples leave the position unchanged) and `values` is not read. t <= 0
// or NaN gives values[0]; t >= 1 gives values[n - 1]. In float: k = trunc((n - 1) * t) and the
// position inside the interval is min((t - k * (1 / (n - 1))) * (n - 1), 1).
float GSInterpolateValue(float t, int n, float const* values);
// The same steps, then values[k] + u * (values[k + 1] - values[k]).
float GSInterpolateValueLinear(float t, int n, float const* values);

// 2 to the power -g.
float GSGetRelativePositionForGamma(float g);
double GSGetRelativePositionForGamma(double g);
// The inverse: p limited to 0.001..0.999, then ln(p) / -ln 2 (the float version divides by
// -0.6931472, the double one by -0.6931471805599453), limited to at most 10.
float GSGetGammaForRelativePosition(float p);
double GSGetGammaForRelativePosition(double p);
