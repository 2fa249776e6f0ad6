// Compiled with -ffp-contract=off (gs/CMakeLists.txt), like the tables.
#include "gs/util/GSMathHelpers.h"

#include "gs/util/GSMath.h"

#include <algorithm>
#include <bit>
#include <cmath>

int isqrt(int x)
{
    unsigned int const low = static_cast<unsigned int>(x) & 0x3FFFFFFFu;
    unsigned int const n = low * 4;
    if (n < 2)
        return static_cast<int>(n);
    // From any start at or above sqrt(n) the iterates fall until they stop, and p is then
    // floor(sqrt(n)). The power of two just above sqrt(n) gets there in a few steps; starting at
    // n / 2 gives the same p for every argument, after up to 17 steps.
    unsigned int y = 1u << ((std::bit_width(n) + 1) / 2);
    unsigned int p;
    do {
        p = y;
        y = (n / y + y) >> 1;
    } while (y < p);
    return static_cast<int>((p + 1) >> 1);
}

unsigned int asqrt(unsigned int x)
{
    unsigned int v = x;
    unsigned int c = 0;
    if (x < 65536) {
        v = x << 16;
        c = 16;
    }
    while (v != 1) {
        ++c;
        v >>= 1;
    }
    unsigned int lo = 1u << ((c >> 1) & 31);
    unsigned int const twice = 2 * lo;
    // 2 * lo as a sign-extended 16-bit value, or all ones when its low 16 bits are 0.
    unsigned int const hi = (twice & 0xFFFFu) == 0 ? 0xFFFFFFFFu : static_cast<unsigned int>(static_cast<short>(twice));
    if (hi - lo == 1)
        return lo;
    for (;;) {
        unsigned int const mid = lo + ((hi - lo) >> 1);
        unsigned int const square = mid * mid;
        if (square == x)
            return mid;
        if (square > x)
            lo = x;
        if (hi - lo == 1)
            return lo;
    }
}

int ilog2(int x)
{
    if (x < 2)
        return 0;
    int log = 1;
    for (; x > 3; x >>= 1)
        ++log;
    return log;
}

namespace {

template <class F>
F gainOf(F a, F t)
{
    F const g = (1 / a - 2) * (1 - 2 * t);
    if (t < F(0.5))
        return t / (g + 1);
    return (g - t) / (g - 1);
}

template <class F>
F invbiasOf(F a, F b)
{
    return a / (2 * a + (b - a) / (1 - b));
}

template <class F>
F limited(F v, F lowest, F highest)
{
    if (v < lowest)
        return lowest;
    if (v > highest)
        return highest;
    return v;
}

template <class F>
bool isEqual(F a, F b)
{
    return std::fabs(a - b) <= F(1e-5);
}

template <class F>
bool isEqualFloating(F a, F b)
{
    return std::fabs(a - b) <= std::max(std::fabs(a) * F(1e-5), std::fabs(b) * F(1e-5));
}

template <class F>
F clipAngle(F angle, short keepFullTurn, F twoPi)
{
    F v = angle;
    if (angle > F(100000)) {
        v = twoPi;
    } else if (angle < F(-100000)) {
        v = 0;
    } else {
        while (v > twoPi)
            v -= twoPi;
        while (v < 0)
            v += twoPi;
    }
    if (keepFullTurn == 0 && isEqual(v, twoPi))
        return v - twoPi;
    return v;
}

// Steps shared by both interpolations. Returns true with the result in *value when t needs no
// interpolation; otherwise sets the interval k and the position u inside it.
bool locate(float t, int n, float const* values, float* value, int* k, float* u)
{
    if (n < 4) {
        *value = t;
        return true;
    }
    if (!(t > 0)) {
        *value = values[0];
        return true;
    }
    // t >= 1 is tested before the truncation, which a large t would overflow.
    float const last = static_cast<float>(n - 1);
    *k = t < 1 ? static_cast<int>(last * t) : n - 1;
    if (*k >= n - 1) {
        *value = values[n - 1];
        return true;
    }
    float const start = static_cast<float>(*k) * (1.0f / last);
    *u = std::min((t - start) * last, 1.0f);
    return false;
}

} // namespace

float gain(float a, float t) { return gainOf(a, t); }
double gain(double a, double t) { return gainOf(a, t); }

float invbias(float a, float t) { return invbiasOf(a, limited(t, 0.001f, 0.999f)); }

double invbias(double a, double t)
{
    double b = t;
    if (t < 0.001)
        b = 0.001;
    else if (t > static_cast<double>(0.999f))
        b = 0.999;
    return invbiasOf(a, b);
}

double GSClipAngle(double angle, short keepFullTurn) { return clipAngle(angle, keepFullTurn, 6.283185307179586); }
float GSClipAngle(float angle, short keepFullTurn) { return clipAngle(angle, keepFullTurn, 6.2831855f); }

bool GSIsEqual(double a, double b) { return isEqual(a, b); }
bool GSIsEqual(float a, float b) { return isEqual(a, b); }
bool GSIsEqualFloating(double a, double b) { return isEqualFloating(a, b); }
bool GSIsEqualFloating(float a, float b) { return isEqualFloating(a, b); }

// The step count stays in floating point: it is whole, so converting it to the integer and back
// changes nothing inside the integer's range, and limiting it to +-2^31 (+-2^63) gives what the
// saturated integer would give back (its maximum rounds up to 2^31, 2^63).
float GSCorrectForGranularity(float v, float g)
{
    float const steps = std::floor(v / g + 0.49f);
    return std::clamp(steps, -2147483648.0f, 2147483648.0f) * g;
}

double GSCorrectForGranularity(double v, double g)
{
    double const steps = std::floor(v / g + 0.49);
    return std::clamp(steps, -9223372036854775808.0, 9223372036854775808.0) * g;
}

double GSMergeAngles(double a, double b, double t)
{
    constexpr double twoPi = static_cast<double>(6.2831855f);
    constexpr double pi = 3.141592653589793;
    double d = (b < a ? b + twoPi : b) - a;
    if (d > pi)
        d -= twoPi;
    return a + d * t;
}

float GSMergeAngles(float a, float b, float t)
{
    return static_cast<float>(GSMergeAngles(static_cast<double>(a), static_cast<double>(b), static_cast<double>(t)));
}

float GSInterpolateValue(float t, int n, float const* values)
{
    float value;
    int k;
    float u;
    if (locate(t, n, values, &value, &k, &u))
        return value;
    float w[4];
    GSCalcCubicFactors(u, w);
    // Outside the samples the nearest one is taken twice.
    float const before = values[k == 0 ? 0 : k - 1];
    float const after = values[k == n - 2 ? k + 1 : k + 2];
    return w[0] * before + w[1] * values[k] + w[2] * values[k + 1] + w[3] * after;
}

float GSInterpolateValueLinear(float t, int n, float const* values)
{
    float value;
    int k;
    float u;
    if (locate(t, n, values, &value, &k, &u))
        return value;
    return values[k] + u * (values[k + 1] - values[k]);
}

float GSGetRelativePositionForGamma(float g) { return std::exp2(-g); }
double GSGetRelativePositionForGamma(double g) { return std::exp2(-g); }

float GSGetGammaForRelativePosition(float p)
{
    float const gamma = std::log(limited(p, 0.001f, 0.999f)) / -0.6931472f;
    return std::min(gamma, 10.0f);
}

double GSGetGammaForRelativePosition(double p)
{
    double const gamma = std::log(limited(p, 0.001, 0.999)) / -0.6931471805599453;
    return std::min(gamma, 10.0);
}
