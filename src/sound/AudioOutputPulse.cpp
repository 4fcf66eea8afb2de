// Playback through libpulse, each on a thread of its own with its own connection, so that a sound server
// that hangs never holds the main thread, and one that went away, or started after the application, is
// found again at the next sound. The thread runs a plain pa_mainloop whose every wait is bounded, so it can
// give up on a server that does not answer and can always be told to stop.

#include "AudioOutput.h"

#include <QCoreApplication>
#include <QMetaObject>

#include <pulse/pulseaudio.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

// Beyond this many playbacks at once (in practice only ever reached while a server hangs), a sound is not
// played: threads never pile up.
constexpr std::size_t maxPlaybacks = 8;
// A server that answers connects and opens a stream in milliseconds; a cue heard much later than it was
// due is worse than none.
constexpr auto answerTime = std::chrono::seconds(3);
// Once the stream is open, the sound's own length and this much more for the server to play it out.
constexpr auto playOutTime = std::chrono::seconds(3);
// The longest single wait, so that the deadlines are checked even if a wake-up were missed.
constexpr auto longestWait = std::chrono::milliseconds(200);
// The server's buffer for the stream: short, so that the end of the sound is known soon after it is heard.
constexpr int bufferMsecs = 200;
// What the application's exit grants the playbacks still running to close their connections.
constexpr auto exitWait = std::chrono::milliseconds(300);

struct Playback
{
    QByteArray pcm;
    pa_sample_spec spec{};
    std::function<void()> ended;
    // Which run of the application started it: a playback outliving that run calls nothing.
    quint64 epoch = 0;
    std::atomic<bool> cancelled{false};
    // Set while the thread runs its loop, for waking it; guarded by the registry's mutex.
    pa_mainloop* loop = nullptr;
};

// Every running playback. Never destroyed: a thread that outlives the application's exit may still use it.
struct Registry
{
    std::mutex mutex;
    std::condition_variable idle;
    std::vector<Playback*> running;
    quint64 epoch = 0;
    bool exitHooked = false;
};

Registry& registry()
{
    static Registry* const instance = new Registry;
    return *instance;
}

// Called as the application object is destroyed: the playbacks still running are told to stop and given
// a moment to close their connections, and none of them calls back into the application after this.
void stopAllAtExit()
{
    Registry& r = registry();
    std::unique_lock<std::mutex> lock(r.mutex);
    ++r.epoch;
    r.exitHooked = false;
    for (Playback* playback : r.running) {
        playback->cancelled = true;
        if (playback->loop)
            pa_mainloop_wakeup(playback->loop);
    }
    r.idle.wait_for(lock, exitWait, [&r] { return r.running.empty(); });
}

// The state of one playback while its loop runs; the callbacks below see it through their user pointer.
struct Stream
{
    Playback& playback;
    pa_context* context = nullptr;
    pa_stream* stream = nullptr;
    pa_operation* drain = nullptr;
    qsizetype written = 0;
    bool open = false;
    bool drained = false;
    bool failed = false;
};

void onDrained(pa_stream*, int, void* user)
{
    static_cast<Stream*>(user)->drained = true;
}

void onWritable(pa_stream* stream, size_t bytes, void* user)
{
    auto* s = static_cast<Stream*>(user);
    const QByteArray& pcm = s->playback.pcm;
    const qsizetype n = std::min<qsizetype>(qsizetype(bytes), pcm.size() - s->written);
    if (n > 0) {
        if (pa_stream_write(stream, pcm.constData() + s->written, size_t(n), nullptr, 0, PA_SEEK_RELATIVE) <
            0) {
            s->failed = true;
            return;
        }
        s->written += n;
    }
    if (s->written == pcm.size() && !s->drain) {
        s->drain = pa_stream_drain(stream, onDrained, s);
        if (!s->drain)
            s->failed = true;
    }
}

void onStreamState(pa_stream* stream, void* user)
{
    auto* s = static_cast<Stream*>(user);
    switch (pa_stream_get_state(stream)) {
    case PA_STREAM_READY:
        s->open = true;
        break;
    case PA_STREAM_FAILED:
    case PA_STREAM_TERMINATED:
        s->failed = true;
        break;
    default:
        break;
    }
}

void onContextState(pa_context* context, void* user)
{
    auto* s = static_cast<Stream*>(user);
    switch (pa_context_get_state(context)) {
    case PA_CONTEXT_READY: {
        s->stream = pa_stream_new(context, "Brevlin", &s->playback.spec, nullptr);
        if (!s->stream) {
            s->failed = true;
            return;
        }
        pa_stream_set_state_callback(s->stream, onStreamState, s);
        pa_stream_set_write_callback(s->stream, onWritable, s);
        pa_buffer_attr attributes;
        attributes.maxlength = uint32_t(-1);
        attributes.tlength = uint32_t(pa_usec_to_bytes(pa_usec_t(bufferMsecs) * 1000, &s->playback.spec));
        attributes.prebuf = uint32_t(-1);
        attributes.minreq = uint32_t(-1);
        attributes.fragsize = uint32_t(-1);
        if (pa_stream_connect_playback(s->stream, nullptr, &attributes, PA_STREAM_ADJUST_LATENCY, nullptr,
                                       nullptr) < 0)
            s->failed = true;
        break;
    }
    case PA_CONTEXT_FAILED:
    case PA_CONTEXT_TERMINATED:
        s->failed = true;
        break;
    default:
        break;
    }
}

