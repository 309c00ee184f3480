#include "hosts/node/src/Library.h"

#include "hosts/node/src/ClickWatch.h"
#include "hosts/node/src/Contained.h"
#include "hosts/node/src/Environment.h"

#include <algorithm>
#include <utility>

namespace pellora::node
{
namespace
{

// By handle, on the host window's thread, as the library's callbacks are.
std::array<Route, PELLORA_MAX_WINDOWS> g_routes;

void tell(long lHandle, const char *pKind, Value::List values)
{
    if (lHandle < 0 || lHandle >= PELLORA_MAX_WINDOWS) {
        return;
    }
    const Route &route = g_routes[static_cast<std::size_t>(lHandle)];
    if (const auto pQueue = route.pQueue.lock()) {
        pQueue->postEvent([nWindow = route.nWindow, pKind, values = std::move(values)](Environment &environment) {
            environment.tell(nWindow, pKind, values);
        });
    }
}

/** The record does not tell the window: each has a function of its own. */
template <long handle>
void onStatus(tagPELLORA_PREVIEW_STATUS status)
{
    contained([&status] {
        tell(handle, "status",
             {Value(status.lSubHandel), Value(status.byPlaying != 0), Value(status.userID), Value(status.lChannel),
              Value(ClickWatch::takeClick())});
    });
}

/** The window is told and the pane is not: again a function each. */
template <long pane>
void onFileEnd(long lHandle)
{
    contained([lHandle] { tell(lHandle, "end", {Value(pane)}); });
}

template <long... handles>
constexpr auto statusTable(std::integer_sequence<long, handles...>)
{
    return std::array<PELLORA_PREVIEW_STATUS_CB, sizeof...(handles)>{&onStatus<handles>...};
}

template <long... panes>
constexpr auto fileEndTable(std::integer_sequence<long, panes...>)
{
    return std::array<PELLORA_FILE_END_CB, sizeof...(panes)>{&onFileEnd<panes>...};
}

constexpr auto kStatus = statusTable(std::make_integer_sequence<long, PELLORA_MAX_WINDOWS>());
constexpr auto kFileEnd = fileEndTable(std::make_integer_sequence<long, PELLORA_PANES_PER_WINDOW>());

PelloraFunctions *g_pVideo = nullptr;

void onRule(long lRuleID, unsigned short wRuleType, void *pCoord, unsigned char byState, long lHandle, long lSubHandel,
            unsigned long dwSize)
{
    contained([&] {
        const auto *pBytes = static_cast<const unsigned char *>(pCoord);
        // The mouse is on this pane, so that it is the current one.
        tagPELLORA_POINT size{};
        g_pVideo->PELLORA_GetPictureSize(lHandle, &size);
        tell(lHandle, "rule",
             {Value(lSubHandel), Value(lRuleID), Value(wRuleType), Value(byState),
              Value(pBytes != nullptr ? Bytes(pBytes, pBytes + dwSize) : Bytes()), Value(size.x), Value(size.y)});
    });
}

std::string whyNotLoaded(const char *pWhat, const char *pMissing, DWORD dwError)
{
    const std::string what(pWhat);
    if (pMissing != nullptr) {
        return what + " is of another version: it lacks " + pMissing;
    }
    if (dwError == ERROR_MOD_NOT_FOUND) {
        return what + " or a library beside it is not there (Windows error 126)";
    }
    return what + " cannot be loaded (Windows error " + std::to_string(dwError) + ")";
}

} // namespace

Library &Library::load(const std::wstring &path)
{
    static std::mutex mutex;
    static Library *pLibrary = nullptr;
    const std::lock_guard<std::mutex> lock(mutex);
    if (pLibrary == nullptr) {
        // Never freed: callbacks may come until the process ends.
        pLibrary = new Library(path);
    }
    return *pLibrary;
}

Library::Library(const std::wstring &path)
{
    const char *pMissing = nullptr;
    const HMODULE hVideo = pellora_load(&m_video, path.c_str(), &pMissing);
    if (hVideo == nullptr) {
        throw CallError("load", whyNotLoaded("Pellora.dll", pMissing, GetLastError()));
    }
    if (pellora_load_devices(&m_devices, hVideo, &pMissing) == nullptr) {
        throw CallError("load", whyNotLoaded("Selvikdcm.dll", pMissing, GetLastError()));
    }
    g_pVideo = &m_video;
    m_pLog = std::make_unique<LogReason>(path.substr(0, path.find_last_of(L"\\/")));
    m_devices.SELVIK_DCM_SetStateCallback(&Library::onState, this);
}

CallError Library::failure(const std::string &function) const
{
    const std::string reason = m_pLog->of(function);
    return {function, reason.empty() ? "refused; the log tells no reason" : reason};
}

void Library::listen(const std::shared_ptr<ScriptQueue> &pQueue)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_listeners.erase(std::remove_if(m_listeners.begin(), m_listeners.end(),
                                     [](const auto &pListener) { return pListener.expired(); }),
                      m_listeners.end());
    m_listeners.push_back(pQueue);
}

void Library::begin()
{
    if (!m_bBegun) {
        m_bBegun = m_video.PELLORA_Init() != 0;
        ClickWatch::begin();
    }
}

bool Library::isFull() const
{
    return std::all_of(g_routes.begin(), g_routes.end(), [](const Route &route) { return route.nWindow != 0; });
}

void Library::follow(long lHandle, Route route)
{
    const auto i = static_cast<std::size_t>(lHandle);
    g_routes[i] = std::move(route);
    m_video.PELLORA_SetPreviewStatusCallback(lHandle, kStatus[i]);
    m_video.PELLORA_SetRuleCoordCallback(lHandle, &onRule, PELLORA_ALL_PANES);
}

void Library::followFileEnd(long lHandle, int nPane)
{
    // It answers 0 as long as nothing plays, and is kept all the same.
    m_video.PELLORA_SetFileEndCallback(lHandle, kFileEnd[static_cast<std::size_t>(nPane)]);
}

void Library::forget(long lHandle)
{
    g_routes[static_cast<std::size_t>(lHandle)] = Route();
}

void Library::onState(const SELVIK_DCM_STATE *pState, void *pSelf)
{
    contained([pState, pSelf] {
        auto &self = *static_cast<Library *>(pSelf);
        std::vector<std::shared_ptr<ScriptQueue>> listeners;
        {
            const std::lock_guard<std::mutex> lock(self.m_mutex);
            for (const auto &pListener : self.m_listeners) {
                listeners.push_back(pListener.lock());
            }
        }
        const char *pReason = pState->error != 0 ? self.m_devices.SELVIK_DCM_GetErrorText(pState->error) : "";
        const Value::List values{Value(pState->userID), Value(pState->channel), Value(pState->streamType),
                                 Value(pState->state),  Value(pState->error),   Value(pReason)};
        for (const auto &pListener : listeners) {
            if (pListener != nullptr) {
                pListener->postEvent([values](Environment &environment) { environment.tellAll("camera", values); });
            }
        }
    });
}

} // namespace pellora::node
