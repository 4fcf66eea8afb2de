// The whole settings file: load any bytes, change one key, save. Saving what was loaded gives the very
// same bytes; after one change the file reads back as exactly the changed map, and every line of the
// original that does not belong to the changed key is still there, byte for byte and in order.

#include "FuzzSupport.h"

#include "SettingsFileFormat.h"
#include "SettingsLines.h"

#include <QStringList>

namespace {

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
    FUZZ_CHECK(settingslines::keptAllBut(original, saved, key));
    return 0;
}
