// Panes, the pool and a device that is as late as it likes: the classes of the library themselves, over doubles of the
// device library and the player that are linked in, without windows, so that the thread sanitizer sees all of it.
#include "VideoWindow/PanePort.h"
#include "VideoWindow/TakeStreamMgr.h"
#include "preview/PanePreview.h"
#include "preview/tests/DeviceDouble.h"
#include "preview/tests/PlayerDouble.h"
#include "preview/tests/TestStart.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

using namespace pellora;

namespace
{

int rounds()
{
    const char *const pRounds = std::getenv("PELLORA_RACE_ROUNDS");
    return pRounds != nullptr ? std::atoi(pRounds) : 200;
}

/** The event queue of the one thread that owns the panes. */
class Events
{
public:
    void post(std::function<void()> event)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_events.push_back(std::move(event));
    }

    void deliver()
    {
        std::vector<std::function<void()>> events;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            events.swap(m_events);
        }
        for (const auto &event : events) {
            event();
        }
    }

private:
    std::mutex m_mutex;
    std::vector<std::function<void()>> m_events;
};

/** What the widget of a pane does with port and preview, without a widget. */
class Pane : private PanePreview::Pane
{
public:
    explicit Pane(Events &events) : m_events(events) {}

    ~Pane() override
    {
        *m_pAlive = false;
        m_preview.close();
        m_preview.abandonStart();
        m_preview.stopHere();
        stopFile();
    }

    Pane(const Pane &) = delete;
    Pane &operator=(const Pane &) = delete;

    void start()
    {
        m_preview.start(param());
    }
    void stop()
    {
        m_preview.stop();
    }
    void startHere()
    {
        m_preview.startHere(param());
    }
    void stopHere()
    {
        m_preview.stopHere();
    }
    void playFile()
    {
        if (m_preview.isWanted()) {
            m_preview.stop();
        }
        stopFile();
        char path[] = "a.mkv";
        m_port.playFile(path);
    }
    void stopFile()
    {
        if (m_port.source() == PanePort::Source::Live) {
            m_preview.stop();
            return;
        }
        m_preview.forgetOverlay();
        m_port.end(PanePort::Source::File);
    }
    void changeSettings()
    {
        m_port.setVolume(5);
        m_port.openSound();
        m_port.showRegion(m_port.partOf({100, 100, 600, 700}));
        m_port.setIntelData(true);
        m_port.pause();
    }

private:
    static PreviewParam param()
    {
        PreviewParam result;
        result.userID = 1;
        result.lChannel = 1;
        result.openDraw = 1;
        return result;
    }

    void endPicture() override
    {
        m_port.unregisterDraw();
        m_port.end(PanePort::Source::Live);
    }

    PreviewStart::Owned makeStart(long lUserID, const SELVIK_DCM_PREVIEW_INFO &request) override
    {
        return PreviewStart::Owned(new TestStart(lUserID, request, [this, pAlive = m_pAlive] {
            post(pAlive, [this] {
                if (m_preview.startCameBack() && m_port.source() == PanePort::Source::None) {
                    endPicture();
                }
            });
        }));
    }

    void notify(const PreviewNotice &notice) override
    {
        post(m_pAlive, [this, notice] {
            if (m_preview.accept(notice) && notice.kind == PreviewNotice::Kind::Overlay) {
                m_port.registerDraw([](long, HDC, void *) {}, this);
            }
        });
    }

    template <typename Event>
    void post(const std::shared_ptr<bool> &pAlive, Event event)
    {
        m_events.post([pAlive, event] {
            if (*pAlive) {
                event();
            }
        });
    }

    Events &m_events;
    /** Read and written by the owning thread only. */
    std::shared_ptr<bool> m_pAlive = std::make_shared<bool>(true);
    PanePort m_port{nullptr};
    PanePreview m_preview{*this, m_port, *TakeStreamMgr::getInstance(), this};
};

class PreviewRaceTest : public testing::Test
{
protected:
    void SetUp() override
    {
        devicedouble::reset();
        devicedouble::setTraffic(true, 20261121);
        TakeStreamMgr::getInstance()->startThreadPool();
    }

    void TearDown() override
    {
        // What is under way ends, and what it started is stopped by whoever got it.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while ((TestStart::s_nLive > 0 || devicedouble::openPreviews() > 0) &&
               std::chrono::steady_clock::now() < deadline) {
            m_events.deliver();
            std::this_thread::yield();
        }
        TakeStreamMgr::getInstance()->stopThreadPool();
        EXPECT_EQ(devicedouble::openPreviews(), 0U);
        EXPECT_EQ(playerdouble::openPorts(), 0U);
        EXPECT_EQ(playerdouble::faults(), 0);
        EXPECT_EQ(TestStart::s_nLive, 0);
    }

    /** One of everything that a host can do to a pane. */
    static void change(Pane &pane)
    {
        switch (devicedouble::chance(7)) {
        case 0:
            pane.start();
            break;
        case 1:
            pane.stop();
            break;
        case 2:
            pane.startHere();
            break;
        case 3:
            pane.stopHere();
            break;
        case 4:
            pane.playFile();
            break;
        case 5:
            pane.stopFile();
            break;
        default:
            pane.changeSettings();
        }
    }

    Events m_events;
};

TEST_F(PreviewRaceTest, LeavesNothingAfterStartsAndStops)
{
    Pane pane(m_events);
    for (int i = 0; i < rounds(); ++i) {
        pane.start();
        devicedouble::pause();
        m_events.deliver();
        pane.stop();
        m_events.deliver();
    }
}

TEST_F(PreviewRaceTest, LeavesNothingWhenPanesGoWithStartsUnderWay)
{
    for (int i = 0; i < rounds(); ++i) {
        Pane pane(m_events);
        pane.start();
        devicedouble::pause();
        if (devicedouble::chance(2) == 0) {
            m_events.deliver();
        }
        if (devicedouble::chance(3) == 0) {
            pane.stop();
        }
    }
}

TEST_F(PreviewRaceTest, LeavesNothingAfterEverythingOnNinePanes)
{
    std::vector<std::unique_ptr<Pane>> panes;
    for (int i = 0; i < 9; ++i) {
        panes.push_back(std::make_unique<Pane>(m_events));
    }
    for (int i = 0; i < rounds() * 3; ++i) {
        std::unique_ptr<Pane> &pPane = panes[static_cast<std::size_t>(devicedouble::chance(9))];
        if (devicedouble::chance(20) == 0) {
            pPane = std::make_unique<Pane>(m_events);
        }
        change(*pPane);
        if (devicedouble::chance(2) == 0) {
            m_events.deliver();
        }
    }
    panes.clear();
}

TEST_F(PreviewRaceTest, LeavesNothingWhenThePoolEndsOverStartsAndStops)
{
    Pane first(m_events);
    Pane second(m_events);
    for (int i = 0; i < rounds() / 4; ++i) {
        first.start();
        second.startHere();
        second.stop();
        TakeStreamMgr::getInstance()->stopThreadPool();
        m_events.deliver();
        change(first);
        TakeStreamMgr::getInstance()->startThreadPool();
        change(second);
    }
}

} // namespace
