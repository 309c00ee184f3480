#ifndef DEVICE_UNITSCANNER_H
#define DEVICE_UNITSCANNER_H

#include "device/src/Bytes.h"

namespace selvik
{

/** What the bytes before the first start code are. */
enum class Leading { IsUnit, IsNothing };

/** The place of the next start code's three bytes at or behind `at`, the size where there is none. */
[[nodiscard]] inline std::size_t findStartCode(ByteView bytes, std::size_t at)
{
    // Looks at every third byte as long as there is no zero.
    std::size_t i = at + 2;
    while (i < bytes.size) {
        const std::uint8_t byte = bytes.pData[i];
        if (byte == 1 && bytes.pData[i - 1] == 0 && bytes.pData[i - 2] == 0) {
            return i - 2;
        }
        // A zero may be the first or second byte of one; any other byte is none of its first two.
        i += byte == 0 ? 1 : 3;
    }
    return bytes.size;
}

[[nodiscard]] inline bool beginsWithStartCode(ByteView bytes)
{
    return bytes.size > 4 && bytes.pData[0] == 0 && bytes.pData[1] == 0 &&
           (bytes.pData[2] == 1 || (bytes.pData[2] == 0 && bytes.pData[3] == 1));
}

/** Calls for each unit between start codes, without them and without zeros behind; empty ones are left out. */
template <typename Visit>
void visitUnits(ByteView bytes, Leading leading, Visit visit)
{
    std::size_t code = findStartCode(bytes, 0);
    std::size_t begin = leading == Leading::IsUnit ? 0 : code;
    bool bUnit = leading == Leading::IsUnit;
    for (;;) {
        std::size_t end = code;
        while (end > begin && bytes.pData[end - 1] == 0) {
            --end;
        }
        if (bUnit && end > begin) {
            visit(ByteView{bytes.pData + begin, end - begin});
        }
        if (code >= bytes.size) {
            return;
        }
        begin = code + 3;
        bUnit = true;
        code = findStartCode(bytes, begin);
    }
}

} // namespace selvik

#endif
