#ifndef PREVIEW_PANESTREAM_H
#define PREVIEW_PANESTREAM_H

#include "preview/LivePanes.h"
#include "preview/LivePort.h"
#include "preview/PreviewNotice.h"
#include "preview/StreamGate.h"

#include <mutex>

namespace pellora
{

/**
 * The gate between the device's threads and a pane's port: lets in the records of the preview that is wanted.
 *
 * Records of other previews go nowhere, whatever thread they come on and however late. A second header of a preview
 * means that the device was reached again: the port is replaced.
 *
 * Threads: input() on the device library's threads; all others on the GUI thread.
 * Owns:    nothing. Borrows port and listener, which it does not touch after close(), since only the GUI thread opens
 *          the gate. A device thread that is in it may outlive the pane.
 * Locks:   m_mutex, around each record. Neither the host nor the device library is called under it. Order: m_mutex,
 *          then PanePort's. RetiredPreviews' is taken inside it.
 */
class PaneStream : public StreamSink
{
public:
    PaneStream(LivePort &port, PreviewListener &listener);

    void input(long lPreviewHandel, unsigned int nType, unsigned char *pBytes, unsigned int nLength) override;

    /**
     * A start is being made; its notices carry the generation. `bOthersUnderWay`: an abandoned start may send records
     * to the same pane.
     */
    void open(unsigned int nGeneration, bool bOpenDraw, bool bOthersUnderWay);
    /** The start came back with this handle: records that were kept for it go to the port now. */
    void bind(long lPreviewHandel);
    /** Nothing gets in any more. Waits for a record that is just being handed to the port. */
    void close();
    /** The first header, if it is still to come, opens no overlay. */
    void forgetOverlay();

private:
    void feed(unsigned int nType, unsigned char *pBytes, unsigned long nLength);
    void begin(unsigned char *pBytes, unsigned long nLength);
    void notify(PreviewNotice::Kind kind);

    LivePort &m_port;
    PreviewListener &m_listener;

    // Guarded by m_mutex.
    std::mutex m_mutex;
    StreamGate m_gate;
    unsigned int m_nGeneration = 0;
    bool m_bOpenDraw = false;
    bool m_bHeaderSeen = false;
};

} // namespace pellora

#endif
