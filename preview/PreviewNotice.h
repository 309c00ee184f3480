#ifndef PREVIEW_PREVIEWNOTICE_H
#define PREVIEW_PREVIEWNOTICE_H

namespace pellora
{

/** News of a preview on the way to the GUI thread. It has no effect when its generation is over by then. */
struct PreviewNotice {
    enum class Kind {
        Header,      /**< a header has come, and the port is opened next */
        Overlay,     /**< the start wants the overlay, and its stream has begun */
        Opened,      /**< the first header has opened the port */
        NotOpened,   /**< the first header could not open the port */
        StartFailed, /**< the device could not be started */
    };

    Kind kind;
    /** That of PanePreview when the start was made. */
    unsigned int nGeneration;
    /** Of the start that failed: by the time the host hears of it, the next one may be under way. */
    long lUserID = -1;
    unsigned long lChannel = 0;
};

/** Takes notices on any thread and queues them for the GUI thread. Called under a lock: does nothing else. */
class PreviewListener
{
public:
    PreviewListener() = default;
    virtual ~PreviewListener() = default;
    PreviewListener(const PreviewListener &) = delete;
    PreviewListener &operator=(const PreviewListener &) = delete;

    virtual void notify(const PreviewNotice &notice) = 0;
};

} // namespace pellora

#endif
