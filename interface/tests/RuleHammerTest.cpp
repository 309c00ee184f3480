// Rules come, change and go by the exports and the mouse while the player's thread paints them all the time.

#include "gdi/MemoryDib.h"
#include "interface/tests/PelloraFixture.h"
#include "tests/support/NoRealMouse.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <thread>

namespace
{

constexpr long kCapacity = 64;
constexpr int kWidth = 1000;
constexpr int kHeight = 500;

/** PELLORA_HAMMER_SECONDS makes it longer. */
std::chrono::seconds hammerTime()
{
    const char *pSeconds = std::getenv("PELLORA_HAMMER_SECONDS");
    return std::chrono::seconds(pSeconds != nullptr ? std::strtol(pSeconds, nullptr, 10) : 3);
}

/** What the host knows of its rules: the type of each, 0 where there is none. One thread. */
struct HostsView {
    std::array<unsigned short, kCapacity> types = {};
    bool bWindow = false;
    int nReports = 0;
    int nWrongReports = 0;
};

HostsView g_host;

constexpr std::array<unsigned long, 11> kRecordSizes = {0, 8, 16, 16, 84, 1040, 16, 16, 84, 16, 8};

/** No report may come of a rule that is not, of one of another type, or without a window. */
void takeReport(long lRuleID, unsigned short wRuleType, void *pCoord, unsigned char byState, long /*lHandle*/,
                long lSubHandel, unsigned long dwSize)
{
    ++g_host.nReports;
    const bool bKnown = lRuleID >= 0 && lRuleID < kCapacity && wRuleType >= 1 && wRuleType <= 10 &&
                        g_host.types[static_cast<std::size_t>(lRuleID)] == wRuleType;
    if (!g_host.bWindow || !bKnown || dwSize != kRecordSizes[wRuleType] || pCoord == nullptr || lSubHandel != 0 ||
        (byState != 0 && byState != 2 && byState != 4)) {
        ++g_host.nWrongReports;
    }
}

/** Paints a port's pictures one after the other until it goes. */
class Painter
{
public:
    Painter() : m_thread([this] { run(); }) {}
    Painter(const Painter &) = delete;
    Painter &operator=(const Painter &) = delete;
    ~Painter()
    {
        m_bEnd = true;
        m_thread.join();
    }

    void setPort(long lPort)
    {
        m_lPort = lPort;
    }
    [[nodiscard]] int painted() const
    {
        return m_nPainted;
    }

private:
    void run()
    {
        // Rules are put straight into the pixels of the first, and drawn on the other, which has a clipping region.
        const gdi::MemoryDib plain(nullptr, kWidth, kHeight);
        const gdi::MemoryDib clipped(nullptr, kWidth, kHeight);
        IntersectClipRect(clipped.get(), 10, 10, kWidth, kHeight);
        for (int nPicture = 0; !m_bEnd; ++nPicture) {
            const long lPort = m_lPort;
            if (lPort != -1 && doubles::fireDraw(lPort, nPicture % 8 == 7 ? clipped.get() : plain.get())) {
                ++m_nPainted;
            }
            // Between two pictures a player rests, and a mutex is not fair.
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    }

    std::atomic<long> m_lPort = -1;
    std::atomic<bool> m_bEnd = false;
    std::atomic<int> m_nPainted = 0;
    std::thread m_thread;
};

class RuleHammer : public PelloraFixture
{
protected:
    void SetUp() override
    {
        PelloraFixture::SetUp();
        g_host = {};
        SetCursorPos(0, 0);
        m_pHost = std::make_unique<support::HostWindow>(kWidth + 2, kHeight + 2);
    }

    void openWindow(Painter &painter)
    {
        m_lHandle = createWindow();
        g_host.bWindow = true;
        const long lPort = playFile(m_lHandle);
        EXPECT_EQ(PELLORA_SetRuleCoordCallback(m_lHandle, &takeReport, 255), 1);
        EXPECT_EQ(PELLORA_OpenDraw(m_lHandle, -1), 1);
        m_hPicture = nativeWindow(childNamed(panesOf(videoWindows().front()).front(), "m_pLiveViewWnd"));
        painter.setPort(lPort);
        for (long i = 0; i < kCapacity; ++i) {
            create(static_cast<unsigned short>(1 + i % 10));
            scribble(i);
        }
    }

    /** While it is painted, too. */
    void closeWindow()
    {
        EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);
        g_host.bWindow = false;
        g_host.types.fill(0);
        support::pumpPosted();
    }

    int pick(int nBelow)
    {
        return static_cast<int>(m_random() % static_cast<unsigned int>(nBelow));
    }

    void create(unsigned short wRuleType)
    {
        char extension[] = "\x06\x01\x01zone";
        extension[1] = 0;
        const long lRuleID =
            PELLORA_CreateRule(m_lHandle, wRuleType, m_random(), m_random(), m_random(),
                               pick(2) == 0 ? nullptr : extension, static_cast<unsigned char>(pick(16)), pick(2) - 1);
        const auto free = std::find(g_host.types.begin(), g_host.types.end(), 0);
        ASSERT_EQ(lRuleID, free == g_host.types.end() ? -1 : free - g_host.types.begin());
        if (lRuleID >= 0) {
            g_host.types[static_cast<std::size_t>(lRuleID)] = wRuleType;
        }
    }

