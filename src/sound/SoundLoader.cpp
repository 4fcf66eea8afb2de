#include "SoundLoader.h"

#include "Sound.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QFutureWatcher>
#include <QPromise>
#include <QThreadPool>

#include <algorithm>
#include <mutex>
#include <vector>

struct SoundLoader::Request::State
{
    // Read by the worker between pieces of its work; written by anyone.
    std::atomic<bool> cancelled{false};
    // Only ever touched on the context's thread.
    bool delivered = false;
};

namespace SoundFiles {

std::optional<QByteArray> readRegularFile(const QString& path, qint64 maxBytes,
                                          const std::atomic<bool>* cancelled)
{
    if (path.isEmpty())
        return std::nullopt;
    // Decided on the file's metadata, without opening it: opening a FIFO waits for a writer. isFile()
    // follows links, so a link to a FIFO or a device is refused too.
    const QFileInfo info(path);
    if (!info.isFile())
        return std::nullopt;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return std::nullopt;
    QByteArray data;
    // The reported size only sizes the buffer; what counts is what is read.
    data.reserve(qsizetype(qBound<qint64>(0, info.size(), maxBytes) + 1));
    constexpr qint64 piece = 1024 * 1024;
    for (;;) {
        if (cancelled && cancelled->load())
            return std::nullopt;
        // One byte more than allowed is enough to tell a file that is too long.
        const qint64 wanted = qMin(piece, maxBytes + 1 - data.size());
        const qsizetype offset = data.size();
        data.resize(offset + qsizetype(wanted));
        const qint64 read = file.read(data.data() + offset, wanted);
        if (read < 0)
            return std::nullopt;
        data.resize(offset + qsizetype(read));
        if (data.size() > maxBytes)
            return std::nullopt;
        if (read == 0)
            return data;
    }
}

bool copyRegularFile(const QString& source, const QString& destination, const std::atomic<bool>* cancelled)
{
    const std::optional<QByteArray> data = readRegularFile(source, maxFileBytes, cancelled);
    if (!data)
        return false;
    QFile copy(destination);
    // NewOnly: never over a file that is there, even one that appeared while the source was read. A new
    // file gets the default mode, which the umask shapes; QFile::copy would give it the source's.
    if (!copy.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        return false;
    bool written = copy.write(*data) == data->size() && copy.flush();
    copy.close();
    written = written && copy.error() == QFileDevice::NoError && !(cancelled && cancelled->load());
    if (!written)
        copy.remove();
    return written;
}

} // namespace SoundFiles

namespace {

using State = SoundLoader::Request::State;

// Every request still running, so that the quit can abandon them all.
std::mutex g_runningMutex;
std::vector<std::weak_ptr<State>> g_running;

void abandonAll()
{
    const std::lock_guard<std::mutex> lock(g_runningMutex);
    for (const std::weak_ptr<State>& weak : g_running) {
        if (const std::shared_ptr<State> state = weak.lock())
            state->cancelled = true;
    }
    g_running.clear();
}

void track(const std::shared_ptr<State>& state)
{
    // The first request connects the quit; requests are made on the main thread.
    static const bool connected = [] {
        if (QCoreApplication* app = QCoreApplication::instance())
            QObject::connect(app, &QCoreApplication::aboutToQuit, app, &abandonAll);
        return true;
    }();
    static_cast<void>(connected);
    const std::lock_guard<std::mutex> lock(g_runningMutex);
    g_running.erase(std::remove_if(g_running.begin(), g_running.end(),
                                   [](const std::weak_ptr<State>& weak) { return weak.expired(); }),
                    g_running.end());
    g_running.push_back(state);
}

} // namespace

template <typename T>
SoundLoader::Request SoundLoader::run(QObject* context, std::function<T(const std::atomic<bool>&)> work,
                                      std::function<void(T)> done)
{
    auto state = std::make_shared<State>();
    track(state);
    auto promise = std::make_shared<QPromise<T>>();
    auto* watcher = new QFutureWatcher<T>(context);
    QObject::connect(watcher, &QFutureWatcherBase::finished, watcher,
                     [watcher, state, done = std::move(done)] {
                         watcher->deleteLater();
                         if (state->cancelled || watcher->future().resultCount() == 0)
                             return;
                         state->delivered = true;
                         done(watcher->future().result());
                     });
    // A context that goes first takes the watcher with it; the work is then of no use.
    QObject::connect(watcher, &QObject::destroyed, [state] { state->cancelled = true; });
    promise->start();
    watcher->setFuture(promise->future());
    QThreadPool::globalInstance()->start([promise, state, work = std::move(work)] {
        if (!state->cancelled)
            promise->addResult(work(state->cancelled));
        promise->finish();
    });
    Request request;
    request.m_state = state;
    return request;
}

void SoundLoader::Request::cancel() const
{
    if (m_state)
        m_state->cancelled = true;
}

bool SoundLoader::Request::isPending() const
{
    return m_state && !m_state->cancelled && !m_state->delivered;
}

SoundLoader::Request SoundLoader::load(const QString& path, QObject* context, SoundDone done)
{
    return run<std::shared_ptr<Sound>>(
        context,
        [path](const std::atomic<bool>& cancelled) { return Sound::withContentsOfFile(path, cancelled); },
        std::move(done));
}

SoundLoader::Request SoundLoader::playFile(const QString& path)
{
    // The application is the context: a preview plays on even when the window that asked for it closes.
    return load(path, QCoreApplication::instance(), [](const std::shared_ptr<Sound>& sound) {
        if (sound)
            sound->play();
    });
}

SoundLoader::Request SoundLoader::copy(const QString& source, const QString& destination, QObject* context,
                                       CopyDone done)
{
    return run<bool>(
        context,
        [source, destination](const std::atomic<bool>& cancelled) {
            return SoundFiles::copyRegularFile(source, destination, &cancelled);
        },
        std::move(done));
}
