/**
 * Pellora for C++17: owning objects, functions of any kind as callbacks, failures as results. Everything is in this
 * header.
 *
 *     auto session = pellora::Session::start();             // links both import libraries; or loads them by name:
 *                                                           // start(*pellora::loadedFunctions(L"…\\Pellora.dll"))
 *     auto window = session->createWindow(host);
 *     window->onFileEnd([](int pane) { … });
 *     window->pane(0).playFile("C:\\clips\\gate.mp4");
 *
 * THREADS    As of Pellora.h: all of it on the user-interface thread, where the callbacks come too, also those about
 *            cameras. Log-ins may be made and ended on any thread.
 * RESULTS    An empty optional, false or 0 for a failure; the log has its reason. Nothing here throws but
 *            std::bad_alloc.
 * OWNERSHIP  Session, Window and Login end what they stand for in their destructors. They can be moved, not copied. A
 *            Pane or a Rule is a name for something in a window, to be copied at will; without the window its calls
 *            fail.
 * CALLBACKS  May do anything: replace themselves, destroy or move their window, end the session. An exception that
 *            they throw ends there, with a line to the debugger. An empty function stops the calls.
 *
 * One session in a process, and one module of it that uses this header for a given window: records of the library carry
 * numbers, which are looked up in the module's own list.
 */
#ifndef PELLORA_HPP
#define PELLORA_HPP

#include "Pellora_pane.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace pellora
{

/** For programs that link the import libraries of Pellora.dll and Selvikdcm.dll. */
[[nodiscard]] inline Functions linkedFunctions()
{
    Functions functions;
#define PELLORA_LINKED_VIDEO(result, name, parameters) functions.video.name = &::name;
#define PELLORA_LINKED_DEVICES(result, name, parameters) functions.devices.name = &::name;
    PELLORA_FUNCTIONS(PELLORA_LINKED_VIDEO)
    SELVIK_FUNCTIONS(PELLORA_LINKED_DEVICES)
    return functions;
}

/**
 * Loads Pellora.dll by name, and the device library beside it; null: from beside the program. pReason, where it is
 * given, is told in words why that fails.
 */
[[nodiscard]] inline std::optional<Functions> loadedFunctions(const wchar_t *pPath = nullptr,
                                                              std::string *pReason = nullptr)
{
    Functions functions;
    const char *pMissing = nullptr;
    HMODULE hLibrary = pellora_load(&functions.video, pPath, &pMissing);
    if (hLibrary != nullptr && pellora_load_devices(&functions.devices, hLibrary, &pMissing) != nullptr) {
        return functions;
    }
    const DWORD dwError = GetLastError();
    if (pReason != nullptr) {
        *pReason = pMissing != nullptr ? std::string("the library has no function ") + pMissing
                                       : "the library cannot be loaded: Windows error " + std::to_string(dwError);
    }
    return std::nullopt;
}

/** Text of Windows as UTF-8, for names of files. */
[[nodiscard]] inline std::string utf8(const std::wstring &text)
{
    const int nLength = static_cast<int>(text.size());
    const int nSize = WideCharToMultiByte(CP_UTF8, 0, text.data(), nLength, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(nSize), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), nLength, result.data(), nSize, nullptr, nullptr);
    return result;
}

// ---- cameras ----

/** A log-in at a camera. Its end waits for the camera's good-bye, about a second at most; previews end with it. */
class Login
{
public:
    Login(std::shared_ptr<const Functions> pFunctions, long lLogin)
        : m_pFunctions(std::move(pFunctions)), m_lLogin(lLogin)
    {
    }

    Login(Login &&other) noexcept
        : m_pFunctions(std::move(other.m_pFunctions)), m_lLogin(std::exchange(other.m_lLogin, -1))
    {
    }

    Login &operator=(Login &&other) noexcept
    {
        std::swap(m_pFunctions, other.m_pFunctions);
        std::swap(m_lLogin, other.m_lLogin);
        return *this;
    }

    ~Login()
    {
        if (m_lLogin >= 0) {
            m_pFunctions->devices.SELVIK_DCM_Logout(m_lLogin);
        }
    }

    /** The number that states and statuses carry. */
    [[nodiscard]] long id() const
    {
        return m_lLogin;
    }

private:
    std::shared_ptr<const Functions> m_pFunctions;
    long m_lLogin;
};

