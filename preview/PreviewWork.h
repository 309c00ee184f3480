#ifndef PREVIEW_PREVIEWWORK_H
#define PREVIEW_PREVIEWWORK_H

namespace pellora
{

class PreviewStart;

/** Work for the pool that is not lost with it. */
class PreviewWork
{
public:
    PreviewWork() = default;
    virtual ~PreviewWork() = default;
    PreviewWork(const PreviewWork &) = delete;
    PreviewWork &operator=(const PreviewWork &) = delete;

    /** The pool has ended before the work began: does on the caller's thread what must not be left undone. */
    virtual void settle() = 0;
};

/** The threads on which previews are started and stopped. Called on the GUI thread. */
class PreviewWorkers
{
public:
    PreviewWorkers() = default;
    PreviewWorkers(const PreviewWorkers &) = delete;
    PreviewWorkers &operator=(const PreviewWorkers &) = delete;

    /** Hands the start to the pool. Without a pool nothing happens. It is queued neither then nor where this throws. */
    virtual void queueStart(PreviewStart &start) = 0;
    /** Has the preview stopped by the pool; without one it is stopped here. Where it throws, it is not stopped. */
    virtual void queueStop(long lPreviewHandel) = 0;

protected:
    ~PreviewWorkers() = default;
};

} // namespace pellora

#endif
