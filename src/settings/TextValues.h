#pragma once

// Number and truth readings of texts and stored values, with the rules of Cocoa's NSString and
// NSUserDefaults. Stored settings come back from an INI file as plain text, and typed times are read
// field by field, so every reader of a setting or a time field must agree on these rules; none of them
// fails, bad input reads as 0 or false.

#include <QString>
#include <QStringList>
#include <QStringView>
#include <QVariant>
#include <QtGlobal>

/// The text's leading decimal integer: leading white space skipped, one optional "+" or "-", then decimal
/// digits up to the first other character. No digits give 0; values beyond the 32-bit range saturate at
/// its limits. ("1a" is 1, "ab" is 0, "-01" is -1.)
qint32 intValue(QStringView text);

/// As intValue(), saturating at the 64-bit limits instead.
qint64 integerValue(QStringView text);
/// Spelled out so that a QString argument is not ambiguous between the text and the stored-value reading.
inline qint64 integerValue(const QString& text)
{
    return integerValue(QStringView(text));
}

/// A stored value read as an integer: numbers as they are (bools as 0 or 1, fractions truncated toward
/// zero, saturating), texts by integerValue(QStringView); anything else is 0.
qint64 integerValue(const QVariant& value);

/// A stored value read as a truth value: bools as they are, numbers when not zero, texts as NSString's
/// boolValue reads them (white space, an optional sign and zeros skipped, then true on "Y", "y", "T", "t"
/// or a digit 1-9, whatever follows); anything else is false. ("YES", "true", "-01" are true; "NO",
/// "false", "0", "" are false.)
bool boolValue(const QVariant& value);

/// The text cut at every occurrence of the separator, empty pieces kept: "::5" gives "", "" and "5", an
/// empty text gives one empty piece, and a null text gives no pieces at all. An empty separator cuts
/// nowhere.
QStringList componentsSeparatedByString(const QString& text, const QString& separator);