// ---- windows ----

/** A hole in a window, for what the host shows there. */
struct Hole {
    tagPELLORA_RECT area;      /**< client pixels of the video window */
    unsigned short radius = 0; /**< of its corners */
};

/** A video window in the host's, with nine panes. Its destructor stops what plays and destroys it. */
class Window
{
public:
    explicit Window(std::shared_ptr<detail::WindowState> pState) : m_pState(std::move(pState)) {}
    Window(Window &&) noexcept = default;
    Window &operator=(Window &&other) noexcept
    {
        std::swap(m_pState, other.m_pState);
        return *this;
    }

    ~Window()
    {
        if (m_pState == nullptr || handle() == PELLORA_NO_WINDOW) {
            return;
        }
        const long lHandle = std::exchange(m_pState->lHandle, PELLORA_NO_WINDOW);
        detail::g_windows[static_cast<std::size_t>(lHandle)] = nullptr;
        video().PELLORA_DestroyWindow(lHandle);
    }

    /** For the functions of Pellora.h. */
    [[nodiscard]] long handle() const
    {
        return m_pState->lHandle;
    }
    /** 0 to 8; the calls of another one fail. */
    [[nodiscard]] Pane pane(int nPane) const
    {
        return {m_pState, nPane >= 0 && nPane < PELLORA_PANES_PER_WINDOW ? nPane : PELLORA_PANES_PER_WINDOW};
    }
    /** Whichever is current when the call is made. */
    [[nodiscard]] Pane current() const
    {
        return {m_pState, PELLORA_CURRENT_PANE};
    }

    bool show(bool bVisible = true) const
    {
        return video().PELLORA_SetVisible(handle(), bVisible) != 0;
    }
    bool place(int x, int y, int nWidth, int nHeight) const
    {
        return video().PELLORA_SetGeometry(handle(), x, y, nWidth, nHeight) != 0;
    }
    /** Shows 1, 4 or 9 panes. */
    bool split(int nPanes) const
    {
        return nPanes > 0 && nPanes <= 9 &&
               video().PELLORA_SplitScreen(handle(), static_cast<unsigned short>(nPanes)) != 0;
    }
    bool fullScreen(bool bOn) const
    {
        return (bOn ? video().PELLORA_FullScreen(handle()) : video().PELLORA_NormalScreen(handle())) != 0;
    }
    bool showAnalysis(bool bOn) const
    {
        return video().PELLORA_SetIntelData(handle(), bOn) != 0;
    }

    /** At most four; none closes them all. To be called again when the window has another size. */
    bool cut(const std::vector<Hole> &holes) const
    {
        tagPELLORA_CLIP_AREA area{};
        for (const Hole &hole : holes) {
            if (area.wNum == 4) {
                return false;
            }
            area.struRect[area.wNum] = hole.area;
            area.wRadius[area.wNum++] = hole.radius;
        }
        return video().PELLORA_SetClipArea(handle(), &area) != 0;
    }

    /** Request i in pane i, at most nine; how many were handed over. */
    [[nodiscard]] int previewAll(std::vector<PreviewRequest> requests) const
    {
        tagPELLORA_BATCH_PREVIEW_PARAM batch{};
        for (PreviewRequest &request : requests) {
            if (batch.wNum == PELLORA_PANES_PER_WINDOW) {
                break;
            }
            tagPELLORA_PREVIEW_PARAM &record = batch.struPreviewParam[batch.wNum++] = Pane::recordOf(request);
            record.url = request.address.empty() ? nullptr : request.address.data();
        }
        tagPELLORA_BATCH_PREVIEW_PARAM handed{};
        return video().PELLORA_BatchPreviewStream(handle(), batch, &handed) != 0 ? handed.wNum : 0;
    }
    bool stopAllPreviews() const
    {
        return video().PELLORA_StopAllPreviewStream(handle()) != 0;
    }

