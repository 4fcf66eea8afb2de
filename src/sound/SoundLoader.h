#pragma once

#include <QByteArray>
#include <QString>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

class QObject;
class Sound;

/// Reading sound files without ever holding up the thread that shows the time. Only regular files (and
/// links to them) are read: a FIFO would block the reader until some other program writes to it, and a
/// device such as /dev/zero never ends. Whether a file is regular is decided by its metadata alone, before
/// it is opened, and every limit is measured on the bytes actually read, never on the size a file reports.
namespace SoundFiles {

/// The most a sound file may hold: sounds are cues of a few seconds, this only keeps a huge or hostile
/// file from exhausting memory.
constexpr qint64 maxFileBytes = 64 * 1024 * 1024;

/// The whole file, when it is a regular file or a link to one and holds at most maxBytes; nothing when it
/// is missing, unreadable, of another kind, longer, or when *cancelled turns true while it is read.
std::optional<QByteArray> readRegularFile(const QString& path, qint64 maxBytes,
                                          const std::atomic<bool>* cancelled = nullptr);

/// Copies a regular file of at most maxFileBytes to destination, which must not exist yet (it is never
/// overwritten). The copy is a new file with the user's ordinary mode (what the umask leaves of
/// read-write for everyone), not the source's. A failed or cancelled copy leaves nothing at destination.
bool copyRegularFile(const QString& source, const QString& destination,
                     const std::atomic<bool>* cancelled = nullptr);

} // namespace SoundFiles

/// Work on sound files done on a worker thread, its result delivered back on the thread of a context
/// object through its event loop. The caller never waits for it: a request is either delivered later or
/// abandoned. When the application is about to quit, every request still running is abandoned, so that
/// the worker threads, which the application waits for at its end, stop within moments.
class SoundLoader
{
public:
    /// A request in flight. Cancelling it (or letting its context go) stops its work at the next piece
    /// and guarantees that its completion is never called. Copies refer to the same request.
    class Request
    {
    public:
        struct State;

        Request() = default;
        void cancel() const;
        /// Started and neither delivered nor cancelled yet.
        bool isPending() const;

    private:
        friend class SoundLoader;
        std::shared_ptr<State> m_state;
    };

    using SoundDone = std::function<void(std::shared_ptr<Sound>)>;
    using CopyDone = std::function<void(bool)>;

    /// Decodes the file as Sound::withContentsOfFile() does, off the calling thread; `done` gets the sound,
    /// or null where it does not load, on context's thread, unless context is gone by then. Call from
    /// context's thread.
    static Request load(const QString& path, QObject* context, SoundDone done);

    /// Plays the file once, as soon as it is decoded, with a sound object of its own that lives until it
    /// has played (a preview). A file that does not load plays nothing.
    static Request playFile(const QString& path);

    /// SoundFiles::copyRegularFile() off the calling thread; `done` gets whether it succeeded, on context's
    /// thread, unless context is gone by then.
    static Request copy(const QString& source, const QString& destination, QObject* context, CopyDone done);

private:
    template <typename T>
    static Request run(QObject* context, std::function<T(const std::atomic<bool>&)> work,
                       std::function<void(T)> done);
};
