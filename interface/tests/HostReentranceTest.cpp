// Everything that a host may do in its window procedure while one of the library's functions is on the stack.

#include "VideoWindow/tests/ClassedHost.h"
#include "interface/tests/EveryExport.h"
#include "interface/tests/PelloraFixture.h"

#include <optional>
#include <set>
#include <utility>

using testing::IsEmpty;

namespace
{

using Host = ClassedHost<6>;

/** A function that is called on a window, and what it takes to bring about messages. */
struct Outer {
    std::string name;
    std::function<void(const CallTarget &)> prepare;
    std::function<void(const CallTarget &)> run;
    std::optional<std::set<UINT>> messages; /**< that the host's procedure gets meanwhile */

    [[nodiscard]] bool makesWindow() const
    {
        return name == "CreateFirstWindow";
    }
};

Outer outerNamed(const char *pName)
{
    const ExportCall &call = exportNamed(pName);
    return {call.name, [](const CallTarget &) {}, [&call](const CallTarget &target) { call.run(target); }, {}};
}

std::vector<Outer> outers()
{
    std::vector<Outer> all;
    // Those that bring messages; other ways into full screen and out of it are DestructionTest's.
    for (const char *pName : {"DestroyWindow", "SetVisible", "SetGeometry", "SetClipArea", "FullScreen"}) {
        all.push_back(outerNamed(pName));
    }
    const auto destroy = [](const CallTarget &target) { PELLORA_DestroyWindow(target.lHandle); };
    all.push_back({"CreateFirstWindow", destroy, [](const CallTarget &t) { PELLORA_CreateWindow(t.hHost, 0); }, {}});
    return all;
}

/**
 * A host that is the active window and, as soon as it hears anything, sizes itself and paints, so that its procedure
 * gets those messages inside the function, too.
 */
class HostReentranceTest : public PelloraFixture
{
public:
    using Inside = void (HostReentranceTest::*)();

    static void SetUpTestSuite()
    {
        PelloraFixture::SetUpTestSuite();
        s_outers = outers();
    }

    void TearDown() override
    {
        Host::whenReceived(nullptr);
        PelloraFixture::TearDown();
    }

    void begin(const Outer &outer)
    {
        doubles::reset();
        m_pLively = std::make_unique<Host>();
        SetForegroundWindow(m_pLively->handle());
        SetFocus(m_pLively->handle());
        m_target = {m_pLively->handle(), PELLORA_CreateWindow(m_pLively->handle(), 2)};
        setScene(m_target);
        outer.prepare(m_target);
        support::pumpPosted();
    }

    void end()
    {
        Host::whenReceived(nullptr);
        for (long lHandle = 0; lHandle < 9; ++lHandle) {
            EXPECT_EQ(PELLORA_DestroyWindow(lHandle), 1);
        }
        m_pLively.reset();
        EXPECT_TRUE(support::pumpUntil([] { return videoWindows().empty() && doubles::openPreviews().empty(); }));
        EXPECT_THAT(doubles::openPorts(), IsEmpty());
    }

