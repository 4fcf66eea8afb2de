#include "ColorArchive.h"

#include <QDataStream>
#include <QFloat16>
#include <QIODevice>

#include <cmath>
#include <cstring>

namespace {

// "BRVC": tells a colour archive apart from any other data that may sit under the key.
constexpr quint32 Magic = 0x42525643;
constexpr quint8 FormatVersion = 1;
// Extended RGB as QColor holds it: four half floats, bit for bit. Version 1 went through fromRgbF(), which
// turns a colour whose components all lie within 0-1 into plain RGB and rounds its alpha.
constexpr quint8 ExtendedFormatVersion = 2;
constexpr QDataStream::Version StreamVersion = QDataStream::Qt_6_0;

bool isUnit(double v)
{
    return v >= 0.0 && v <= 1.0;
}

// Extended RGB is held in 16-bit floats; anything beyond their largest finite value would become infinite.
bool isExtendedComponent(double v)
{
    return v >= -65504.0 && v <= 65504.0;
}

quint16 halfBits(float v)
{
    const qfloat16 half(v);
    quint16 bits = 0;
    std::memcpy(&bits, &half, sizeof bits);
    return bits;
}

float halfValue(quint16 bits)
{
    qfloat16 half;
    // qfloat16 holds exactly its 16 bits; the cast says that copying them in is meant.
    std::memcpy(static_cast<void*>(&half), &bits, sizeof bits);
    return float(half);
}

// Version 2: alpha, red, green, blue as half-float bits.
QColor unarchiveExtended(QDataStream& in)
{
    quint16 alpha = 0, red = 0, green = 0, blue = 0;
    in >> alpha >> red >> green >> blue;
    const float a = halfValue(alpha);
    if (in.status() != QDataStream::Ok || !in.atEnd() || !isUnit(a))
        return {};
    for (const quint16 c : {red, green, blue}) {
        if (!std::isfinite(halfValue(c)))
            return {};
    }
    return QColor(QColor::ExtendedRgb, alpha, red, green, blue, 0);
}

bool isHue(double v)
{
    // -1 marks an achromatic colour, which has no hue.
    return v == -1.0 || isUnit(v);
}

} // namespace

QByteArray archivedDataWithRootObject(const QColor& color)
{
    QByteArray data;
    QDataStream out(&data, QIODevice::WriteOnly);
    out.setVersion(StreamVersion);
    out.setFloatingPointPrecision(QDataStream::DoublePrecision);
    if (color.spec() == QColor::ExtendedRgb) {
        float r = 0, g = 0, b = 0, a = 0;
        color.getRgbF(&r, &g, &b, &a);
        // The floats come from half floats, so converting back is exact.
        out << Magic << ExtendedFormatVersion << quint8(QColor::ExtendedRgb) << halfBits(a) << halfBits(r)
            << halfBits(g) << halfBits(b);
        return data;
    }
    out << Magic << FormatVersion << quint8(color.spec());

    float a = 0, b = 0, c = 0, d = 0, alpha = 0;
    switch (color.spec()) {
    case QColor::Invalid:
        break;
    case QColor::Rgb: {
        // RGB is kept as 16-bit integers, exactly as QColor holds it.
        const QRgba64 rgba = color.rgba64();
        out << rgba.red() << rgba.green() << rgba.blue() << rgba.alpha();
        break;
    }
    case QColor::ExtendedRgb:
        // Written above, in its own version.
        break;
    case QColor::Hsv:
        color.getHsvF(&a, &b, &c, &alpha);
        out << double(a) << double(b) << double(c) << double(alpha);
        break;
    case QColor::Hsl:
        color.getHslF(&a, &b, &c, &alpha);
        out << double(a) << double(b) << double(c) << double(alpha);
        break;
    case QColor::Cmyk:
        color.getCmykF(&a, &b, &c, &d, &alpha);
        out << double(a) << double(b) << double(c) << double(d) << double(alpha);
        break;
    }
    return data;
}

QColor unarchiveObjectWithData(const QByteArray& data)
{
    QDataStream in(data);
    in.setVersion(StreamVersion);
    in.setFloatingPointPrecision(QDataStream::DoublePrecision);

    quint32 magic = 0;
    quint8 version = 0;
    quint8 model = 0;
    in >> magic >> version >> model;
    if (in.status() != QDataStream::Ok || magic != Magic)
        return {};
    if (version == ExtendedFormatVersion && model == QColor::ExtendedRgb)
        return unarchiveExtended(in);
    if (version != FormatVersion)
        return {};

    QColor color;
    double a = 0, b = 0, c = 0, d = 0, alpha = 0;
    switch (model) {
    case QColor::Invalid:
        break;
    case QColor::Rgb: {
        quint16 r = 0, g = 0, bl = 0, al = 0;
        in >> r >> g >> bl >> al;
        color = QColor::fromRgba64(r, g, bl, al);
        break;
    }
    case QColor::ExtendedRgb:
        // Only archives of version 1 come here.
        in >> a >> b >> c >> alpha;
        if (isExtendedComponent(a) && isExtendedComponent(b) && isExtendedComponent(c) && isUnit(alpha))
            color = QColor::fromRgbF(float(a), float(b), float(c), float(alpha));
        break;
    case QColor::Hsv:
        in >> a >> b >> c >> alpha;
        if (isHue(a) && isUnit(b) && isUnit(c) && isUnit(alpha))
            color = QColor::fromHsvF(float(a), float(b), float(c), float(alpha));
        break;
    case QColor::Hsl:
        in >> a >> b >> c >> alpha;
        if (isHue(a) && isUnit(b) && isUnit(c) && isUnit(alpha))
            color = QColor::fromHslF(float(a), float(b), float(c), float(alpha));
        break;
    case QColor::Cmyk:
        in >> a >> b >> c >> d >> alpha;
        if (isUnit(a) && isUnit(b) && isUnit(c) && isUnit(d) && isUnit(alpha))
            color = QColor::fromCmykF(float(a), float(b), float(c), float(d), float(alpha));
        break;
    default:
        return {};
    }

    // A short read leaves zeros behind, and trailing bytes mean this is not one of ours: both are damage.
    if (in.status() != QDataStream::Ok || !in.atEnd())
        return {};
    return color;
}
