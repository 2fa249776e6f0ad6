// Compiled with -ffp-contract=off (gs/CMakeLists.txt): every product below is rounded to float
// before it is added, as the tables' definition requires.
#include "gs/util/GSMath.h"

#include <array>
#include <cmath>
#include <mutex>

float uToF255[260];
float uToF1[260];
float uToF1Inv[260];
float usToF1[65536];
int usSquareRootTable1[65536];
int uSquareRootTable1[256];
unsigned char uMulTab[256][512];
float __gsCubicFactorTableFloat[256][4];
int __gsCubicFactorTableInt[256][4];

namespace {

std::array<float, 512> atanTable;

// Calls set(entry, i) for every entry of a table, i counting from 0: the table's own extent
// bounds the loop.
template <class Table, class Set>
void forEach(Table& table, Set set)
{
    int i = 0;
    for (auto& entry : table)
        set(entry, i++);
}

// floor(x + 0.49) in float, then toward zero to int (the value is already whole).
int roundedDown(float x)
{
    float const shifted = x + 0.49f;
    return static_cast<int>(std::floor(shifted));
}

int roundedRoot(float x, float scale)
{
    float const scaled = std::sqrt(x) * scale;
    return roundedDown(scaled);
}

void fillChannelTables()
{
    // 257 entries: an interpolation may read one past 255. The rest of the room stays 0.
    for (int i = 0; i <= 256; ++i) {
        uToF255[i] = static_cast<float>(i);
        uToF1[i] = static_cast<float>(i) / 255.0f;
        uToF1Inv[i] = static_cast<float>(255 - i) / 255.0f;
    }
    forEach(usToF1, [](float& entry, int i) { entry = static_cast<float>(i) / 65535.0f; });
}

void fillSquareRootTables()
{
    forEach(usSquareRootTable1, [](int& entry, int i) { entry = roundedRoot(usToF1[i], 65535.0f); });
    forEach(uSquareRootTable1, [](int& entry, int i) { entry = roundedRoot(uToF1[i], 255.0f); });
}

void fillMultiplicationTable()
{
    forEach(uMulTab, [](unsigned char(&row)[512], int a) {
        // Column 511 stays 0.
        for (int j = 0; j < 511; ++j) {
            // The product is at most 65025 in magnitude, exact in float.
            float const quotient = static_cast<float>((j - 255) * a) / 255.0f;
            row[j] = static_cast<unsigned char>(roundedDown(quotient));
        }
    });
}

void fillCubicFactorRows(float t, int (&integers)[4], float (&weights)[4])
{
    float w[4];
    GSCalcCubicFactors(t, w);
    int sum = 0;
    forEach(integers, [&](int& entry, int k) {
        entry = static_cast<int>(w[k] * 256.49f);
        sum += entry;
    });
    // The weight of the nearer left point takes what truncation lost.
    integers[1] += 256 - sum;
    float const total = ((w[0] + w[1]) + w[2]) + w[3];
    float const missing = 1.0f - total;
    weights[0] = w[0];
    weights[1] = w[1] + missing;
    weights[2] = w[2];
    weights[3] = w[3];
}

void fillCubicFactorTables()
{
    float t = 1.0f / 512.0f;
    forEach(__gsCubicFactorTableInt, [&t](int(&integers)[4], int i) {
        fillCubicFactorRows(t, integers, __gsCubicFactorTableFloat[i]);
        t += 1.0f / 256.0f;
    });
}

void fillArctangentTable()
{
    forEach(atanTable, [](float& entry, int k) {
        float const ratio = static_cast<float>(k) / 511.0f;
        entry = static_cast<float>(std::atan(static_cast<double>(ratio)));
    });
}

void fillTables()
{
    fillChannelTables();
    fillSquareRootTables();
    fillMultiplicationTable();
    fillCubicFactorTables();
    fillArctangentTable();
}

// T[trunc(ratio * 511)]; a ratio that is not below 1 (1 itself, or NaN) reads the last entry.
float arctangent(float ratio) { return atanTable[ratio < 1.0f ? static_cast<int>(ratio * 511.0f) : 511]; }

constexpr float kQuarterPi = 0.7853982f;
constexpr float kHalfPi = 1.5707964f;
constexpr float kPi = 3.1415927f;
constexpr float kThreeHalvesPi = 4.712389f;
constexpr float kTwoPi = 6.2831855f;

std::once_flag tablesFilled;

} // namespace

short MathInit()
{
    std::call_once(tablesFilled, fillTables);
    return 0;
}

void MathExit() {}

template <class F>
static void cubicFactors(F t, F* w)
{
    F const t2 = t * t;
    F const t3 = t2 * t;
    w[0] = t2 - t3 / 2 - t / 2;
    w[1] = 3 * t3 / 2 - 5 * t2 / 2 + 1;
    w[2] = t / 2 + 2 * t2 - 3 * t3 / 2;
    w[3] = t3 / 2 - t2 / 2;
}

void GSCalcCubicFactors(float t, float* w) { cubicFactors(t, w); }
void GSCalcCubicFactors(double t, double* w) { cubicFactors(t, w); }

float fAtan(float y, float x)
{
    if (y >= 0) {
        if (x >= 0) {
            if (x > y)
                return arctangent(y / x);
            if (x == y)
                return kQuarterPi;
            return kHalfPi - arctangent(x / y);
        }
        if (-x > y)
            return kPi - arctangent(y / -x);
        return kHalfPi + arctangent(-x / y);
    }
    if (x < 0) {
        if (x >= y)
            return kThreeHalvesPi - arctangent(x / y);
        return kPi + arctangent(y / x);
    }
    if (-y < x)
        return kTwoPi - arctangent(-y / x);
    return kThreeHalvesPi + arctangent(x / -y);
}
