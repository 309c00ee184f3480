#ifndef INTERFACE_TESTS_PREVIEWFIXTURE_H
#define INTERFACE_TESTS_PREVIEWFIXTURE_H

#include "interface/tests/PelloraFixture.h"

#include <QEvent>
#include <QObject>
#include <QPointer>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

/** Counts what other threads have queued to an object and what has been delivered there since. */
class DeliveredNotices : public QObject
{
public:
    explicit DeliveredNotices(QObject *pObject)
    {
        pObject->installEventFilter(this);
    }

    bool eventFilter(QObject *, QEvent *pEvent) override
    {
        m_nDelivered += pEvent->type() == QEvent::MetaCall ? 1 : 0;
        return false;
    }

    [[nodiscard]] int count() const
    {
        return m_nDelivered;
    }

private:
    int m_nDelivered = 0;
};

/** One call of the status callback. */
struct ToldStatus {
    tagPELLORA_PREVIEW_STATUS record;
    std::string bytes; /**< as they were in memory */
    unsigned long threadId;
};

/** A long wait, on a machine that does much else. */
constexpr unsigned kPatience = 30000;

/**
 * Live previews of one video window, over the doubles.
 *
 * Every test ends with no preview, no port, no window and no stream of the device's left.
 */
class PreviewFixture : public PelloraFixture
{
protected:
    void SetUp() override;
    void TearDown() override;

    [[nodiscard]] QWidget *pane(std::size_t nIndex = 0) const;

    /** The current pane's preview through the pool, up to where its handle has reached the pane; the handle. */
    long start(unsigned char byOpenDraw = 0);
    /** As start(), of a pane by its index, which becomes the current one. */
    long startIn(long lSubHandel, unsigned char byOpenDraw = 0);
    /** Pane 0's preview on this thread; the handle. */
    long startDirect(unsigned char byOpenDraw = 0);
    /** The same, and its header has opened the port; the calls are forgotten. */
    long startPlaying(unsigned char byOpenDraw = 0);
    /** Sends the header; its notices have been delivered when it returns. */
    static void sendHeader(long lPreview);

    /** Runs `action`; true when the pane was delivered that many notices more. */
    [[nodiscard]] bool delivers(int nNotices, const std::function<void()> &action, std::size_t nPane = 0);
    /** Waits, with the messages running. */
    [[nodiscard]] static bool until(const std::function<bool()> &condition);
    [[nodiscard]] static bool untilHeld(const std::string &function, std::size_t nCalls = 1);
    [[nodiscard]] static bool untilCalled(const std::string &text);
    [[nodiscard]] bool untilLogged(const std::string &text) const;
    /** What has been queued up to now has been delivered when it returns. */
    static void settle();

    void listen();
    /** "pane userID/channel playing" of each call of the status callback. */
    [[nodiscard]] static Texts told();

    static std::vector<ToldStatus> s_told;
    /** Runs inside the status callback. */
    static std::function<void(const tagPELLORA_PREVIEW_STATUS &)> s_whenTold;

    long m_lHandle = -1;
    std::vector<QPointer<QWidget>> m_panes;
    std::map<std::size_t, std::unique_ptr<DeliveredNotices>> m_notices;
};

[[nodiscard]] tagPELLORA_PREVIEW_PARAM previewParam(long lUserID = 7, unsigned long lChannel = 2, long lStreamType = 1,
                                                    unsigned char byOpenDraw = 0);
/** A batch of equal requests, of the channels 1, 2, 3 and so on. */
[[nodiscard]] tagPELLORA_BATCH_PREVIEW_PARAM batchOf(unsigned short wNum);

/** What a header makes of a port, in the player's calls. */
[[nodiscard]] Texts openingCalls(long lPort, const QWidget *pPane, const std::string &headerBytes = "[686561646572]");
/** What a stop makes of it. */
[[nodiscard]] Texts closingCalls(long lPort);
[[nodiscard]] Texts operator+(Texts first, const Texts &second);
[[nodiscard]] std::string stopCall(long lPreview);
[[nodiscard]] Texts callsWith(const Texts &calls, const std::string &beginning);

/** A line of another layer's, whatever its line number. */
MATCHER_P4(IsLine, level, file, function, message, "")
{
    return arg.level == level && arg.file == file && arg.function == function && arg.message == message && arg.line > 0;
}

#endif
