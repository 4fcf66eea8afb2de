#include "UserDefaults.h"

#include "SettingsFileFormat.h"
#include "SettingsFileGuard.h"
#include "TextValues.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QEvent>
#include <QLockFile>
#include <QMetaType>
#include <QTimer>

#include <functional>
#include <utility>

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

// How long a save waits for the settings lock before it leaves the values pending. A writer that plays by
// the rules (another launch, another QSettings) holds the lock only for the few milliseconds of writing a
// small file; QLockFile looks again after 100 ms, so this allows a second and a last look. It stays under a
// pause a presenter would notice, and far under one tick of the countdown.
constexpr int LockTimeoutMs = 150;

// A store left with values it could not save at exit: its destructor would wait for the lock without limit,
// so it is never destroyed. Kept reachable here so that leak checkers do not report it.
QSettings* g_abandoned = nullptr;

const QEvent::Type SaveRequest = static_cast<QEvent::Type>(QEvent::registerEventType());

// QSettings saves on its own after each change, waiting for the lock without limit, so its own schedule is
// switched off and the store's guarded save runs in its place.
class GuardedSettings : public QSettings
{
public:
    GuardedSettings(const QString& path, std::function<void()> save)
        : QSettings(path, SettingsFileFormat::format())
        , m_save(std::move(save))
    {}

protected:
    bool event(QEvent* event) override
    {
        if (event->type() == QEvent::UpdateRequest)
            return true;
        if (event->type() == SaveRequest) {
            m_save();
            return true;
        }
        return QSettings::event(event);
    }

private:
    std::function<void()> m_save;
};

// Where QSettings keeps the user's file, found without reading it: a QSettings reads its file as it is
// made, and the file must be looked at first. A format of its own, with a name no file has, gives the
// folder and the naming of the platform.
QString userFilePath()
{
    static const QSettings::Format probeFormat = QSettings::registerFormat(
        QStringLiteral("conf.probe"), [](QIODevice&, QSettings::SettingsMap&) { return true; },
        [](QIODevice&, const QSettings::SettingsMap&) { return false; });
    const QSettings probe(probeFormat, QSettings::UserScope, QStringLiteral("Brevlin"),
                          QStringLiteral("Brevlin"));
    QString path = probe.fileName();
    path.chop(qsizetype(sizeof(".probe") - 1));
    return path;
}

// The file the store reads and saves: the user's own, once anything there that cannot be read safely has
// been moved aside. Should that fail (a folder that refuses the move), a file of this run only, so that
// the panel still starts and counts.
QString readableFilePath()
{
    const QString path = userFilePath();
    SettingsFileGuard::setAsideIfUnsafe(path);
    if (SettingsFileGuard::isSafeToRead(path))
        return path;
    qWarning("Brevlin: the settings file %s cannot be read safely or moved aside; settings are kept for "
             "this session only",
             qPrintable(path));
    return QDir::temp().filePath(
        QStringLiteral("brevlin-%1/Brevlin.conf").arg(QCoreApplication::applicationPid()));
}

// How long after a save skipped for the lock the next attempt comes, with or without a further change.
constexpr int LockRetryMs = 2000;

} // namespace

UserDefaults& UserDefaults::standardUserDefaults()
{
    static UserDefaults instance;
    return instance;
}

UserDefaults::UserDefaults()
    : m_settings(new GuardedSettings(readableFilePath(), [this] {
        m_saveQueued = false;
        synchronize();
    }))
{
    g_instance = this;
    // The QSettings destructor would save at static destruction too, but by then parts of Qt may be gone;
    // saving while the application object is destroyed is the dependable moment.
    qAddPostRoutine(&UserDefaults::synchronizeAtExit);
}

UserDefaults::~UserDefaults()
{
    g_instance = nullptr;
    qRemovePostRoutine(&UserDefaults::synchronizeAtExit);
    // Quitting must not hang on a lock that never comes free; what could not be saved is lost either way.
    if (m_unsaved && !synchronize())
        g_abandoned = m_settings;
    else
        delete m_settings;
}

void UserDefaults::synchronizeAtExit()
{
    if (g_instance && !g_instance->synchronize())
        g_instance->keepUnsavedAside();
}

void UserDefaults::keepUnsavedAside()
{
    if (m_keptAside)
        return;
    m_keptAside = true;
    // A file of its own name takes a lock of its own name, so the lock that blocked the save does not block
    // this one.
    const QString stamp = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd'T'HHmmss'Z'"));
    const QString aside = filePath() + QStringLiteral(".unsaved-") + stamp;
    QSettings copy(aside, SettingsFileFormat::format());
    const QStringList keys = m_settings->allKeys();
    for (const QString& key : keys)
        copy.setValue(key, m_settings->value(key));
    copy.sync();
    qWarning("Brevlin: the settings could not be saved because %s.lock stays taken; they are kept in %s",
             qPrintable(filePath()), qPrintable(aside));
}

QVariant UserDefaults::objectForKey(const QString& key) const
{
    if (key.isEmpty())
        return {};
    if (m_settings->contains(key)) {
        QVariant value = m_settings->value(key);
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
    m_settings->setValue(key, value);
    changed();
}

void UserDefaults::removeObjectForKey(const QString& key)
{
    // QSettings::remove() with an empty key would empty the whole store.
    if (key.isEmpty())
        return;
    m_settings->remove(key);
    changed();
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
    return m_settings->fileName();
}

bool UserDefaults::synchronize()
{
    // The file may have been replaced since launch; QSettings would open whatever is there now.
    const QString path = filePath();
    SettingsFileGuard::setAsideIfUnsafe(path);
    if (!SettingsFileGuard::isSafeToRead(path))
        return !m_unsaved;
    // Without pending values QSettings only reads, and reading takes no lock.
    if (m_unsaved && !lockIsAvailable()) {
        retryLater();
        return false;
    }
    m_settings->sync();
    m_unsaved = false;
    return true;
}

void UserDefaults::changed()
{
    m_unsaved = true;
    if (m_saveQueued)
        return;
    // Several changes in a row are saved together; after a skipped save, the next change queues a new one.
    m_saveQueued = true;
    QCoreApplication::postEvent(m_settings, new QEvent(SaveRequest));
}

void UserDefaults::retryLater()
{
    // Without this, values waiting for the lock would wait for the user's next change.
    if (m_retryQueued)
        return;
    m_retryQueued = true;
    QTimer::singleShot(LockRetryMs, m_settings, [this] {
        m_retryQueued = false;
        if (m_unsaved)
            synchronize();
    });
}

bool UserDefaults::lockIsAvailable() const
{
    // The same lock file QSettings uses. Taken and released at once: QSettings takes it again right after,
    // and a QLockFile cannot be taken twice by one process. A writer that slips in between makes QSettings
    // wait only for that writer's own save.
    QLockFile probe(m_settings->fileName() + QStringLiteral(".lock"));
    if (probe.tryLock(LockTimeoutMs)) {
        probe.unlock();
        return true;
    }
    // Only a lock held by someone else makes QSettings wait. On any other failure (no folder yet, no
    // permission, or a store such as the registry that takes no lock) it does not wait, so let it proceed.
    return probe.error() != QLockFile::LockFailedError;
}
