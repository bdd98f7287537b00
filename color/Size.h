// A Size is a number of bytes or pixels. It fits if it is in the range of a signed 32-bit number
// and not negative. What is computed from a size that doesn't fit doesn't fit either.
#pragma once

#include <cstdint>

class Size {
  public:
    constexpr Size(int64_t value)  // NOLINT(google-explicit-constructor): numbers are sizes
        : mValue(value >= 0 && value <= INT32_MAX ? value : OUT_OF_RANGE) {}

    constexpr bool fits() const { return mValue != OUT_OF_RANGE; }
    // Returns the size, or -1 if it doesn't fit.
    constexpr int32_t value() const { return static_cast<int32_t>(mValue); }

    friend constexpr Size operator+(Size a, Size b) { return ifFit(a, b, a.mValue + b.mValue); }
    friend constexpr Size operator-(Size a, Size b) { return ifFit(a, b, a.mValue - b.mValue); }
    friend constexpr Size operator*(Size a, Size b) { return ifFit(a, b, a.mValue * b.mValue); }
    friend constexpr Size operator/(Size a, int b) { return ifFit(a, a, a.mValue / b); }
    friend constexpr Size operator>>(Size a, int bits) { return ifFit(a, a, a.mValue >> bits); }

    // Returns the size rounded up to a multiple of step.
    friend constexpr Size alignUp(Size a, int step) {
        return ifFit(a, a, (a.mValue + step - 1) / step * step);
    }

  private:
    static constexpr int64_t OUT_OF_RANGE = -1;
    // Returns the result if both operands fit.
    static constexpr Size ifFit(Size a, Size b, int64_t result) {
        return a.fits() && b.fits() ? result : OUT_OF_RANGE;
    }

    int64_t mValue;
};
