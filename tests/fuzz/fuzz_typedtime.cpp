// The time typed into the panel: any text either starts a count whose seconds are the fields' sum in
// 32-bit two's complement, or is refused without changing anything; ticking on from it never fails.

#include "FuzzSupport.h"

#include "Brevlin.h"
#include "Countdown.h"
#include "TextValues.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString typed = fuzz::text(data, size);
    Countdown countdown;
    countdown.start(QStringLiteral("0:0:7"));
    const QString shown = countdown.start(typed);
    const QStringList fields = componentsSeparatedByString(typed, QStringLiteral(":"));
    if (fields.size() != 3) {
        FUZZ_CHECK(shown.isNull());
        FUZZ_CHECK(countdown.remainingSeconds() == 7);
        return 0;
    }
    FUZZ_CHECK(!shown.isNull());
    const qint64 sum =
        qint64(intValue(fields[0])) * 3600 + qint64(intValue(fields[1])) * 60 + intValue(fields[2]);
    quint32 expected = quint32(quint64(sum));
    if (typed.contains(QLatin1Char('-')))
        expected = 0u - expected;
    FUZZ_CHECK(quint32(countdown.remainingSeconds()) == expected);
    // The fields as typed (hours negated by a minus anywhere), with the overtime minus when the count is
    // below zero.
    FUZZ_CHECK(countdown.shownMinutes() == intValue(fields[1]) &&
               countdown.shownSeconds() == intValue(fields[2]));
    FUZZ_CHECK(shown == formatTime(countdown.shownHours(), countdown.shownMinutes(), countdown.shownSeconds(),
                                   countdown.remainingSeconds() < 0));

    Brevlin settings;
    for (int i = 0; i < 3; ++i) {
        const qint32 before = countdown.remainingSeconds();
        const Countdown::Step step = countdown.tick(settings);
        if (step.stopTimer)
            break;
        FUZZ_CHECK(quint32(countdown.remainingSeconds()) == quint32(before) - 1u);
        FUZZ_CHECK(step.text == formatTime(countdown.shownHours(), countdown.shownMinutes(),
                                           countdown.shownSeconds(), countdown.remainingSeconds() < 0));
    }
    return 0;
}
