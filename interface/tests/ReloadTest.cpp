// Hosts that load the library by name, again and again, and such that run Qt or threads of their own. Each test runs in
// a process of its own, since the library never leaves one that it has begun in.

#include "tests/support/ExportNames.h"
#include "tests/support/HostWindow.h"
#include "tests/support/ProcessThreads.h"

#include <QApplication>
#include <QPushButton>

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>

namespace
{

constexpr int kRounds = 10;
constexpr unsigned kLongestWait = 30000;

void check(bool bGood, const char *pWhat)
{
    if (!bGood) {
        std::printf("%s\n", pWhat);
        std::fflush(stdout);
        std::_Exit(1);
    }
}

/** One stay of the library in the process, as far as the host can see. */
class Library
{
public:
    Library() : m_hModule(LoadLibraryW(L"Pellora.dll"))
    {
        check(m_hModule != nullptr, "the library cannot be loaded");
    }
    ~Library()
    {
        FreeLibrary(m_hModule);
    }
    Library(const Library &) = delete;
    Library &operator=(const Library &) = delete;

    template <typename Result, typename... Arguments>
    Result call(const char *pName, Arguments... arguments) const
    {
        const auto function =
            reinterpret_cast<Result (*)(Arguments...)>(reinterpret_cast<void *>(GetProcAddress(m_hModule, pName)));
        check(function != nullptr, pName);
        return function(arguments...);
    }

    void resolveAll() const
    {
        for (const std::string &name : support::definitionFileNames("interface/Pellora.def")) {
            check(GetProcAddress(m_hModule, name.c_str()) != nullptr, name.c_str());
        }
    }

    [[nodiscard]] HMODULE module() const
    {
        return m_hModule;
    }

private:
    HMODULE m_hModule;
};

void play(const Library &library, HWND hHost, long lHandle)
{
    char path[] = "a.mkv";
    check(library.call<long>("PELLORA_CreateWindow", hHost, static_cast<unsigned char>(2)) == lHandle, "no window");
    check(library.call<int>("PELLORA_SplitScreen", lHandle, static_cast<unsigned short>(4)) == 1, "no split");
    check(library.call<int>("PELLORA_PreviewFile", lHandle, &path[0], static_cast<unsigned char>(1),
                            static_cast<unsigned char>(1)) == 1,
          "no file");
    check(support::childrenOf(hHost).size() == 1, "the window is not in the host");
}

void destroy(const Library &library, HWND hHost, long lHandle)
{
    check(library.call<int>("PELLORA_DestroyWindow", lHandle) == 1, "not destroyed");
    check(support::childrenOf(hHost).empty(), "the window is in the host still");
    support::pumpPosted();
}

/** Loads, resolves, begins, plays, destroys, ends and frees. */
void useOnce(HWND hHost)
{
    const Library library;
    library.resolveAll();
    check(library.call<int>("PELLORA_Init") == 1, "not begun");
    play(library, hHost, 0);
    destroy(library, hHost, 0);
    check(library.call<int>("PELLORA_Fini") == 1, "not ended");
}

template <typename Round>
void repeat(Round round)
{
    round();
    const HMODULE hModule = GetModuleHandleW(L"Pellora.dll");
    const std::size_t nThreads = support::processThreads();
    for (int i = 1; i < kRounds; ++i) {
        check(GetModuleHandleW(L"Pellora.dll") == hModule && hModule != nullptr, "the library has left");
        round();
    }
    check(support::waitForThreads(nThreads, kLongestWait), "threads are left over");
}

[[noreturn]] void succeed()
{
    std::exit(0);
}

void useInAPlainHost()
{
    support::HostWindow host;
    repeat([&host] { useOnce(host.handle()); });
    host.destroy();
    succeed();
}

void useInAHostOfEachRound()
{
    repeat([] {
        support::HostWindow host;
        useOnce(host.handle());
    });
    succeed();
}

void freeItWithAWindowLeft()
{
    support::HostWindow host;
    repeat([&host] {
        {
            const Library library;
            check(library.call<int>("PELLORA_Init") == 1, "not begun");
            play(library, host.handle(), 0);
        }
        // The host's messages go through the library that it has let go.
        SendMessageW(host.handle(), WM_APP + 1, 0, 0);
        RedrawWindow(host.handle(), nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN);
        support::pumpPosted();
        const Library library;
        destroy(library, host.handle(), 0);
        check(library.call<int>("PELLORA_Fini") == 1, "not ended");
    });
    check(host.received(WM_APP + 1) == kRounds, "the host's messages have not come");
    host.destroy();
    succeed();
}

/** An application object of the host's, with the plug-ins where such a host has them. */
class HostsApplication
{
public:
    HostsApplication()
    {
        QCoreApplication::addLibraryPath("Z:" + qEnvironmentVariable("PELLORA_BIN"));
        m_pApplication = std::make_unique<QApplication>(m_nArguments, m_arguments);
        m_pApplication->setQuitOnLastWindowClosed(false);
    }

    void useItIn(QPushButton &button) const
    {
        button.setGeometry(50, 50, 400, 300);
        button.show();
        useOnce(reinterpret_cast<HWND>(button.winId()));
        check(QCoreApplication::instance() == m_pApplication.get(), "another application object");
    }

private:
    int m_nArguments = 1;
    char m_name[5] = "host";
    char *m_arguments[2] = {m_name, nullptr};
    std::unique_ptr<QApplication> m_pApplication;
};

void useInAQtHost()
{
    const HostsApplication application;
    repeat([&application] {
        QPushButton button("host");
        application.useItIn(button);
    });
    succeed();
}

void useInAQtHostOfEachRound()
{
    repeat([] {
        const HostsApplication application;
        QPushButton button("host");
        application.useItIn(button);
    });
    succeed();
}

/** The thread on which the library begins owns the windows, whichever it is. */
void useOnASecondThread()
{
    const Library library;
    std::thread owner([&library] {
        repeat([] {
            support::HostWindow host;
            useOnce(host.handle());
        });
        check(library.call<int>("PELLORA_Init") == 1, "not begun");
    });
    owner.join();
    check(library.call<int>("PELLORA_Init") == 0, "begun on another thread");
    check(library.call<int>("PELLORA_Fini") == 0, "ended on another thread");
    succeed();
}

TEST(ReloadTest, IsUsedTenTimesInAPlainHost)
{
    EXPECT_EXIT(useInAPlainHost(), testing::ExitedWithCode(0), "");
}

TEST(ReloadTest, IsUsedInTenHostWindows)
{
    EXPECT_EXIT(useInAHostOfEachRound(), testing::ExitedWithCode(0), "");
}

TEST(ReloadTest, IsFreedTenTimesWithAWindowLeft)
{
    EXPECT_EXIT(freeItWithAWindowLeft(), testing::ExitedWithCode(0), "");
}

TEST(ReloadTest, IsUsedTenTimesInAHostThatRunsQt)
{
    EXPECT_EXIT(useInAQtHost(), testing::ExitedWithCode(0), "");
}

TEST(ReloadTest, IsUsedWithTenApplicationObjectsOfTheHosts)
{
    EXPECT_EXIT(useInAQtHostOfEachRound(), testing::ExitedWithCode(0), "");
}

TEST(ReloadTest, BelongsToTheThreadThatItWasBegunOn)
{
    EXPECT_EXIT(useOnASecondThread(), testing::ExitedWithCode(0), "");
}

} // namespace
