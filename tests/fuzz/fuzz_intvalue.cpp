// The intValue rule on any text: it agrees with the 64-bit reading saturated to 32 bits, and on a plain
// signed decimal number with exact arithmetic.

#include "FuzzSupport.h"

#include "TextValues.h"

#include <algorithm>
#include <limits>

namespace {

// A sign and ASCII digits only; the value saturated at the 64-bit limits, or nothing for any other text.
bool plainNumber(const QString& text, qint64* value)
{
    qsizetype i = 0;
    bool negative = false;
    if (i < text.size() && (text[i] == QLatin1Char('+') || text[i] == QLatin1Char('-')))
        negative = text[i++] == QLatin1Char('-');
    if (i == text.size())
        return false;
    __int128 magnitude = 0;
    for (; i < text.size(); ++i) {
        if (text[i] < QLatin1Char('0') || text[i] > QLatin1Char('9'))
            return false;
        magnitude = magnitude * 10 + (text[i].unicode() - '0');
        if (magnitude > (__int128(1) << 64))
            magnitude = __int128(1) << 64;
    }
    const __int128 signedValue = negative ? -magnitude : magnitude;
    const __int128 lowest = std::numeric_limits<qint64>::min();
    const __int128 highest = std::numeric_limits<qint64>::max();
    *value = qint64(signedValue < lowest ? lowest : signedValue > highest ? highest : signedValue);
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString text = fuzz::text(data, size);
    const qint32 value = intValue(text);
    const qint64 wide = integerValue(text);
    FUZZ_CHECK(qint64(value) == std::clamp(wide, qint64(std::numeric_limits<qint32>::min()),
                                           qint64(std::numeric_limits<qint32>::max())));
    qint64 expected = 0;
    if (plainNumber(text, &expected)) {
        FUZZ_CHECK(wide == expected);
        // What follows the number never changes it.
        FUZZ_CHECK(intValue(text + QStringLiteral("x9")) == value);
        FUZZ_CHECK(intValue(QStringLiteral(" \t") + text) == value);
    }
    FUZZ_CHECK(integerValue(QVariant(text)) == wide);
    return 0;
}
