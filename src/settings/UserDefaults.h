#pragma once

#include <QByteArray>
#include <QSettings>
#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <QtGlobal>

/// The user's defaults database: the user's own values, kept on disk in the application's native settings
/// store, above a layer of registered defaults that lives in memory only and is consulted when the user has
/// no value for a key. Main thread only.
///
/// "Nil" values: an invalid QVariant, a null QString and a null QByteArray stand for Cocoa's nil. Setting
/// one removes the user's value (as setting nil does in Cocoa), and a stored value that reads back invalid
/// (a damaged entry) counts as absent.
///
/// Writes are not forced to disk: they are saved together once control returns to the event loop, and
/// whatever is still pending is saved when the application object goes away or, at the latest, when the
/// process ends normally.
///
/// A save never waits long for the settings file's lock. When another holder keeps it (a live process, or a
/// leftover that cannot be removed, such as a folder of that name), the save is skipped: the values stay in
/// this process and read back as written, and the next change (or synchronize()) tries again, carrying every
/// pending value; without a change it tries again every two seconds. A lock that QLockFile considers stale
/// (its owner is gone) is taken over as QLockFile does; no other lock is ever removed. When the lock is
/// still taken as the application quits, the user's values are written to "<settings file>.unsaved-<UTC
/// time>" beside the settings file, and a warning names that file.
///
/// What is at the settings file's path is read only when it is a regular file within a size bound (see
/// SettingsFileGuard); anything else is moved aside first and the store starts from the defaults.
class UserDefaults
{
public:
    static UserDefaults& standardUserDefaults();

    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;

    /// The user's value when there is one, else the registered default, else an invalid QVariant. Values
    /// read back from a settings file may arrive as text where a number or a bool was written; read them
    /// with integerForKey() and boolForKey(), which accept both.
    QVariant objectForKey(const QString& key) const;
    /// Stores the value as the user's; a nil value removes it.
    void setObject(const QVariant& value, const QString& key);
    void removeObjectForKey(const QString& key);

    /// The value as text: texts as they are (an empty text stays empty, never null), numbers as digits;
    /// null for an absent value and for anything else (data, for instance).
    QString stringForKey(const QString& key) const;
    /// The value when it is data; a null QByteArray otherwise (absent or of another kind). Empty data comes
    /// back empty but not null.
    QByteArray dataForKey(const QString& key) const;
    /// See integerValue(const QVariant&): 0 when absent or not a number.
    qint64 integerForKey(const QString& key) const;
    /// See boolValue(const QVariant&): false when absent or not readable as a truth value.
    bool boolForKey(const QString& key) const;
    void setInteger(qint64 value, const QString& key);
    void setBool(bool value, const QString& key);

    /// Merges the entries into the registered layer, replacing those of the same key. The layer is never
    /// written to disk and lasts for the process. Nil entries are skipped.
    void registerDefaults(const QVariantMap& defaults);
    QVariantMap registeredDefaults() const;
    /// Empties the registered layer, as removing Cocoa's registration domain does; the user's values stay.
    void removeRegisteredDefaults();

    /// The settings file (or registry path) that holds the user's values.
    QString filePath() const;
    /// Writes pending values now and takes in what another process changed in the file meanwhile. Returns
    /// false when pending values could not be written because the settings lock stayed taken; they are kept
    /// and written by a later attempt.
    bool synchronize();

private:
    UserDefaults();
    ~UserDefaults();

    // Saves what is still pending when the application object is destroyed, before Qt tears down.
    static void synchronizeAtExit();

    // Records a change and makes sure one save is queued for the event loop.
    void changed();
    // Whether QSettings' own lock (which waits without limit) can be taken without a long wait.
    bool lockIsAvailable() const;
    // Tries the save again a little later, once, while values are pending.
    void retryLater();
    // At exit, when the lock never came free: the values go to a file beside the settings file.
    void keepUnsavedAside();

    // Owned; deliberately abandoned at exit if values are still waiting for the lock (see the destructor).
    QSettings* m_settings;
    QVariantMap m_registered;
    // Changes not yet handed to a QSettings sync.
    bool m_unsaved = false;
    bool m_saveQueued = false;
    bool m_retryQueued = false;
    bool m_keptAside = false;
};
