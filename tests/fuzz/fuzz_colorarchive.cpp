// The colour archive: any bytes decode to a colour or to an invalid one, never crash; a decoded colour
// archives and decodes to itself, in the same model, and its archive is stable.

#include "FuzzSupport.h"

#include "ColorArchive.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QColor color = unarchiveObjectWithData(fuzz::bytes(data, size));
    if (!color.isValid())
        return 0;
    const QByteArray archived = archivedDataWithRootObject(color);
    const QColor again = unarchiveObjectWithData(archived);
    FUZZ_CHECK(again.isValid());
    FUZZ_CHECK(again == color);
    FUZZ_CHECK(again.spec() == color.spec());
    FUZZ_CHECK(again.rgba64() == color.rgba64());
    FUZZ_CHECK(archivedDataWithRootObject(again) == archived);
    return 0;
}
