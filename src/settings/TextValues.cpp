#include "TextValues.h"

#include <cmath>
#include <limits>

namespace {

// Reads the leading integer of the text, saturating at [minimum, maximum]. The magnitude is gathered
// unsigned and capped before it could pass the limit, so no step can overflow.
template <typename Int>
Int leadingInteger(QStringView text)
{
    static_assert(std::numeric_limits<Int>::is_signed, "a signed result is expected");
    const qsizetype size = text.size();
    qsizetype i = 0;
    while (i < size && text[i].isSpace())
        ++i;

    bool negative = false;
    if (i < size && (text[i] == u'+' || text[i] == u'-')) {
        negative = text[i] == u'-';
        ++i;
    }

    const quint64 limit =
        negative ? quint64(std::numeric_limits<Int>::max()) + 1u : quint64(std::numeric_limits<Int>::max());
    quint64 magnitude = 0;
    for (; i < size; ++i) {
        const char16_t c = text[i].unicode();
        if (c < u'0' || c > u'9')
            break;
        const quint64 digit = c - u'0';
        magnitude = magnitude > (limit - digit) / 10u ? limit : magnitude * 10u + digit;
    }

    if (!negative)
        return Int(magnitude);
    if (magnitude == limit)
        return std::numeric_limits<Int>::min();
    return Int(-Int(magnitude));
}

// NSString's boolValue: only the first significant character counts.
bool textBoolValue(QStringView text)
{
    const qsizetype size = text.size();
    qsizetype i = 0;
    while (i < size && text[i].isSpace())
        ++i;
    if (i < size && (text[i] == u'+' || text[i] == u'-'))
        ++i;
    while (i < size && text[i] == u'0')
        ++i;
    if (i == size)
        return false;
    const char16_t c = text[i].unicode();
    return c == u'Y' || c == u'y' || c == u'T' || c == u't' || (c >= u'1' && c <= u'9');
}

qint64 saturatingFromDouble(double value)
{
    if (std::isnan(value))
        return 0;
    // 2^63 is exactly representable; anything at or beyond it does not fit.
    constexpr double bound = 9223372036854775808.0;
    if (value >= bound)
        return std::numeric_limits<qint64>::max();
    if (value < -bound)
        return std::numeric_limits<qint64>::min();
    return qint64(value);
}

bool isText(const QVariant& value)
{
    return value.typeId() == QMetaType::QString;
}

} // namespace

qint32 intValue(QStringView text)
{
    return leadingInteger<qint32>(text);
}

qint64 integerValue(QStringView text)
{
    return leadingInteger<qint64>(text);
}

qint64 integerValue(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
        return value.toBool() ? 1 : 0;
    case QMetaType::Int:
    case QMetaType::Short:
    case QMetaType::SChar:
    case QMetaType::Char:
    case QMetaType::Long:
    case QMetaType::LongLong:
        return value.toLongLong();
    case QMetaType::UInt:
    case QMetaType::UShort:
    case QMetaType::UChar:
    case QMetaType::ULong:
    case QMetaType::ULongLong: {
        const qulonglong v = value.toULongLong();
        return v > qulonglong(std::numeric_limits<qint64>::max()) ? std::numeric_limits<qint64>::max()
                                                                  : qint64(v);
    }
    case QMetaType::Double:
    case QMetaType::Float:
        return saturatingFromDouble(value.toDouble());
    default:
        break;
    }
    if (isText(value))
        return integerValue(QStringView(value.toString()));
    return 0;
}

bool boolValue(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
        return value.toBool();
    case QMetaType::Double:
    case QMetaType::Float: {
        const double v = value.toDouble();
        return v != 0.0 && !std::isnan(v);
    }
    default:
        break;
    }
    if (isText(value))
        return textBoolValue(value.toString());
    return integerValue(value) != 0;
}

QStringList componentsSeparatedByString(const QString& text, const QString& separator)
{
    if (text.isNull())
        return {};
    if (separator.isEmpty())
        return {text};
    return text.split(separator, Qt::KeepEmptyParts);
}