// Connects, plays the whole sound and waits until the server has played it out, or gives up: no server,
// a server that does not answer in time, or a stop at exit.
void playToEnd(Playback& playback, pa_mainloop* loop)
{
    Stream s{playback};
    s.context = pa_context_new(pa_mainloop_get_api(loop), "Brevlin");
    if (!s.context)
        return;
    pa_context_set_state_callback(s.context, onContextState, &s);
    // Without a server the sound is not heard; starting one is not this program's business.
    if (pa_context_connect(s.context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) >= 0) {
        const auto length =
            std::chrono::microseconds(pa_bytes_to_usec(uint64_t(playback.pcm.size()), &playback.spec));
        Clock::time_point deadline = Clock::now() + answerTime;
        bool wasOpen = false;
        while (!s.drained && !s.failed && !playback.cancelled) {
            if (s.open && !wasOpen) {
                wasOpen = true;
                deadline = Clock::now() + length + playOutTime;
            }
            const auto left = deadline - Clock::now();
            if (left <= Clock::duration::zero())
                break;
            const auto wait = std::chrono::duration_cast<std::chrono::microseconds>(
                std::min<Clock::duration>(left, longestWait));
            if (pa_mainloop_prepare(loop, int(wait.count())) < 0 || pa_mainloop_poll(loop) < 0 ||
                pa_mainloop_dispatch(loop) < 0)
                break;
        }
    }
    // None of this waits for the server: what is still queued is dropped with the connection.
    if (s.drain) {
        pa_operation_cancel(s.drain);
        pa_operation_unref(s.drain);
    }
    if (s.stream) {
        pa_stream_set_state_callback(s.stream, nullptr, nullptr);
        pa_stream_set_write_callback(s.stream, nullptr, nullptr);
        pa_stream_disconnect(s.stream);
        pa_stream_unref(s.stream);
    }
    pa_context_set_state_callback(s.context, nullptr, nullptr);
    pa_context_disconnect(s.context);
    pa_context_unref(s.context);
}

void run(Playback* playback)
{
    Registry& r = registry();
    if (pa_mainloop* loop = pa_mainloop_new()) {
        {
            const std::lock_guard<std::mutex> lock(r.mutex);
            playback->loop = loop;
        }
        playToEnd(*playback, loop);
        {
            const std::lock_guard<std::mutex> lock(r.mutex);
            playback->loop = nullptr;
        }
        pa_mainloop_free(loop);
    }
    std::function<void()> ended = std::move(playback->ended);
    {
        const std::lock_guard<std::mutex> lock(r.mutex);
        r.running.erase(std::find(r.running.begin(), r.running.end(), playback));
        if (playback->epoch == r.epoch)
            QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(ended), Qt::QueuedConnection);
        r.idle.notify_all();
    }
    delete playback;
    // When the application has already gone, whatever `ended` holds is released here instead.
}

} // namespace

namespace AudioOutput {

bool play(const QByteArray& pcm, int sampleRate, int channelCount, std::function<void()> ended)
{
    if (!QCoreApplication::instance() || pcm.isEmpty())
        return false;
    auto playback = std::make_unique<Playback>();
    playback->pcm = pcm;
    playback->spec.format = PA_SAMPLE_S16NE;
    playback->spec.rate = uint32_t(sampleRate);
    playback->spec.channels = uint8_t(channelCount);
    if (channelCount < 1 || !pa_sample_spec_valid(&playback->spec))
        return false;
    playback->ended = std::move(ended);

    Registry& r = registry();
    bool hookExit = false;
    {
        const std::lock_guard<std::mutex> lock(r.mutex);
        if (r.running.size() >= maxPlaybacks)
            return false;
        hookExit = !r.exitHooked;
        r.exitHooked = true;
        playback->epoch = r.epoch;
        r.running.push_back(playback.get());
    }
    if (hookExit)
        qAddPostRoutine(stopAllAtExit);
    try {
        std::thread(run, playback.get()).detach();
    } catch (const std::system_error&) {
        const std::lock_guard<std::mutex> lock(r.mutex);
        r.running.erase(std::find(r.running.begin(), r.running.end(), playback.get()));
        return false;
    }
    // The thread owns it now, and is never joined: exit does not wait for a server that hangs.
    playback.release();
    return true;
}

} // namespace AudioOutput