    /** Outcomes of starts, and clicks. */
    bool onStatus(std::function<void(const PaneStatus &)> function)
    {
        m_pState->pOnStatus = detail::keep(std::move(function));
        const auto pfnStatus = handle() < 0 ? nullptr : detail::kStatusCallbacks[static_cast<std::size_t>(handle())];
        return video().PELLORA_SetPreviewStatusCallback(handle(), m_pState->pOnStatus ? pfnStatus : nullptr) != 0;
    }
    /** With the pane that the file was started in by Pane::playFile; -1 for a file of current(). Loops tell each end.
     */
    void onFileEnd(std::function<void(int pane)> function)
    {
        m_pState->pOnFileEnd = detail::keep(std::move(function));
    }
    /** Of all panes. */
    bool onRule(std::function<void(const RuleEvent &)> function)
    {
        m_pState->pOnRule = detail::keep(std::move(function));
        return video().PELLORA_SetRuleCoordCallback(handle(), m_pState->pOnRule ? &detail::tellRule : nullptr,
                                                    PELLORA_ALL_PANES) != 0;
    }

private:
    [[nodiscard]] const PelloraFunctions &video() const
    {
        return m_pState->pFunctions->video;
    }

    std::shared_ptr<detail::WindowState> m_pState;
};

// ---- the library ----

/** The library at work. Windows and log-ins come from it; end them first. */
class Session
{
public:
    /** On the thread that owns the host's windows. Nothing on a thread that cannot be it. */
    [[nodiscard]] static std::optional<Session> start(const Functions &functions = linkedFunctions())
    {
        Session session(functions);
        return session.m_pFunctions->video.PELLORA_Init() != 0 ? std::optional(std::move(session)) : std::nullopt;
    }
    Session(Session &&) noexcept = default;
    Session &operator=(Session &&other) noexcept
    {
        std::swap(m_pFunctions, other.m_pFunctions);
        std::swap(m_pCameras, other.m_pCameras);
        return *this;
    }

    ~Session()
    {
        if (m_pCameras != nullptr) {
            m_pCameras->close();
        }
        if (m_pFunctions != nullptr) {
            m_pFunctions->video.PELLORA_Fini();
        }
    }

    /**
     * A video window in a window of this thread's. Nothing where there is no such window or there are nine already; in
     * the last case one is shown all the same that belongs to nobody, so count them.
     */
    [[nodiscard]] std::optional<Window> createWindow(HWND hHost, PELLORA_EMBED_MODE mode = PELLORA_EMBED_PLAIN) const
    {
        const auto pState = std::make_shared<detail::WindowState>();
        pState->pFunctions = m_pFunctions;
        pState->lHandle = m_pFunctions->video.PELLORA_CreateWindow(hHost, static_cast<unsigned char>(mode));
        if (pState->lHandle == PELLORA_NO_WINDOW) {
            return std::nullopt;
        }
        std::shared_ptr<detail::WindowState> &pSlot = detail::g_windows[static_cast<std::size_t>(pState->lHandle)];
        if (pSlot != nullptr) {
            pSlot->lHandle = PELLORA_NO_WINDOW; // its host died, and the library has given the handle away
        }
        pSlot = pState;
        return Window(pState);
    }

    /** Opens no connection. An address may hold {channel} and {stream}. Nothing for one that is not understood. */
    [[nodiscard]] std::optional<Login> logIn(const std::string &address, const std::string &user = {},
                                             const std::string &password = {}) const
    {
        const long lLogin = m_pFunctions->devices.SELVIK_DCM_Login(address.c_str(), user.c_str(), password.c_str());
        return lLogin >= 0 ? std::optional<Login>(Login(m_pFunctions, lLogin)) : std::nullopt;
    }

    /** Tells why a camera does not play, and when it is lost and found again; for all cameras of the process. */
    bool onCameraState(std::function<void(const CameraState &)> function)
    {
        if (m_pCameras == nullptr) {
            m_pCameras = std::make_shared<detail::CameraInbox>(m_pFunctions);
        }
        return m_pCameras->listen(std::move(function));
    }

    /** Seconds of a file that is not played; 0 where they are not known. */
    [[nodiscard]] unsigned long fileLength(const std::string &file) const
    {
        return m_pFunctions->video.PELLORA_GetFileTimeNoPriview(file.c_str());
    }

private:
    explicit Session(const Functions &functions) : m_pFunctions(std::make_shared<const Functions>(functions)) {}

    std::shared_ptr<const Functions> m_pFunctions;
    std::shared_ptr<detail::CameraInbox> m_pCameras;
};

} // namespace pellora

#endif
