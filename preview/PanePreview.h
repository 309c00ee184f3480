#ifndef PREVIEW_PANEPREVIEW_H
#define PREVIEW_PANEPREVIEW_H

#include "Selvikdcm.h"
#include "preview/Device.h"
#include "preview/PaneStream.h"
#include "preview/PreviewParam.h"
#include "preview/PreviewStart.h"
#include "preview/PreviewStatus.h"
#include "preview/PreviewWork.h"

#include <memory>

namespace pellora
{

/**
 * The live preview of one pane: which device runs for it, which start is under way, and what the host is told.
 *
 * | state     | start with the pool | device   | meaning                                                         |
 * | --------- | ------------------- | -------- | --------------------------------------------------------------- |
 * | Idle      | none                | none     |                                                                 |
 * | Starting  | wanted              | none     | its result makes the preview                                    |
 * | Stopping  | no more wanted      | none     | its result is stopped                                           |
 * | Live      | none                | a handle | any number but -1, a failed start's included                    |
 * | Overtaken | no more wanted      | a handle | the other route was quicker than a start that was given up      |
 *
 * What an event does in a state, and the state that follows. Two entries in a cell: for a handle; for the answer -1.
 * Q queues a start, QS queues the stop of a device, S stops it here (if it refuses, the state stays), B lets the
 * handle's records in, T tells that the start failed.
 *
 * | state     | start           | startHere                    | stop         | stopHere    | result            |
 * | --------- | --------------- | ---------------------------- | ------------ | ----------- | ----------------- |
 * | Idle      | Q, Starting     | B, Live; T, Idle             | Idle         | Idle        |                   |
 * | Starting  | refused         | B, Overtaken; T, Stopping    | Stopping     | Stopping    | B, Live; T, Idle  |
 * | Stopping  | refused         | B, Overtaken; T, Stopping    | Stopping     | Stopping    | QS, Idle; Idle    |
 * | Live      | QS, Q, Starting | S, B, Live; S, T, Idle       | QS, Idle     | S, Idle     |                   |
 * | Overtaken | refused         | S, B, Overtaken; S, T, Stopping | QS, Stopping | S, Stopping | QS, Live; Live |
 *
 * A negative answer other than -1 is told as a failure and kept like a handle. Every event but a refused start and a
 * result ends the picture first.
 *
 * A start that no pool ever got counts as Starting until the next stop, which drops it. Each start and each stop ends a
 * generation: notices of an earlier one are out of date, and nothing of it gets in by the gate. T is a notice, so
 * that the host is not called from inside its own call. Of each start the host is told one outcome: that it failed, or
 * how its first header ended. After a stop it is told none; a failure that the next start overtakes is told still.
 *
 * Free of Qt and of windows.
 * Threads: the GUI thread. The device library's threads call dataArrived(), which touches only the gate.
 * Owns:    the start that is under way, and a share in the gate. Borrows pane, port and pool.
 * Errors:  false, and a line in the log.
 */
class PanePreview
{
public:
    /** What the preview needs of its pane. */
    class Pane : public PreviewListener
    {
    public:
        /** Ends what the pane shows, as what it is. The gate is closed by then. */
        virtual void endPicture() = 0;
        /** Makes a start whose result, when it has come, reaches startCameBack() on the GUI thread. */
        virtual PreviewStart::Owned makeStart(long lUserID, const SELVIK_DCM_PREVIEW_INFO &request) = 0;
    };

    /** `pUser` is what the device library gets to know the pane by. */
    PanePreview(Pane &pane, LivePort &port, PreviewWorkers &workers, void *pUser);
    /** Nothing more comes in or out; a device that still runs is not stopped. */
    ~PanePreview();
    PanePreview(const PanePreview &) = delete;
    PanePreview &operator=(const PanePreview &) = delete;

    /** Through the pool, at once; false while a start is under way. */
    bool start(const PreviewParam &param);
    /** On this thread, until the device has answered; false when it failed. */
    bool startHere(const PreviewParam &param);
    /** Through the pool, at once. */
    void stop();
    /** On this thread; false when the device library refuses, then a later stop tries again. */
    bool stopHere();
    /** Nothing gets in any more until the next start. */
    void close();
    /** The pane goes away: a start that is under way is nobody's from here on. */
    void abandonStart();

    /**
     * Takes the result of the start that is under way, if it has come; otherwise does nothing, so that it may be called
     * at any time. True: the result was one that is not wanted any more, and the pane has nothing else.
     */
    bool startCameBack();
    /** The first header opens no overlay, if it is still to come. */
    void forgetOverlay();
    /** A device runs for the pane, or is being started for it. */
    [[nodiscard]] bool isWanted() const;

    /** False for a notice that is out of date, or that would tell a second outcome of a start. */
    [[nodiscard]] bool accept(const PreviewNotice &notice);
    /** The record for the host of what runs now; both of its last words carry the pane's index. */
    [[nodiscard]] PreviewStatus status(bool bPlaying, long lSubHandel) const;
    /** The record of an outcome that was accepted. */
    [[nodiscard]] PreviewStatus outcome(const PreviewNotice &notice, long lSubHandel) const;

private:
    static void dataArrived(long lPreviewHandel, const SELVIK_DCM_STREAM_DATA *pData, void *pUser);

    [[nodiscard]] SELVIK_DCM_PREVIEW_INFO requestOf(const PreviewParam &param) const;
    void endPicture();
    void endPreview();
    void queueStop(long lPreviewHandel);
    [[nodiscard]] bool endDevice();
    void cancelStart();
    void open(const PreviewParam &param);
    void keep(long lPreviewHandel);
    void forget();

    Pane &m_pane;
    PreviewWorkers &m_workers;
    void *const m_pUser;
    const std::shared_ptr<PaneStream> m_pStream;
    PreviewStart::Owned m_pStart;
    /** The start that is under way is stopped when it comes back. */
    bool m_bStopPending = false;
    long m_lPreviewHandel = kNoPreview;
    long m_lUserID = -1;
    unsigned long m_lChannel = 0;
    unsigned int m_nGeneration = 0;
    /** The last generation that a stop has ended, rather than the next start. */
    unsigned int m_nStopped = 0;
    bool m_bOutcomeTold = false;
};

} // namespace pellora

#endif
