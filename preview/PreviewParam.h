#ifndef PREVIEW_PREVIEWPARAM_H
#define PREVIEW_PREVIEWPARAM_H

namespace pellora
{

/** A live preview that a pane is asked for, as the library hands it from the exports to the pane. */
struct PreviewParam {
    long userID = -1;
    unsigned long lChannel = 0;
    long streamType = -1;
    unsigned char openDraw = 0;
    /** Out, of batches: where the preview was started. */
    long lHandle = -1;
    long lSubHandel = -1;
    /** The host's; read during the call only. Null: the log-in's own address. */
    const char *url = nullptr;
};

} // namespace pellora

#endif
