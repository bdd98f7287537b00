// Sizes of frames and their parts, which are signed 32-bit numbers everywhere. A result that is
// negative or leaves this range doesn't fit, and neither does anything computed from it.
#pragma once

#include <cstdint>

class Size {
  public:
    constexpr Size(int64_t value)  // NOLINT(google-explicit-constructor): numbers are sizes
        : mValue(value >= 0 && value <= INT32_MAX ? value : OUT_OF_RANGE) {}

    constexpr bool fits() const { return mValue != OUT_OF_RANGE; }
    // The size, or -1 when it doesn't fit.
    constexpr int32_t value() const { return static_cast<int32_t>(mValue); }

    friend constexpr Size operator+(Size a, Size b) { return both(a, b, a.mValue + b.mValue); }
    friend constexpr Size operator-(Size a, Size b) { return both(a, b, a.mValue - b.mValue); }
    friend constexpr Size operator*(Size a, Size b) { return both(a, b, a.mValue * b.mValue); }
    friend constexpr Size operator/(Size a, int b) { return both(a, a, a.mValue / b); }
    friend constexpr Size operator>>(Size a, int bits) { return both(a, a, a.mValue >> bits); }

    // Rounded up to a multiple of step, a power of two.
    friend constexpr Size alignUp(Size a, int step) {
        return both(a, a, (a.mValue + step - 1) / step * step);
    }
    // Rounded down to a multiple of step, a power of two.
    friend constexpr Size alignDown(Size a, int step) { return both(a, a, a.mValue / step * step); }

  private:
    static constexpr int64_t OUT_OF_RANGE = -1;
    static constexpr Size both(Size a, Size b, int64_t result) {
        return a.fits() && b.fits() ? result : OUT_OF_RANGE;
    }

    int64_t mValue;
};
