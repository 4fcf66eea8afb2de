#include "SettingsFileFormat.h"

#include "SettingsFileGuard.h"

#include <QDataStream>
#include <QFile>
#include <QFileDevice>
#include <QHash>
#include <QStringList>

#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

namespace {

const char HexDigits[] = "0123456789abcdef";

bool isHexDigit(uint ch)
{
    return (ch >= '0' && ch <= '9') || (ch >= 'a' && ch <= 'f') || (ch >= 'A' && ch <= 'F');
}

int hexValue(uint ch)
{
    if (ch >= '0' && ch <= '9')
        return int(ch - '0');
    if (ch >= 'a' && ch <= 'f')
        return int(ch - 'a' + 10);
    return int(ch - 'A' + 10);
}

bool isBlank(char ch)
{
    return ch == ' ' || ch == '\t';
}

QByteArrayView trimmed(QByteArrayView text)
{
    while (!text.isEmpty() && isBlank(text.front()))
        text = text.sliced(1);
    while (!text.isEmpty() && isBlank(text.back()))
        text.chop(1);
    return text;
}

// ---- keys ----

// As QSettings writes keys: "/" as "\", letters, digits, "_", "-" and "." as they are, the rest as %XX or
// %UXXXX.
QByteArray escapedKey(const QString& key)
{
    QByteArray result;
    for (const QChar qc : key) {
        const uint ch = qc.unicode();
        if (ch == '/') {
            result += '\\';
        } else if ((ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z') || (ch >= '0' && ch <= '9') ||
                   ch == '_' || ch == '-' || ch == '.') {
            result += char(ch);
        } else if (ch <= 0xFF) {
            result += '%';
            result += HexDigits[ch / 16];
            result += HexDigits[ch % 16];
        } else {
            result += "%U";
            for (int shift = 12; shift >= 0; shift -= 4)
                result += HexDigits[(ch >> shift) & 0xF];
        }
    }
    return result;
}

// The reverse, as QSettings reads keys: bytes as Latin-1, "\" as "/", %XX and %UXXXX decoded.
QString unescapedKey(QByteArrayView raw)
{
    QString result;
    result.reserve(raw.size());
    for (qsizetype i = 0; i < raw.size(); ++i) {
        const uchar ch = uchar(raw[i]);
        if (ch == '\\') {
            result += QLatin1Char('/');
        } else if (ch == '%' && i + 5 < raw.size() && raw[i + 1] == 'U' && isHexDigit(uchar(raw[i + 2])) &&
                   isHexDigit(uchar(raw[i + 3])) && isHexDigit(uchar(raw[i + 4])) &&
                   isHexDigit(uchar(raw[i + 5]))) {
            const uint value = (hexValue(uchar(raw[i + 2])) << 12) | (hexValue(uchar(raw[i + 3])) << 8) |
                               (hexValue(uchar(raw[i + 4])) << 4) | hexValue(uchar(raw[i + 5]));
            result += QChar(char16_t(value));
            i += 5;
        } else if (ch == '%' && i + 2 < raw.size() && isHexDigit(uchar(raw[i + 1])) &&
                   isHexDigit(uchar(raw[i + 2]))) {
            result += QChar(char16_t((hexValue(uchar(raw[i + 1])) << 4) | hexValue(uchar(raw[i + 2]))));
            i += 2;
        } else {
            result += QLatin1Char(char(ch));
        }
    }
    return result;
}

// A key as QSettings looks it up: no leading, trailing or doubled "/". Keys that change under this are
// unreachable through QSettings and are left alone.
bool isNormalKey(const QString& key)
{
    return !key.isEmpty() && !key.startsWith(QLatin1Char('/')) && !key.endsWith(QLatin1Char('/')) &&
           !key.contains(QLatin1String("//"));
}

// ---- values ----

// Reads the lengths and numbers of QDataStream's Qt 4.0 encoding, never past the end and never allocating
// more than the bytes that are there.
class BoundedReader
{
public:
    explicit BoundedReader(QByteArrayView data)
        : m_data(data)
    {}

    template <typename T>
    std::optional<T> number()
    {
        if (m_data.size() - m_pos < qsizetype(sizeof(T)))
            return std::nullopt;
        T value{};
        QDataStream in(m_data.sliced(m_pos, sizeof(T)).toByteArray());
        in.setVersion(QDataStream::Qt_4_0);
        in >> value;
        m_pos += qsizetype(sizeof(T));
        return value;
    }

    std::optional<QByteArray> bytes()
    {
        const auto length = number<quint32>();
        if (!length)
            return std::nullopt;
        if (*length == 0xFFFFFFFFu)
            return QByteArray();
        if (*length > quint64(m_data.size() - m_pos))
            return std::nullopt;
        QByteArray result = m_data.sliced(m_pos, *length).toByteArray();
        m_pos += qsizetype(*length);
        return result.isNull() ? QByteArray("", 0) : result;
    }

    std::optional<QString> string()
    {
        const auto length = number<quint32>();
        if (!length)
            return std::nullopt;
        if (*length == 0xFFFFFFFFu)
            return QString();
        if (*length % 2 != 0 || *length > quint64(m_data.size() - m_pos))
            return std::nullopt;
        QString result(qsizetype(*length / 2), Qt::Uninitialized);
        for (qsizetype i = 0; i < result.size(); ++i) {
            const auto hi = uchar(m_data[m_pos + 2 * i]);
            const auto lo = uchar(m_data[m_pos + 2 * i + 1]);
            result[i] = QChar(char16_t((hi << 8) | lo));
        }
        m_pos += qsizetype(*length);
        return result.isNull() ? QStringLiteral("") : result;
    }

    qsizetype remaining() const { return m_data.size() - m_pos; }

private:
    QByteArrayView m_data;
    qsizetype m_pos = 0;
};

// A stored @Variant of the simple kinds; every length is checked against the bytes present before anything
// is made, so a claimed count of billions is just damage. Other kinds read as invalid.
QVariant decodeVariant(QByteArrayView data)
{
    BoundedReader in(data);
    const auto typeId = in.number<quint32>();
    if (!typeId)
        return {};
    QVariant result;
    switch (*typeId) {
    case QMetaType::Bool:
        if (auto v = in.number<qint8>())
            result = QVariant(*v != 0);
        break;
    case QMetaType::Int:
        if (auto v = in.number<qint32>())
            result = QVariant(*v);
        break;
    case QMetaType::UInt:
        if (auto v = in.number<quint32>())
            result = QVariant(*v);
        break;
    case QMetaType::LongLong:
        if (auto v = in.number<qint64>())
            result = QVariant::fromValue(*v);
        break;
    case QMetaType::ULongLong:
        if (auto v = in.number<quint64>())
            result = QVariant::fromValue(*v);
        break;
    case QMetaType::Double:
        if (auto v = in.number<double>())
            result = QVariant(*v);
        break;
    case QMetaType::QString:
        if (auto v = in.string())
            result = QVariant(*v);
        break;
    case QMetaType::QByteArray:
        if (auto v = in.bytes())
            result = QVariant(*v);
        break;
    case QMetaType::QStringList: {
        const auto count = in.number<quint32>();
        // Each entry takes at least its four length bytes.
        if (!count || *count > quint64(in.remaining() / 4))
            return {};
        QStringList list;
        list.reserve(qsizetype(*count));
        for (quint32 i = 0; i < *count; ++i) {
            auto entry = in.string();
            if (!entry)
                return {};
            list.append(*entry);
        }
        result = QVariant(list);
        break;
    }
    default:
        return {};
    }
    // Trailing bytes mean the value is not what its type says.
    if (in.remaining() != 0)
        return {};
    return result;
}

// One value's text, unescaped as QSettings' INI reader does: quotes group, unquoted commas separate
// entries, unquoted white space around an entry is dropped, an unquoted ";" starts a comment, and \a \b \f
// \n \r \t \v \\ \" \' \? \xHEX \OCTAL are escapes. Plain runs are UTF-8; a byte-order mark inside is kept.
QStringList unescapedEntries(QByteArrayView raw)
{
    QStringList entries;
    QString current;
    QByteArray run;
    // Length of current that must survive trimming (up to the last quoted or escaped character).
    qsizetype keep = 0;
    bool quoted = false;
    bool atEntryStart = true;

    auto flushRun = [&] {
        // QString::fromUtf8() drops a byte-order mark at the start of what it decodes; in a value it is a
        // character like any other (it may begin a file name).
        QByteArrayView rest(run);
        while (rest.startsWith("\xEF\xBB\xBF")) {
            current += QChar(0xFEFF);
            rest = rest.sliced(3);
        }
        if (!rest.isEmpty())
            current += QString::fromUtf8(rest);
        run.clear();
    };
    auto protect = [&] {
        flushRun();
        keep = current.size();
    };
    auto endEntry = [&] {
        flushRun();
        qsizetype end = current.size();
        while (end > keep && (current[end - 1] == QLatin1Char(' ') || current[end - 1] == QLatin1Char('\t')))
            --end;
        current.truncate(end);
        // An empty value is an empty text, never an absent one.
        entries.append(current.isNull() ? QStringLiteral("") : current);
        current.clear();
        keep = 0;
        atEntryStart = true;
    };

    qsizetype i = 0;
    const qsizetype n = raw.size();
    while (i < n) {
        const char ch = raw[i];
        if (atEntryStart && !quoted && isBlank(ch)) {
            ++i;
            continue;
        }
        atEntryStart = false;
        if (ch == '"') {
            protect();
            quoted = !quoted;
            ++i;
            continue;
        }
        if (!quoted && ch == ',') {
            endEntry();
            ++i;
            continue;
        }
        if (!quoted && ch == ';')
            break;
        if (ch != '\\') {
            // A plain run up to the next character that means something, taken in one piece.
            qsizetype end = i + 1;
            while (end < n && raw[end] != '"' && raw[end] != ',' && raw[end] != ';' && raw[end] != '\\')
                ++end;
            run += raw.sliced(i, end - i);
            i = end;
            continue;
        }
        // An escape.
        flushRun();
        ++i;
        if (i >= n)
            break;
        const char e = raw[i++];
        uint value = 0;
        switch (e) {
        case 'a':
            current += QChar(u'\a');
            break;
        case 'b':
            current += QChar(u'\b');
            break;
        case 'f':
            current += QChar(u'\f');
            break;
        case 'n':
            current += QChar(u'\n');
            break;
        case 'r':
            current += QChar(u'\r');
            break;
        case 't':
            current += QChar(u'\t');
            break;
        case 'v':
            current += QChar(u'\v');
            break;
        case 'x':
            while (i < n && isHexDigit(uchar(raw[i])))
                value = (value << 4) | uint(hexValue(uchar(raw[i++])));
            current += QChar(char16_t(value));
            break;
        default:
            if (e >= '0' && e <= '7') {
                value = uint(e - '0');
                while (i < n && raw[i] >= '0' && raw[i] <= '7')
                    value = (value << 3) | uint(raw[i++] - '0');
                current += QChar(char16_t(value));
            } else {
                current += QLatin1Char(e);
            }
            break;
        }
        keep = current.size();
    }
    endEntry();
    return entries;
}

QVariant typedValue(const QString& text)
{
    if (!text.startsWith(QLatin1Char('@')))
        return text;
    if (text.startsWith(QLatin1String("@@")))
        return text.mid(1);
    if (!text.endsWith(QLatin1Char(')')))
        return text;
    if (text == QLatin1String("@Invalid()"))
        return {};
    const auto payload = [&](QLatin1String prefix) {
        return text.mid(prefix.size(), text.size() - prefix.size() - 1);
    };
    if (text.startsWith(QLatin1String("@String(")))
        return payload(QLatin1String("@String("));
    const bool isBytes = text.startsWith(QLatin1String("@ByteArray("));
    const bool isVariant = text.startsWith(QLatin1String("@Variant("));
    if (!isBytes && !isVariant)
        return text;
    const QString inner = payload(isBytes ? QLatin1String("@ByteArray(") : QLatin1String("@Variant("));
    QByteArray bytes(inner.size(), Qt::Uninitialized);
    for (qsizetype i = 0; i < inner.size(); ++i) {
        // Bytes are written one character each; a wider character is damage.
        if (inner[i].unicode() > 0xFF)
            return {};
        bytes[i] = char(inner[i].unicode());
    }
    if (isBytes)
        return bytes.isNull() ? QVariant(QByteArray("", 0)) : QVariant(bytes);
    return decodeVariant(bytes);
}

// As QSettings escapes a value: control characters and quotes escaped, a hex digit after a \x or \0 escape
// escaped too (the reader's hex and octal escapes are greedy), in quotes when it holds ";", "," or "=" or
// starts or ends with a space. Texts are UTF-8 (a byte-order mark and lone surrogates as \x escapes, so that
// no reader drops or replaces them); bytes above 0x7E are \x escapes.
QByteArray escapedValue(const QString& text, bool asText)
{
    QByteArray result;
    result.reserve(text.size() + 2);
    bool needsQuotes = false;
    bool escapeNextIfHex = false;
    auto hexEscape = [&](uint ch) {
        result += "\\x";
        QByteArray digits = QByteArray::number(ch, 16);
        result += digits;
        escapeNextIfHex = true;
    };
    for (qsizetype i = 0; i < text.size(); ++i) {
        const uint ch = text[i].unicode();
        if (ch == ';' || ch == ',' || ch == '=')
            needsQuotes = true;
        if (escapeNextIfHex && isHexDigit(ch)) {
            hexEscape(ch);
            continue;
        }
        escapeNextIfHex = false;
        switch (ch) {
        case '\0':
            result += "\\0";
            escapeNextIfHex = true;
            break;
        case '\a':
            result += "\\a";
            break;
        case '\b':
            result += "\\b";
            break;
        case '\f':
            result += "\\f";
            break;
        case '\n':
            result += "\\n";
            break;
        case '\r':
            result += "\\r";
            break;
        case '\t':
            result += "\\t";
            break;
        case '\v':
            result += "\\v";
            break;
        case '"':
            result += "\\\"";
            break;
        case '\\':
            result += "\\\\";
            break;
        default:
            const bool pair =
                QChar::isHighSurrogate(ch) && i + 1 < text.size() && text[i + 1].isLowSurrogate();
            if (ch <= 0x1F || (!asText && ch >= 0x7F) || ch == 0xFEFF || (QChar::isSurrogate(ch) && !pair)) {
                hexEscape(ch);
            } else if (ch < 0x80) {
                result += char(ch);
            } else {
                const qsizetype units = pair ? 2 : 1;
                result += QStringView(text).sliced(i, units).toUtf8();
                i += units - 1;
            }
            break;
        }
    }
    if (needsQuotes || (!result.isEmpty() && (result.front() == ' ' || result.back() == ' ')))
        return '"' + result + '"';
    return result;
}

// ---- lines ----

struct Line
{
    qsizetype start = 0;
    qsizetype end = 0;  // without the line break
    qsizetype next = 0; // after the line break
    enum Kind
    {
        Other,
        Header,
        Key
    } kind = Other;
    bool general = false; // in the general section (or a header opening it)
    QString key;          // full key, for Key lines
    QByteArrayView rawKey;
    QByteArrayView rawValue;
};

std::vector<Line> splitLines(const QByteArray& file)
{
    std::vector<Line> lines;
    const qsizetype n = file.size();
    qsizetype pos = file.startsWith("\xEF\xBB\xBF") ? 3 : 0;
    // Before any header, keys belong to the general section.
    QString section;
    bool sectionReadable = true;
    bool sectionGeneral = true;
    const char* data = file.constData();
    const auto find = [&](qsizetype from, char ch) {
        const void* at = std::memchr(data + from, ch, size_t(n - from));
        return at ? qsizetype(static_cast<const char*>(at) - data) : n;
    };
    qsizetype nextNl = -1;
    qsizetype nextCr = -1;
    while (pos < n) {
        Line line;
        line.start = pos;
        // The next of each line break, looked up again only once passed, so that a file of many lines
        // with one kind of break is not searched to its end for the other at every line.
        if (nextNl < pos)
            nextNl = find(pos, '\n');
        if (nextCr < pos)
            nextCr = find(pos, '\r');
        const qsizetype end = std::min(nextNl, nextCr);
        line.end = end;
        line.next = end;
        if (end < n) {
            line.next = end + 1;
            if (file[end] == '\r' && end + 1 < n && file[end + 1] == '\n')
                line.next = end + 2;
        }
        pos = line.next;

        const QByteArrayView text = trimmed(QByteArrayView(data + line.start, line.end - line.start));
        if (text.isEmpty() || text.front() == ';' || text.front() == '#') {
            line.general = sectionGeneral;
        } else if (text.front() == '[') {
            line.kind = Line::Header;
            const qsizetype close = text.indexOf(']');
            const QByteArrayView name = close < 0 ? QByteArrayView() : trimmed(text.sliced(1, close - 1));
            sectionGeneral = false;
            sectionReadable = false;
            if (close >= 0 && !name.isEmpty()) {
                const QString unescaped = unescapedKey(name);
                if (unescaped.compare(QLatin1String("general"), Qt::CaseInsensitive) == 0) {
                    section.clear();
                    sectionGeneral = true;
                    sectionReadable = true;
                } else if (unescaped.compare(QLatin1String("%general"), Qt::CaseInsensitive) == 0) {
                    section = QStringLiteral("General/");
                    sectionReadable = true;
                } else if (isNormalKey(unescaped)) {
                    section = unescaped + QLatin1Char('/');
                    sectionReadable = true;
                }
            }
            line.general = sectionGeneral;
        } else {
            line.general = sectionGeneral;
            const qsizetype eq = text.indexOf('=');
            if (sectionReadable && eq > 0) {
                const QByteArrayView rawKey = trimmed(text.first(eq));
                const QString key = section + unescapedKey(rawKey);
                if (!rawKey.isEmpty() && isNormalKey(key)) {
                    line.kind = Line::Key;
                    line.key = key;
                    line.rawKey = rawKey;
                    line.rawValue = text.sliced(eq + 1);
                }
            }
        }
        lines.push_back(line);
    }
    return lines;
}

bool sameValue(const QVariant& a, const QVariant& b)
{
    if (!a.isValid() || !b.isValid())
        return a.isValid() == b.isValid();
    // A value unequal to itself (a NaN read from a @Variant) is still unchanged when it is stored alike.
    return a.typeId() == b.typeId() &&
           (a == b || SettingsFileFormat::encodeValue(a) == SettingsFileFormat::encodeValue(b));
}

bool readFile(QIODevice& device, QSettings::SettingsMap& map)
{
    // The file was checked before QSettings opened it; this bound holds should it have grown since.
    const QByteArray contents = device.read(SettingsFileGuard::MaxFileBytes + 1);
    if (contents.size() > SettingsFileGuard::MaxFileBytes)
        return false;
    map = SettingsFileFormat::parse(contents);
    return true;
}

bool writeFile(QIODevice& device, const QSettings::SettingsMap& map)
{
    // QSettings hands over a QSaveFile of the settings file (an atomic save, never a direct write), so the
    // file it replaces is still there to be edited.
    QByteArray original;
    if (auto* file = qobject_cast<QFileDevice*>(&device)) {
        const QString path = file->fileName();
        if (std::optional<QByteArray> current = SettingsFileGuard::read(path))
            original = std::move(*current);
        else if (!SettingsFileGuard::isSafeToRead(path))
            return false; // what cannot be read is not replaced
    }
    const QByteArray contents = SettingsFileFormat::rewrite(original, map);
    return device.write(contents) == contents.size();
}

} // namespace

namespace SettingsFileFormat {

QSettings::Format format()
{
    static const QSettings::Format registered =
        QSettings::registerFormat(QStringLiteral("conf"), &readFile, &writeFile, Qt::CaseSensitive);
    return registered;
}

QVariant decodeValue(const QByteArray& raw)
{
    const QStringList entries = unescapedEntries(raw);
    if (entries.size() != 1)
        return entries.join(QStringLiteral(", "));
    return typedValue(entries.front());
}

QByteArray encodeValue(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::UnknownType:
        return QByteArrayLiteral("@Invalid()");
    case QMetaType::QString: {
        QString text = value.toString();
        if (text.startsWith(QLatin1Char('@')))
            text.prepend(QLatin1Char('@'));
        return escapedValue(text, true);
    }
    case QMetaType::QByteArray:
        return escapedValue(QStringLiteral("@ByteArray(") + QString::fromLatin1(value.toByteArray()) +
                                QLatin1Char(')'),
                            false);
    case QMetaType::Bool:
        return value.toBool() ? QByteArrayLiteral("true") : QByteArrayLiteral("false");
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::Short:
    case QMetaType::Long:
    case QMetaType::SChar:
        return QByteArray::number(value.toLongLong());
    case QMetaType::UInt:
    case QMetaType::ULongLong:
    case QMetaType::UShort:
    case QMetaType::ULong:
    case QMetaType::UChar:
        return QByteArray::number(value.toULongLong());
    default:
        break;
    }
    // Everything else in QSettings' own form; it reads back here only when of the simple kinds.
    QByteArray data;
    QDataStream out(&data, QIODevice::WriteOnly);
    out.setVersion(QDataStream::Qt_4_0);
    out << value;
    return escapedValue(QStringLiteral("@Variant(") + QString::fromLatin1(data) + QLatin1Char(')'), false);
}

QSettings::SettingsMap parse(const QByteArray& file)
{
    QSettings::SettingsMap map;
    for (const Line& line : splitLines(file)) {
        if (line.kind == Line::Key)
            map.insert(line.key, decodeValue(line.rawValue.toByteArray()));
    }
    return map;
}

QByteArray rewrite(const QByteArray& original, const QSettings::SettingsMap& map)
{
    const std::vector<Line> lines = splitLines(original);
    // The line that counts for a key is its last one; earlier ones are shadowed and stay as they are.
    QHash<QString, size_t> last;
    // New keys go after the last line of the general section that is not blank; a header that opens
    // the general section counts.
    std::optional<size_t> insertAfter;
    for (size_t i = 0; i < lines.size(); ++i) {
        const Line& line = lines[i];
        if (line.kind == Line::Key)
            last.insert(line.key, i);
        if (line.general &&
            !trimmed(QByteArrayView(original).sliced(line.start, line.end - line.start)).isEmpty())
            insertAfter = i;
    }

    QByteArray newKeys;
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        if (!last.contains(it.key()))
            newKeys += escapedKey(it.key()) + '=' + encodeValue(it.value()) + '\n';
    }

