#ifndef TESTS_SOAK_WORLD_H
#define TESTS_SOAK_WORLD_H

#include "tests/soak/Model.h"
#include "tests/soak/Step.h"
#include "tests/support/LogCapture.h"

#include <QPointer>
#include <QWidget>

#include <windows.h>

#include <array>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace soak
{

constexpr std::size_t kHosts = 4;
constexpr std::size_t kLogins = 4;

/** Callbacks in which a host may call back. */
enum class Inside { Status, FileEnd, RuleCoord, Count };

/**
 * A host with everything it may have: windows, log-ins, callbacks; and what it may expect of the library.
 *
 * Threads: one, but for what says otherwise. Errors: fail() ends the process.
 */
class World
{
public:
    World();
    ~World();
    World(const World &) = delete;
    World &operator=(const World &) = delete;

    /** Does the step and looks at what must hold after each; also from inside a callback of another one. */
    void apply(const Step &step);
    /** Leaves nothing open: previews, files, windows, hosts, log-ins. */
    void clean();

    // Hosts.
    struct Host {
        HWND hWnd = nullptr;
        bool bGoing = false;
        std::map<UINT, std::uint64_t> later; /**< what to do inside a message, once */
    };
    [[nodiscard]] Host &host(long long nHost);
    void makeHost(long long nHost);
    void destroyHost(long long nHost);

    // What is expected.
    [[nodiscard]] WindowModel &window(long lHandle);
    /** The answer of a command: 0 without a window and where its host is gone, else the one given. */
    [[nodiscard]] std::optional<long long> onWindow(long lHandle, std::optional<long long> answer) const;
    /** The same with 0 also where there is no such pane; -1 is the current one. */
    [[nodiscard]] std::optional<long long> onPane(long lHandle, long nPane, std::optional<long long> answer) const;
    /** Null where the window or the pane is not there, or not known. */
    [[nodiscard]] PaneModel *pane(long lHandle, long nPane = -1);
    /** What was there is not known any more; with a camera that was asked for, for good. */
    void forgetPane(long lHandle, long nPane = -1, bool bLive = false);
    [[nodiscard]] static bool isHandle(long lHandle)
    {
        return lHandle >= 0 && lHandle < kWindows;
    }

    /** A window has come; finds its panes. */
    void welcome(long lHandle, long nHost);
    /** The handle that the next window gets; -1 for none, and nothing certain where a window is about to die. */
    [[nodiscard]] std::optional<long long> nextHandle() const;
    [[nodiscard]] QWidget *paneWidget(long lHandle, std::size_t nPane) const;

    /** A step that the next callback of a kind does. */
    void arm(Inside inside, std::uint64_t seed);
    /** Does what was armed. */
    void called(Inside inside);

    void startLog();
    void stopLog();

    std::array<long, kLogins> m_logins{};
    /** A video window is being made: no other one can be then. */
    bool m_bMaking = false;

private:
    friend class Call;

    /** Its host's window is being destroyed: alive or dead, as the moment decides. */
    [[nodiscard]] bool isGoing(const WindowModel &model) const;
    void lookAround();
    void lookAtLog();
    void onHostMessage(Host &host, UINT message);
    static LRESULT CALLBACK hostProcedure(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam);

    std::array<Host, kHosts> m_hosts{};
    std::array<WindowModel, kWindows> m_windows{};
    std::array<std::vector<QPointer<QWidget>>, kWindows> m_panes;
    std::vector<QPointer<QWidget>> m_known;
    std::array<std::deque<std::uint64_t>, static_cast<std::size_t>(Inside::Count)> m_armed;
    std::unique_ptr<support::LogCapture> m_pLog;
    std::size_t m_nApplied = 0;
    int m_nDepth = 0;
    std::string m_doing; /**< the step, and what is done inside it */
};

/** One call into the library. Make it before the call, and ask it afterwards. Threads: the world's. */
class Call
{
public:
    explicit Call(World &world) : m_world(world), m_nApplied(world.m_nApplied) {}

    /** False when other steps were done meanwhile: from inside callbacks and messages. */
    [[nodiscard]] bool wasAlone() const
    {
        return m_nApplied == m_world.m_nApplied;
    }
    /**
     * Fails on an answer that is not the expected one. Where the call was not alone, forgets what was known instead,
     * and answers false.
     */
    bool expect(long long nAnswer, std::optional<long long> expected, const char *what = "answer") const;

private:
    World &m_world;
    const std::size_t m_nApplied;
};

/** The world whose callbacks are called; there is one. */
[[nodiscard]] World &world();

} // namespace soak

#endif
