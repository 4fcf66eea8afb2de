#pragma once

#include <QByteArray>

#include <functional>

/// The system's sound output, as the sounds use it: one playback of 16-bit PCM at a time per call, started
/// and forgotten. CMake builds one back end: libpulse on Linux (AudioOutputPulse.cpp), Qt Multimedia's
/// QAudioSink elsewhere (AudioOutputQt.cpp).
namespace AudioOutput {

/// Starts playing the samples (interleaved, native-endian 16-bit) once and returns at once; it never waits
/// for the sound server. `ended` is called once, later, from the application's event loop, when the sound
/// has been heard to its end or the output gave up on it (no server, or one that does not answer in time).
/// False when nothing was started (no application object, or too many playbacks already waiting on an
/// unresponsive server): `ended` is then never called.
bool play(const QByteArray& pcm, int sampleRate, int channelCount, std::function<void()> ended);

} // namespace AudioOutput
