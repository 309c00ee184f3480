#ifndef VIDEOWINDOW_PREVIEWSTATUS_H
#define VIDEOWINDOW_PREVIEWSTATUS_H

namespace pellora
{

/** What the host is told of a pane's preview; byte for byte the record of the public interface. */
struct PreviewStatus {
    long userID;
    unsigned long lChannel;
    unsigned char byPlaying;
    unsigned char byZero[3];
    /** The pane's index, as the next one: hosts match on it. It is not the window's handle. */
    long lHandle;
    long lSubHandel;
};

static_assert(sizeof(PreviewStatus) == 20, "PreviewStatus");

} // namespace pellora

#endif
