#pragma once

// What every fuzz target shares: the input as text, and a property check that stops the run with a
// message (libFuzzer reports the abort as a crash and keeps the input that caused it).

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace fuzz {

inline QByteArray bytes(const uint8_t* data, size_t size)
{
    return QByteArray(reinterpret_cast<const char*>(data), qsizetype(size));
}

inline QString text(const uint8_t* data, size_t size)
{
    return QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));
}

[[noreturn]] inline void fail(const char* property, const char* file, int line)
{
    std::fprintf(stderr, "property failed: %s (%s:%d)\n", property, file, line);
    std::abort();
}

} // namespace fuzz

#define FUZZ_CHECK(condition)                                                                                \
    do {                                                                                                     \
        if (!(condition))                                                                                    \
            fuzz::fail(#condition, __FILE__, __LINE__);                                                      \
    } while (false)