    /** Coordinates of any kind, mostly on the picture. */
    void scribble(long lRuleID)
    {
        alignas(8) std::array<unsigned char, 1040> record = {};
        const auto coordinate = [this] { return static_cast<long>(pick(30) == 0 ? pick(40000) - 20000 : pick(1100)); };
        const unsigned short wRuleType = g_host.types[static_cast<std::size_t>(lRuleID)];
        if (wRuleType == 5) {
            tagPELLORA_RULE_TEXT text = {};
            std::memset(text.szText, 'a' + pick(26), static_cast<std::size_t>(pick(30)));
            text.wAnchor = static_cast<unsigned short>(pick(3));
            text.struPoint = {coordinate(), coordinate()};
            text.byDock = static_cast<unsigned char>(pick(3));
            std::memcpy(record.data(), &text, sizeof(text));
        } else {
            tagPELLORA_RULE_POLYGON polygon = {};
            for (tagPELLORA_POINT &point : polygon.struPoints) {
                point = {coordinate(), coordinate()};
            }
            polygon.wPointNum = static_cast<unsigned short>(pick(12));
            std::memcpy(record.data(), &polygon, sizeof(polygon));
        }
        EXPECT_EQ(PELLORA_SetRuleCoord(m_lHandle, lRuleID, record.data(), -1), wRuleType != 0 ? 1 : 0);
    }

    void post(UINT message, WPARAM buttons)
    {
        PostMessageW(m_hPicture, message, buttons, MAKELPARAM(pick(kWidth), pick(kHeight)));
    }

    void doSomething()
    {
        const long lRuleID = pick(kCapacity);
        const bool bThere = g_host.types[static_cast<std::size_t>(lRuleID)] != 0;
        alignas(8) std::array<unsigned char, 1040> record = {};
        switch (pick(16)) {
        case 0:
            EXPECT_EQ(PELLORA_DestroyRule(m_lHandle, lRuleID, -1), 1);
            g_host.types[static_cast<std::size_t>(lRuleID)] = 0;
            break;
        case 1:
        case 2:
            create(static_cast<unsigned short>(1 + pick(10)));
            break;
        case 3:
        case 4:
        case 5:
            EXPECT_EQ(PELLORA_GetRuleCoord(m_lHandle, lRuleID, record.data(), -1), bThere ? 1 : 0);
            break;
        case 6:
        case 7:
        case 8:
            scribble(lRuleID);
            break;
        case 9:
            PELLORA_SetRuleArrowType(m_lHandle, lRuleID, static_cast<unsigned short>(pick(4)), -1);
            PELLORA_SetOriginPos(m_lHandle, static_cast<unsigned short>(1 + pick(2)), -1);
            break;
        case 10:
            post(WM_LBUTTONDOWN, MK_LBUTTON);
            post(WM_MOUSEMOVE, MK_LBUTTON);
            post(WM_LBUTTONUP, 0);
            break;
        case 11:
            post(WM_RBUTTONDOWN, MK_RBUTTON);
            post(WM_RBUTTONUP, 0);
            break;
        case 12:
        case 13:
            post(WM_MOUSEMOVE, 0);
            break;
        default:
            doSomethingRare();
            break;
        }
        support::pumpPosted();
    }

    void doSomethingRare()
    {
        switch (pick(60)) {
        case 0:
            EXPECT_EQ(PELLORA_ClearRule(m_lHandle, pick(2) == 0 ? 255 : -1), 1);
            g_host.types.fill(0);
            break;
        case 1:
        case 2:
            PELLORA_CloseDraw(m_lHandle, -1);
            EXPECT_EQ(PELLORA_OpenDraw(m_lHandle, -1), 1);
            break;
        case 3: {
            tagPELLORA_RECT region = {250, 250, 750, 750};
            PELLORA_SetDisplayRegion(m_lHandle, &region, -1);
            PELLORA_SetDisplayRegion(m_lHandle, nullptr, -1);
            break;
        }
        default:
            break;
        }
    }

    long m_lHandle = -1;
    HWND m_hPicture = nullptr;
    const support::NoRealMouse m_noRealMouse;
    std::mt19937 m_random{1234};
};

TEST_F(RuleHammer, PaintsWhileRulesComeChangeAndGo)
{
    Painter painter;
    const auto end = std::chrono::steady_clock::now() + hammerTime();
    // What counts is how much was done, not how fast: the time is only the least.
    constexpr int kLeast = 1000;
    const auto deadline = end + std::chrono::minutes(1);
    int nDone = 0;
    int nWindows = 0;
    while (std::chrono::steady_clock::now() < end || (nDone < kLeast && std::chrono::steady_clock::now() < deadline)) {
        openWindow(painter);
        const int nPaintedBefore = painter.painted();
        const auto turn = std::chrono::steady_clock::now() + std::chrono::seconds(1);
        while (!HasFatalFailure() && std::chrono::steady_clock::now() < turn) {
            doSomething();
            ++nDone;
        }
        EXPECT_GT(painter.painted(), nPaintedBefore);
        closeWindow();
        doubles::clearCalls();
        m_log.clear();
        ++nWindows;
    }
    EXPECT_GE(nDone, kLeast);
    EXPECT_GT(g_host.nReports, 10);
    EXPECT_EQ(g_host.nWrongReports, 0);
    std::printf("%d windows, %d things done, %d passes painted, %d reports\n", nWindows, nDone, painter.painted(),
                g_host.nReports);
}

} // namespace
