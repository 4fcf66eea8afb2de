#pragma once

// The one stored form of a colour, shared by everything that writes or reads "BRVTextColor" and
// "BRVBgColor". It keeps the colour's model (RGB, HSV, HSL or CMYK) and its components at full precision,
// so a colour comes back equal (QColor::operator==) to the one archived. Extended-RGB colours are kept as
// QColor holds them, half floats bit for bit, so they come back extended, with the very same alpha.

#include <QByteArray>
#include <QColor>

/// The colour as self-describing data: a magic header and a format version, then the model and its
/// components, in QDataStream's Qt 6.0 encoding. An invalid colour archives too and comes back invalid.
QByteArray archivedDataWithRootObject(const QColor& color);

/// The colour in data made by archivedDataWithRootObject(). Anything else (empty, truncated, foreign or
/// damaged data, components out of range) yields an invalid QColor.
QColor unarchiveObjectWithData(const QByteArray& data);
