// The process-wide numeric lookup tables, the cubic interpolation weights and the table arctangent.
//
// The tables are plain global arrays, zero until MathInit fills them (index i counts from 0):
//
// | Table                     | Element       | Entries               | Content                            |
// |---------------------------|---------------|-----------------------|------------------------------------|
// | uToF255                   | float         | 257 filled (room 260) | i                                  |
// | uToF1                     | float         | 257 filled (room 260) | i / 255                            |
// | uToF1Inv                  | float         | 257 filled (room 260) | (255 - i) / 255; [256] is -1/255   |
// | usToF1                    | float         | 65536                 | i / 65535                          |
// | usSquareRootTable1        | int           | 65536                 | floor(sqrt(usToF1[i]) * 65535 + 0.49) |
// | uSquareRootTable1         | int           | 256                   | floor(sqrt(uToF1[i]) * 255 + 0.49) |
// | uMulTab                   | unsigned char | 256 rows of 512       | see below                          |
// | __gsCubicFactorTableFloat | float         | 256 rows of 4         | weights at t = 1/512 + i/256, sum 1 |
// | __gsCubicFactorTableInt   | int           | 256 rows of 4         | the same in 1/256 units, sum 256   |
//
// uMulTab[a][d + 255] is floor(d * a / 255 + 0.49) for a = 0..255 and d = -255..255, stored as its
// low byte (a negative product as its two's complement); column 511 stays 0.
//
// The 257th entry of the three 8-bit-to-float tables lets an interpolation read one entry past 255
// without leaving the table. Cubic rows: the weights w come from GSCalcCubicFactors(float) with t
// built by adding 1/256 in float; the integer row holds trunc(w[k] * 256.49), and 256 minus the
// row's sum is added to its second entry; the float row stores w[1] + (1 - (((w[0] + w[1]) + w[2])
// + w[3])) as its second entry and the other three weights as they are.
//
// Bit-exactness: every fill is single-precision arithmetic, one rounding per operation (float
// divisions, float square roots, floorf, truncation toward zero), so the tables are the same on
// every platform and compiler. The build compiles GSMath.cpp and GSMathHelpers.cpp with
// -ffp-contract=off (gs/CMakeLists.txt), which forbids fusing a multiply and an add into one
// rounding, and each step is kept in a float variable. The arctangent table holds the correctly
// rounded float arctangent of float(k) / 511, taken as the double arctangent rounded to float:
// every entry lies far from a float rounding midpoint, so any C library whose double atan is within
// a few units in the last place gives the same table (atanf itself differs between libraries).
//
// Threads: MathInit fills the tables once per process, under std::call_once: it may be called any
// number of times, also concurrently; every call returns after the tables are complete, and later
// calls write nothing. A thread that reads a table without calling MathInit itself must be ordered
// after a completed MathInit by the host.
#pragma once

extern float uToF255[260];
extern float uToF1[260];
extern float uToF1Inv[260];
extern float usToF1[65536];
extern int usSquareRootTable1[65536];
extern int uSquareRootTable1[256];
extern unsigned char uMulTab[256][512];
extern float __gsCubicFactorTableFloat[256][4];
extern int __gsCubicFactorTableInt[256][4];

// Fills every table (the first call only); returns 0.
short MathInit();
// Does nothing: the tables live as long as the process.
void MathExit();

// The four Catmull-Rom weights for position t (0..1) between the second and the third of four
// points, each evaluated left to right in the argument's precision (t2 = t * t, t3 = t2 * t):
// w[0] = t2 - t3/2 - t/2; w[1] = 3*t3/2 - 5*t2/2 + 1; w[2] = t/2 + 2*t2 - 3*t3/2; w[3] = t3/2 - t2/2.
void GSCalcCubicFactors(float t, float* w);
void GSCalcCubicFactors(double t, double* w);

// The angle of the point (x, y) from a 512-entry arctangent table T[k] = atan(k / 511), read at
// trunc(r * 511) for the ratio r (0..1) of the smaller to the larger magnitude, placed in the
// octant that the signs and magnitudes give (T[y/x] in the first, pi/2 - T[x/y] in the second, and
// so on round the circle). The result is in [0, 2pi], within one table step (about 0.002) of the
// true angle. The origin, and every point with x == y >= 0, gives pi/4 (deliberately); a point just
// below the positive x axis gives 2pi itself (2pi - T[0]). A ratio that is not a number (both
// coordinates infinite, or a NaN) reads T[511], so infinite points get their diagonal's angle and
// NaN gives some value in [0, 2pi]. Needs MathInit.
float fAtan(float y, float x);