    QByteArray result;
    result.reserve(original.size() + newKeys.size() + 16);
    const qsizetype bodyStart = original.startsWith("\xEF\xBB\xBF") ? 3 : 0;
    result += original.first(std::min(bodyStart, original.size()));
    if (!newKeys.isEmpty() && !insertAfter) {
        // Nothing of the general section yet: open it at the top, before any other section.
        if (lines.empty())
            result += "[General]\n";
        result += newKeys;
    }
    for (size_t i = 0; i < lines.size(); ++i) {
        const Line& line = lines[i];
        const QByteArrayView whole = QByteArrayView(original).sliced(line.start, line.next - line.start);
        const bool removed = line.kind == Line::Key && !map.contains(line.key);
        // Removed: every line of the key goes, so that no shadowed value comes back. Kept: anything that
        // is not a key, a shadowed line, and a key whose value is unchanged.
        const bool kept =
            line.kind != Line::Key ||
            (!removed && (last.value(line.key) != i ||
                          sameValue(decodeValue(line.rawValue.toByteArray()), map.value(line.key))));
        if (kept) {
            result += whole;
        } else if (!removed) {
            const qsizetype valueStart = line.rawValue.data() - original.constData();
            result += QByteArrayView(original).sliced(line.start, valueStart - line.start);
            result += encodeValue(map.value(line.key));
            result += QByteArrayView(original).sliced(line.end, line.next - line.end);
        }
        if (insertAfter && *insertAfter == i && !newKeys.isEmpty()) {
            if (line.next == line.end)
                result += '\n';
            result += newKeys;
        }
    }
    // A line whose key begins with the bytes of a byte-order mark must not become the file's first bytes
    // (by the removal of the lines above it), where it would be read as the file's mark.
    if (bodyStart == 0 && result.startsWith("\xEF\xBB\xBF"))
        result.prepend('\n');
    return result;
}

} // namespace SettingsFileFormat
