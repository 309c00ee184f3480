#ifndef PREVIEW_PREVIEWSTATUS_H
#define PREVIEW_PREVIEWSTATUS_H

#include <cstdint>

namespace pellora
{

/** What the host is told of a pane's preview; byte for byte the record of the public interface. */
struct PreviewStatus {
    std::int32_t userID;
    std::uint32_t lChannel;
    unsigned char byPlaying;
    unsigned char byZero[3];
    /** The pane's index, as the next one, and not the window's handle; docs/compatibility.md: pane-index-twice. */
    std::int32_t lHandle;
    std::int32_t lSubHandel;
};

static_assert(sizeof(PreviewStatus) == 20, "PreviewStatus");

} // namespace pellora

#endif
