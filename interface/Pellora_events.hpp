/**
 * What Pellora.hpp tells a host's functions, and how: one plain function for each window, and for each pane, stands
 * between the library and them. Pellora.hpp includes it; a host has nothing to do here but to read the records.
 */
#ifndef PELLORA_EVENTS_HPP
#define PELLORA_EVENTS_HPP

#include "Pellora_load.h"

#include <array>
#include <cstring>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <variant>

namespace pellora
{

/** The functions of both libraries, however they were found. */
struct Functions {
    PelloraFunctions video{};
    SelvikFunctions devices{};
};

// ---- what callbacks are told ----

/** The outcome of a start, or how a pane is when it is clicked; the two are not told apart. */
struct PaneStatus {
    int pane;
    long login; /**< -1 without a preview */
    unsigned long channel;
    bool playing;
};

/** How a camera's preview is, and why. */
struct CameraState {
    long login;
    unsigned int channel;
    unsigned int stream; /**< as asked for: PELLORA_STREAM_TYPE */
    unsigned int state;  /**< SELVIK_STATE_STARTING, _PLAYING, _LOST, _FAILED, _STOPPED */
    unsigned int error;  /**< SELVIK_ERROR_: why it is lost or has failed */
    std::string reason;  /**< the same in words; empty without an error */
};

/** The coordinates of a rule, by the record of its type. */
using RuleCoordinates = std::variant<tagPELLORA_RULE_POINT, tagPELLORA_RULE_LINE, tagPELLORA_RULE_RECT,
                                     tagPELLORA_RULE_POLYGON, tagPELLORA_RULE_TEXT>;

/** What the user does to a rule with the mouse. */
struct RuleEvent {
    int pane;
    long rule;
    PELLORA_RULE_TYPE type;
    PELLORA_EDIT_STATE state;
    RuleCoordinates coordinates;
};

/** The record of each type of rule. */
template <PELLORA_RULE_TYPE type>
struct RuleRecordOf;
template <>
struct RuleRecordOf<PELLORA_RULE_POINT> {
    using Type = tagPELLORA_RULE_POINT;
};
template <>
struct RuleRecordOf<PELLORA_RULE_LINE> {
    using Type = tagPELLORA_RULE_LINE;
};
template <>
struct RuleRecordOf<PELLORA_RULE_RECT> {
    using Type = tagPELLORA_RULE_RECT;
};
template <>
struct RuleRecordOf<PELLORA_RULE_POLYGON> {
    using Type = tagPELLORA_RULE_POLYGON;
};
template <>
struct RuleRecordOf<PELLORA_RULE_TEXT> {
    using Type = tagPELLORA_RULE_TEXT;
};
template <>
struct RuleRecordOf<PELLORA_RULE_LINE_WITH_ARROWS> : RuleRecordOf<PELLORA_RULE_LINE> {
};
template <>
struct RuleRecordOf<PELLORA_RULE_RECT_WITH_TEXT> : RuleRecordOf<PELLORA_RULE_RECT> {
};
template <>
struct RuleRecordOf<PELLORA_RULE_POLYGON_WITH_TEXT> : RuleRecordOf<PELLORA_RULE_POLYGON> {
};
template <>
struct RuleRecordOf<PELLORA_RULE_LINE_WITH_TEXT> : RuleRecordOf<PELLORA_RULE_LINE> {
};
template <>
struct RuleRecordOf<PELLORA_RULE_CROSS_WITH_TEXT> : RuleRecordOf<PELLORA_RULE_POINT> {
};

namespace detail
{

template <class... Arguments>
using Callback = std::shared_ptr<const std::function<void(Arguments...)>>;

template <class... Arguments>
Callback<Arguments...> keep(std::function<void(Arguments...)> function)
{
    return function ? std::make_shared<const std::function<void(Arguments...)>>(std::move(function)) : nullptr;
}

/** Takes a share in the function, which may replace itself; nothing of the host's passes into the library's C. */
template <class... Arguments, class... Values>
void call(Callback<Arguments...> pFunction, const Values &...values) noexcept
{
    try {
        if (pFunction != nullptr) {
            (*pFunction)(values...);
        }
    } catch (...) {
        OutputDebugStringA("Pellora.hpp: a callback has thrown an exception, which ends here.\n");
    }
}

/** What a window and the names of its panes share. */
struct WindowState {
    std::shared_ptr<const Functions> pFunctions;
    long lHandle = PELLORA_NO_WINDOW;
    Callback<const PaneStatus &> pOnStatus;
    Callback<int> pOnFileEnd;
    Callback<const RuleEvent &> pOnRule;
};

/** By handle. On the user-interface thread. */
inline std::array<std::shared_ptr<WindowState>, PELLORA_MAX_WINDOWS> g_windows;

inline std::shared_ptr<WindowState> windowOf(long lHandle)
{
    return lHandle >= 0 && lHandle < PELLORA_MAX_WINDOWS ? g_windows[static_cast<std::size_t>(lHandle)] : nullptr;
}

/** The record does not tell the window: each has a function of its own. */
template <long handle>
void tellStatus(tagPELLORA_PREVIEW_STATUS status)
{
    if (const std::shared_ptr<WindowState> pWindow = windowOf(handle)) {
        call(pWindow->pOnStatus,
             PaneStatus{static_cast<int>(status.lSubHandel), status.userID, status.lChannel, status.byPlaying != 0});
    }
}

/** The window is told and the pane is not: again a function each. -1 is the pane that was the current one. */
template <long pane>
void tellFileEnd(long lHandle)
{
    if (const std::shared_ptr<WindowState> pWindow = windowOf(lHandle)) {
        call(pWindow->pOnFileEnd, static_cast<int>(pane));
    }
}

template <long... handles>
constexpr std::array<PELLORA_PREVIEW_STATUS_CB, sizeof...(handles)> statusTable(std::integer_sequence<long, handles...>)
{
    return {&tellStatus<handles>...};
}

template <long... panes>
constexpr std::array<PELLORA_FILE_END_CB, sizeof...(panes)> fileEndTable(std::integer_sequence<long, panes...>)
{
    return {&tellFileEnd<panes - 1>...};
}

inline constexpr auto kStatusCallbacks = statusTable(std::make_integer_sequence<long, PELLORA_MAX_WINDOWS>());
inline constexpr auto kFileEndCallbacks =
    fileEndTable(std::make_integer_sequence<long, PELLORA_PANES_PER_WINDOW + 1>());

template <class Record>
Record copyOf(const void *pRecord, std::size_t nSize)
{
    Record record{};
    std::memcpy(&record, pRecord, nSize < sizeof(record) ? nSize : sizeof(record));
    return record;
}

inline RuleCoordinates coordinatesOf(unsigned short wRuleType, const void *pCoord, std::size_t nSize)
{
    switch (wRuleType) {
    case PELLORA_RULE_POINT:
    case PELLORA_RULE_CROSS_WITH_TEXT:
        return copyOf<tagPELLORA_RULE_POINT>(pCoord, nSize);
    case PELLORA_RULE_RECT:
    case PELLORA_RULE_RECT_WITH_TEXT:
        return copyOf<tagPELLORA_RULE_RECT>(pCoord, nSize);
    case PELLORA_RULE_POLYGON:
    case PELLORA_RULE_POLYGON_WITH_TEXT:
        return copyOf<tagPELLORA_RULE_POLYGON>(pCoord, nSize);
    case PELLORA_RULE_TEXT:
        return copyOf<tagPELLORA_RULE_TEXT>(pCoord, nSize);
    default:
        return copyOf<tagPELLORA_RULE_LINE>(pCoord, nSize);
    }
}

inline void tellRule(long lRuleID, unsigned short wRuleType, void *pCoord, unsigned char byState, long lHandle,
                     long lSubHandel, unsigned long dwSize)
{
    const std::shared_ptr<WindowState> pWindow = windowOf(lHandle);
    if (pWindow != nullptr && pCoord != nullptr) {
        call(pWindow->pOnRule,
             RuleEvent{static_cast<int>(lSubHandel), lRuleID, static_cast<PELLORA_RULE_TYPE>(wRuleType),
                       static_cast<PELLORA_EDIT_STATE>(byState), coordinatesOf(wRuleType, pCoord, dwSize)});
    }
}

/** Three bytes for a polygon, then the caption, which ends with the zero that each text has; empty for null. */
inline std::string ruleExtension(PELLORA_RULE_TYPE type, unsigned short wPoints, bool bFinishEarly,
                                 const std::string &caption)
{
    std::string bytes;
    if (type == PELLORA_RULE_POLYGON || type == PELLORA_RULE_POLYGON_WITH_TEXT) {
        bytes.push_back(static_cast<char>(wPoints & 0xFF));
        bytes.push_back(static_cast<char>(wPoints >> 8));
        bytes.push_back(static_cast<char>(bFinishEarly));
    }
    return bytes + caption;
}

/** Brings what the device library tells on threads of its own to the thread that made this, by a message. */
class CameraInbox : public std::enable_shared_from_this<CameraInbox>
{
public:
    explicit CameraInbox(std::shared_ptr<const Functions> pFunctions) : m_pFunctions(std::move(pFunctions))
    {
        m_hWnd = CreateWindowExW(0, L"Static", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
        if (m_hWnd != nullptr) {
            SetWindowLongPtrW(m_hWnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
            m_previous = SetWindowLongPtrW(m_hWnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&CameraInbox::procedure));
        }
    }

    CameraInbox(const CameraInbox &) = delete;
    CameraInbox &operator=(const CameraInbox &) = delete;

    ~CameraInbox()
    {
        if (m_hWnd != nullptr) {
            DestroyWindow(m_hWnd);
        }
    }

    bool listen(std::function<void(const CameraState &)> function)
    {
        m_pFunction = keep(std::move(function));
        return m_hWnd != nullptr && setCallback(m_pFunction != nullptr);
    }

    /** When it returns, nobody is inside the callback and nobody comes there again. */
    void close()
    {
        m_pFunction = nullptr;
        setCallback(false);
    }

private:
    static constexpr UINT kMessage = WM_APP;
    /** More than a host that is stuck can do anything with; the oldest go. */
    static constexpr std::size_t kMostStates = 4096;

    bool setCallback(bool bOn)
    {
        const auto pfnSet = m_pFunctions->devices.SELVIK_DCM_SetStateCallback;
        return pfnSet != nullptr && pfnSet(bOn ? &CameraInbox::onState : nullptr, bOn ? this : nullptr) != 0;
    }

    static void onState(const SELVIK_DCM_STATE *pState, void *pUser)
    {
        auto *const pInbox = static_cast<CameraInbox *>(pUser);
        try {
            const std::lock_guard<std::mutex> lock(pInbox->m_mutex);
            pInbox->m_states.push_back(*pState);
            if (pInbox->m_states.size() > kMostStates) {
                pInbox->m_states.pop_front();
            }
            if (!pInbox->m_bPosted) {
                pInbox->m_bPosted = PostMessageW(pInbox->m_hWnd, kMessage, 0, 0) != 0;
            }
        } catch (...) {
            OutputDebugStringA("Pellora.hpp: a camera's state is lost, for want of memory.\n");
        }
    }

    static LRESULT CALLBACK procedure(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam)
    {
        auto *const pInbox = reinterpret_cast<CameraInbox *>(GetWindowLongPtrW(hWnd, GWLP_USERDATA));
        if (message == kMessage) {
            // A share of its own: the function may end the session.
            pInbox->shared_from_this()->deliver();
            return 0;
        }
        return CallWindowProcW(reinterpret_cast<WNDPROC>(pInbox->m_previous), hWnd, message, wParam, lParam);
    }

    void deliver() noexcept
    {
        std::deque<SELVIK_DCM_STATE> states;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            states.swap(m_states);
            m_bPosted = false;
        }
        for (const SELVIK_DCM_STATE &state : states) {
            const char *pReason =
                state.error != SELVIK_ERROR_NONE ? m_pFunctions->devices.SELVIK_DCM_GetErrorText(state.error) : "";
            call(m_pFunction,
                 CameraState{state.userID, state.channel, state.streamType, state.state, state.error, pReason});
        }
    }

    std::shared_ptr<const Functions> m_pFunctions;
    Callback<const CameraState &> m_pFunction;
    HWND m_hWnd = nullptr;
    LONG_PTR m_previous = 0;

    std::mutex m_mutex; // what follows
    std::deque<SELVIK_DCM_STATE> m_states;
    bool m_bPosted = false;
};

} // namespace detail

} // namespace pellora

#endif
