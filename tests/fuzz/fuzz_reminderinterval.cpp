// The reminder interval as the preferences window stores it: three fields set the hours, minutes, seconds
// and their sum without overflow; any other text leaves the interval in effect as it was.

#include "FuzzSupport.h"

#include "Brevlin.h"
#include "TextValues.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString interval = fuzz::text(data, size);
    Brevlin settings;
    const qint64 before = settings.remindEveryIntervalSeconds();
    settings.setRemindEveryInterval(interval);
    FUZZ_CHECK(settings.remindEveryInterval() == interval);
    const QStringList fields = componentsSeparatedByString(interval, QStringLiteral(":"));
    if (fields.size() != 3) {
        FUZZ_CHECK(settings.remindEveryIntervalSeconds() == before);
        return 0;
    }
    FUZZ_CHECK(settings.remindEveryH() == intValue(fields[0]));
    FUZZ_CHECK(settings.remindEveryM() == intValue(fields[1]));
    FUZZ_CHECK(settings.remindEveryS() == intValue(fields[2]));
    FUZZ_CHECK(settings.remindEveryIntervalSeconds() ==
               settings.remindEveryH() * 3600 + settings.remindEveryM() * 60 + settings.remindEveryS());
    return 0;
}
