#include "player/src/core/DeviceTime.h"

extern "C" {
#include <libavutil/intreadwrite.h>
}

namespace player
{

std::optional<std::int64_t> deviceTimeOf(const AVPacket &packet)
{
    constexpr std::uint64_t kIdentifier = 1;
    std::size_t size = 0;
    const std::uint8_t *pAdded = av_packet_get_side_data(&packet, AV_PKT_DATA_MATROSKA_BLOCKADDITIONAL, &size);
    if (!pAdded || size != 16 || AV_RB64(pAdded) != kIdentifier) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(AV_RB64(pAdded + 8));
}

} // namespace player