    /** Sizes and paints the host at the first message that it hears. */
    void stirOnce()
    {
        if (std::exchange(m_bStirred, true)) {
            return;
        }
        SetWindowPos(m_pLively->handle(), nullptr, 0, 0, 630, 470, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
        RedrawWindow(m_pLively->handle(), nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
        MINMAXINFO limits = {};
        SendMessageW(m_pLively->handle(), WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&limits));
    }

    /** The messages that the host's procedure gets while the function runs. */
    std::set<UINT> messagesDuring(const Outer &outer)
    {
        begin(outer);
        std::set<UINT> messages;
        m_bStirred = false;
        Host::whenReceived([&](UINT nMessage) {
            messages.insert(nMessage);
            stirOnce();
        });
        outer.run(m_target);
        end();
        return messages;
    }

    /** Looked at once in the process. */
    void findMessages()
    {
        for (Outer &outer : s_outers) {
            if (!outer.messages) {
                outer.messages = messagesDuring(outer);
            }
        }
    }

    /** Does it once in each message that each function brings. */
    void doInEachMessage(Inside pfnInside)
    {
        findMessages();
        std::size_t nDone = 0;
        std::set<UINT> seen;
        for (const Outer &outer : s_outers) {
            if (pfnInside == &HostReentranceTest::destroyTheHost && outer.makesWindow()) {
                // Nothing can be done for a host that takes its window away while another one is being made in it.
                continue;
            }
            for (const UINT nMessage : *outer.messages) {
                SCOPED_TRACE(outer.name + " and message " + std::to_string(nMessage));
                seen.insert(nMessage);
                nDone += doInside(outer, nMessage, pfnInside) ? 1 : 0;
            }
        }
        EXPECT_GT(nDone, 12U);
        for (const UINT nMessage : {WM_SIZE, WM_PAINT, WM_GETMINMAXINFO, WM_WINDOWPOSCHANGING, WM_KILLFOCUS}) {
            EXPECT_EQ(seen.count(nMessage), 1U) << nMessage;
        }
    }

    bool doInside(const Outer &outer, UINT nMessage, Inside pfnInside)
    {
        begin(outer);
        m_bStirred = false;
        bool bDone = false;
        Host::whenReceived([&](UINT nReceived) {
            if (nReceived == nMessage) {
                Host::whenReceived(nullptr);
                bDone = true;
                (this->*pfnInside)();
            } else {
                stirOnce();
            }
        });
        outer.run(m_target);
        end();
        return bDone;
    }

    // ---- what is done inside ----

    void callEverything()
    {
        for (const ExportCall &call : everyExportBetween()) {
            if (std::string(call.name) != "DestroyWindow") {
                call.run(m_target);
            }
        }
    }

    void destroyTheWindowAndRunALoop()
    {
        EXPECT_EQ(PELLORA_DestroyWindow(m_target.lHandle), 1);
        EXPECT_EQ(PELLORA_Play(m_target.lHandle), 0);
        support::pumpPosted();
        EXPECT_EQ(PELLORA_Play(m_target.lHandle), 0);
    }

    void destroyTheHost()
    {
        m_pLively->destroy();
        EXPECT_EQ(PELLORA_DestroyWindow(m_target.lHandle), 1);
    }

    void endAndBeginTheLibrary()
    {
        EXPECT_EQ(PELLORA_Fini(), 1);
        EXPECT_EQ(PELLORA_Init(), 1);
    }

    void exchangeTheWindow()
    {
        EXPECT_EQ(PELLORA_DestroyWindow(m_target.lHandle), 1);
        // -1 while another one is being made.
        PELLORA_CreateWindow(m_target.hHost, 1);
    }

    inline static std::vector<Outer> s_outers;
    std::unique_ptr<Host> m_pLively;
    CallTarget m_target;
    bool m_bStirred = false;
};

TEST_F(HostReentranceTest, TakesEveryFunctionInEveryMessage)
{
    doInEachMessage(&HostReentranceTest::callEverything);
}

TEST_F(HostReentranceTest, TakesTheEndOfTheWindowBeforeAMessageLoopInEveryMessage)
{
    doInEachMessage(&HostReentranceTest::destroyTheWindowAndRunALoop);
}

TEST_F(HostReentranceTest, TakesTheEndOfTheHostInEveryMessage)
{
    doInEachMessage(&HostReentranceTest::destroyTheHost);
}

TEST_F(HostReentranceTest, TakesItsOwnEndAndStartInEveryMessage)
{
    doInEachMessage(&HostReentranceTest::endAndBeginTheLibrary);
}

TEST_F(HostReentranceTest, TakesAnotherWindowInPlaceOfTheOneInEveryMessage)
{
    doInEachMessage(&HostReentranceTest::exchangeTheWindow);
}

TEST_F(HostReentranceTest, RefusesAWindowInTheMidstOfMakingAnother)
{
    m_pLively = std::make_unique<Host>();
    long lInside = 7;
    Host::whenReceived([&](UINT nMessage) {
        if (nMessage == WM_PARENTNOTIFY && lInside == 7) {
            lInside = PELLORA_CreateWindow(m_pLively->handle(), 2);
        }
    });

    EXPECT_EQ(PELLORA_CreateWindow(m_pLively->handle(), 2), 0);

    EXPECT_EQ(lInside, -1);
    EXPECT_THAT(m_log.texts(), testing::Contains(testing::HasSubstr("another one is being made")));
    Host::whenReceived(nullptr);
    EXPECT_EQ(PELLORA_CreateWindow(m_pLively->handle(), 2), 1);
    end();
}

} // namespace
