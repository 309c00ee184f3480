#include "player/src/file/PackedPictures.h"

#include <cstdint>

namespace player
{

bool isNextPacked(const AVPacket &packet, bool stoodIn)
{
    // ISO/IEC 14496-2, 6.2.5: the start code of a picture, and its type in the two bits behind it.
    constexpr std::uint32_t kPicture = 0x1B6;
    constexpr int kOfTypeB = 2;
    int ahead = stoodIn ? 0 : 1;
    std::uint32_t code = 0xFFFFFFFF;
    for (int i = 0; i + 1 < packet.size; ++i) {
        code = code << 8 | packet.data[i];
        if (code == kPicture && ahead-- == 0) {
            return packet.data[i + 1] >> 6 == kOfTypeB;
        }
    }
    return false;
}

} // namespace player
