// The whole settings file: load any bytes, change one key, save. Saving what was loaded gives the very
// same bytes; after one change the file reads back as exactly the changed map, and every line of the
// original that does not belong to the changed key is still there, byte for byte and in order.

#include "FuzzSupport.h"

#include "SettingsFileFormat.h"

#include <QStringList>

namespace {

// Lines with their breaks, exactly as in the file; "\n", "\r\n" and a lone "\r" end a line.
QList<QByteArray> linesOf(const QByteArray& file)
{
    QList<QByteArray> lines;
    qsizetype start = 0;
    for (qsizetype i = 0; i < file.size(); ++i) {
        if (file[i] != '\n' && file[i] != '\r')
            continue;
        if (file[i] == '\r' && i + 1 < file.size() && file[i + 1] == '\n')
            ++i;
        lines.append(file.mid(start, i + 1 - start));
        start = i + 1;
    }
    if (start < file.size())
        lines.append(file.mid(start));
    return lines;
}

// Equal kinds and the same stored form: a value that is not equal to itself (a NaN) still counts as kept.
bool sameMap(const QSettings::SettingsMap& a, const QSettings::SettingsMap& b)
{
    if (a.keys() != b.keys())
        return false;
    for (auto it = a.cbegin(); it != a.cend(); ++it) {
        const QVariant& other = b.value(it.key());
        if (it.value().typeId() != other.typeId() ||
            SettingsFileFormat::encodeValue(it.value()) != SettingsFileFormat::encodeValue(other))
            return false;
    }
    return true;
}

// Whether the line, read on its own, holds the key (under whatever section it sits).
bool holdsKey(const QByteArray& line, const QString& key)
{
    const QSettings::SettingsMap own = SettingsFileFormat::parse("[General]\n" + line);
    for (auto it = own.cbegin(); it != own.cend(); ++it) {
        if (it.key() == key || key.endsWith(QLatin1Char('/') + it.key()))
            return true;
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2)
        return 0;
    // First byte: which change; second: which key; the rest: the file.
    const uint8_t change = data[0];
    const uint8_t which = data[1];
    const QByteArray original = fuzz::bytes(data + 2, size - 2);

    const QSettings::SettingsMap loaded = SettingsFileFormat::parse(original);
    FUZZ_CHECK(SettingsFileFormat::rewrite(original, loaded) == original);

    QSettings::SettingsMap changed = loaded;
    QString key;
    if (!loaded.isEmpty() && change % 4 != 0) {
        key = loaded.keys().at(which % loaded.size());
    } else {
        static const QStringList fresh{QStringLiteral("BRVCountdownTime"), QStringLiteral("SoundFiles"),
                                       QStringLiteral("PlaySound"), QStringLiteral("Sub/Key")};
        key = fresh.at(which % fresh.size());
    }
    switch (change % 4) {
    case 0:
    case 1:
        changed.insert(key, QString::fromUtf8(original.right(which % 32)));
        break;
    case 2:
        changed.insert(key, original.left(which % 32));
        break;
    case 3:
        changed.remove(key);
        break;
    }
    const QByteArray saved = SettingsFileFormat::rewrite(original, changed);
    FUZZ_CHECK(sameMap(SettingsFileFormat::parse(saved), changed));

    // Every line of the original that is not the changed key's survives, in order, and so does a
    // byte-order mark that opens the file.
    const QByteArray mark("\xEF\xBB\xBF");
    FUZZ_CHECK(!original.startsWith(mark) || saved.startsWith(mark));
    const qsizetype skip = original.startsWith(mark) ? mark.size() : 0;
    // Compared without their line breaks: a lone "\r" before a removed line and the "\n" after it
    // become one "\r\n", and a last line gains a break when a key is added after it. Blank lines mean
    // nothing and may merge the same way.
    const auto content = [](const QByteArray& file) {
        QList<QByteArray> lines;
        for (QByteArray line : linesOf(file)) {
            while (line.endsWith('\n') || line.endsWith('\r'))
                line.chop(1);
            if (!line.trimmed().isEmpty())
                lines.append(line);
        }
        return lines;
    };
    const QList<QByteArray> before = content(original.mid(skip));
    const QList<QByteArray> after = content(saved.mid(skip));
    qsizetype at = 0;
    for (const QByteArray& line : before) {
        if (holdsKey(line, key))
            continue;
        while (at < after.size() && after[at] != line)
            ++at;
        FUZZ_CHECK(at < after.size());
        ++at;
    }
    return 0;
}
