#include "UserDefaults.h"

#include "TextValues.h"

#include <QCoreApplication>
#include <QMetaType>

namespace {

bool isNil(const QVariant& value)
{
    if (!value.isValid())
        return true;
    if (value.typeId() == QMetaType::QString)
        return value.toString().isNull();
    if (value.typeId() == QMetaType::QByteArray)
        return value.toByteArray().isNull();
    return false;
}

bool isNumber(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
    case QMetaType::Double:
    case QMetaType::Float:
        return true;
    default:
        return false;
    }
}

// The only instance; set while it exists so that the exit routine never reaches a destroyed object.
UserDefaults* g_instance = nullptr;

} // namespace

UserDefaults& UserDefaults::standardUserDefaults()
{
    static UserDefaults instance;
    return instance;
}

UserDefaults::UserDefaults()
    : m_settings(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Brevlin"),
                 QStringLiteral("Brevlin"))
{
    // Only the user's own file counts: QSettings would otherwise also read organisation-wide and
    // system-wide files, which no part of this application writes.
    m_settings.setFallbacksEnabled(false);
    g_instance = this;
    // The QSettings destructor would save at static destruction too, but by then parts of Qt may be gone;
    // saving while the application object is destroyed is the dependable moment.
    qAddPostRoutine(&UserDefaults::synchronizeAtExit);
}

UserDefaults::~UserDefaults()
{
    g_instance = nullptr;
    qRemovePostRoutine(&UserDefaults::synchronizeAtExit);
}

void UserDefaults::synchronizeAtExit()
{
    if (g_instance)
        g_instance->synchronize();
}

QVariant UserDefaults::objectForKey(const QString& key) const
{
    if (key.isEmpty())
        return {};
    if (m_settings.contains(key)) {
        QVariant value = m_settings.value(key);
        if (!isNil(value))
            return value;
    }
    return m_registered.value(key);
}

void UserDefaults::setObject(const QVariant& value, const QString& key)
{
    if (isNil(value)) {
        removeObjectForKey(key);
        return;
    }
    if (key.isEmpty())
        return;
    m_settings.setValue(key, value);
}

void UserDefaults::removeObjectForKey(const QString& key)
{
    // QSettings::remove() with an empty key would empty the whole store.
    if (key.isEmpty())
        return;
    m_settings.remove(key);
}

QString UserDefaults::stringForKey(const QString& key) const
{
    const QVariant value = objectForKey(key);
    if (value.typeId() == QMetaType::QString) {
        QString text = value.toString();
        return text.isNull() ? QStringLiteral("") : text;
    }
    // An INI file reads an unquoted text with commas as a list; QSettings itself quotes such texts, so
    // this only comes from a hand-edited file, and joining restores what the user most likely meant.
    if (value.typeId() == QMetaType::QStringList)
        return value.toStringList().join(QStringLiteral(", "));
    if (isNumber(value))
        return value.toString();
    return {};
}

QByteArray UserDefaults::dataForKey(const QString& key) const
{
    const QVariant value = objectForKey(key);
    if (value.typeId() != QMetaType::QByteArray)
        return {};
    QByteArray data = value.toByteArray();
    return data.isNull() ? QByteArray("", 0) : data;
}

qint64 UserDefaults::integerForKey(const QString& key) const
{
    return integerValue(objectForKey(key));
}

bool UserDefaults::boolForKey(const QString& key) const
{
    return boolValue(objectForKey(key));
}

void UserDefaults::setInteger(qint64 value, const QString& key)
{
    setObject(QVariant::fromValue(value), key);
}

void UserDefaults::setBool(bool value, const QString& key)
{
    setObject(QVariant(value), key);
}

void UserDefaults::registerDefaults(const QVariantMap& defaults)
{
    for (auto it = defaults.cbegin(); it != defaults.cend(); ++it) {
        if (!it.key().isEmpty() && !isNil(it.value()))
            m_registered.insert(it.key(), it.value());
    }
}

QVariantMap UserDefaults::registeredDefaults() const
{
    return m_registered;
}

void UserDefaults::removeRegisteredDefaults()
{
    m_registered.clear();
}

QString UserDefaults::filePath() const
{
    return m_settings.fileName();
}

void UserDefaults::synchronize()
{
    m_settings.sync();
}
