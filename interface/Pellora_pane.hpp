/** The panes of a window and the rules over their pictures, for Pellora.hpp, which includes it. */
#ifndef PELLORA_PANE_HPP
#define PELLORA_PANE_HPP

#include "Pellora_events.hpp"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace pellora
{

/** A live picture that is asked for. */
struct PreviewRequest {
    long login = -1;
    unsigned long channel = 1;
    PELLORA_STREAM_TYPE stream = PELLORA_STREAM_MAIN;
    bool overlay = false;
    std::string address = {}; /**< of Window::previewAll only: stands in for the log-in's where it is not empty */
};

// ---- rules ----

/** How a rule looks and may be drawn. */
struct RuleLook {
    COLORREF color = RGB(255, 0, 0);
    std::string caption = {};                  /**< UTF-8, of the types with a text */
    unsigned char limits = PELLORA_LIMIT_NONE; /**< PELLORA_LIMIT_MASK, added up */
    unsigned short points = 4;                 /**< of polygons: so many make it complete */
    bool finishEarly = true;                   /**< of polygons: or fewer, by the right button */
};

/** A rule of a pane, by its number; it lives until it is removed or what plays in the pane ends. */
template <PELLORA_RULE_TYPE type>
class Rule
{
public:
    using Record = typename RuleRecordOf<type>::Type;

    Rule(std::shared_ptr<const detail::WindowState> pWindow, long lPane, long lRule)
        : m_pWindow(std::move(pWindow)), m_lPane(lPane), m_lRule(lRule)
    {
    }

    [[nodiscard]] long number() const
    {
        return m_lRule;
    }

    bool set(const Record &coordinates) const
    {
        return video().PELLORA_SetRuleCoord(m_pWindow->lHandle, m_lRule, &coordinates, m_lPane) != 0;
    }

    [[nodiscard]] std::optional<Record> get() const
    {
        Record coordinates{};
        if (video().PELLORA_GetRuleCoord(m_pWindow->lHandle, m_lRule, &coordinates, m_lPane) == 0) {
            return std::nullopt;
        }
        return coordinates;
    }

    bool setArrows(PELLORA_ARROW_TYPE arrows) const
    {
        static_assert(type == PELLORA_RULE_LINE_WITH_ARROWS, "rules of other types have no arrows");
        return video().PELLORA_SetRuleArrowType(m_pWindow->lHandle, m_lRule, static_cast<unsigned short>(arrows),
                                                m_lPane) != 0;
    }

    bool remove() const
    {
        return video().PELLORA_DestroyRule(m_pWindow->lHandle, m_lRule, m_lPane) != 0;
    }

private:
    [[nodiscard]] const PelloraFunctions &video() const
    {
        return m_pWindow->pFunctions->video;
    }

    std::shared_ptr<const detail::WindowState> m_pWindow;
    long m_lPane;
    long m_lRule;
};

/** The record of a text; as much of it as fits. */
[[nodiscard]] inline tagPELLORA_RULE_TEXT textRecord(const std::string &text, tagPELLORA_POINT at,
                                                     PELLORA_ANCHOR anchor = PELLORA_ANCHOR_TOP_LEFT)
{
    tagPELLORA_RULE_TEXT record{};
    text.copy(record.szText, sizeof(record.szText) - 1);
    record.wAnchor = static_cast<unsigned short>(anchor);
    record.struPoint = at;
    return record;
}

// ---- panes ----

/**
 * A pane of a window, or the one that is current at each call.
 *
 * Where the library knows the current pane only (files, sound, captures, single previews), a pane that was named by its
 * number is made the current one first, as by a click. Poll positions through Window::current().
 */
class Pane
{
public:
    Pane(std::shared_ptr<detail::WindowState> pWindow, long lPane) : m_pWindow(std::move(pWindow)), m_lPane(lPane) {}

    /** Makes it the current pane. */
    bool select() const
    {
        return m_lPane == PELLORA_CURRENT_PANE ? m_pWindow->lHandle != PELLORA_NO_WINDOW
                                               : video().PELLORA_SetCurWnd(m_pWindow->lHandle, m_lPane) != 0;
    }

    // Files. Names are UTF-8.

    [[nodiscard]] bool playFile(const std::string &file, bool bLoop = false, bool bOverlay = false) const
    {
        if (!select()) {
            return false;
        }
        // Before the file, since it may be over in no time. The answer is 0 where nothing plays yet; it is kept all the
        // same.
        const bool bNamed = m_lPane >= 0 && m_lPane < PELLORA_PANES_PER_WINDOW;
        const auto pfnFileEnd = detail::kFileEndCallbacks[bNamed ? static_cast<std::size_t>(m_lPane) + 1 : 0];
        video().PELLORA_SetFileEndCallback(m_pWindow->lHandle, pfnFileEnd);
        return video().PELLORA_PreviewFile(m_pWindow->lHandle, file.c_str(), bLoop, bOverlay) != 0;
    }
    bool stopFile() const
    {
        return done(&PelloraFunctions::PELLORA_StopPreviewFile);
    }
    bool play() const
    {
        return done(&PelloraFunctions::PELLORA_Play);
    }
    bool pause() const
    {
        return done(&PelloraFunctions::PELLORA_Pause);
    }
    bool resume() const
    {
        return done(&PelloraFunctions::PELLORA_Restore);
    }
    bool faster() const
    {
        return done(&PelloraFunctions::PELLORA_Fast);
    }
    bool slower() const
    {
        return done(&PelloraFunctions::PELLORA_Slow);
    }
    bool stepOn() const
    {
        return done(&PelloraFunctions::PELLORA_OneByOne);
    }
    bool stepBack() const
    {
        return done(&PelloraFunctions::PELLORA_OneByOneBack);
    }
    bool seek(unsigned long dwSeconds) const
    {
        return done(&PelloraFunctions::PELLORA_SetPlayPos, dwSeconds);
    }
    [[nodiscard]] unsigned long position() const
    {
        return ask(&PelloraFunctions::PELLORA_GetPlayPos);
    }
    [[nodiscard]] unsigned long length() const
    {
        return ask(&PelloraFunctions::PELLORA_GetFileTime);
    }

    /** When the picture on the screen was recorded. */
    [[nodiscard]] std::optional<tagPELLORA_SYSTEM_TIME> recordingTime() const
    {
        tagPELLORA_SYSTEM_TIME time{};
        ask(&PelloraFunctions::PELLORA_GetSystemTime, &time); // answers 0 in any case
        return time.dwYear != 0 ? std::optional(time) : std::nullopt;
    }

    // Pictures and sound.

    [[nodiscard]] std::optional<tagPELLORA_POINT> pictureSize() const
    {
        tagPELLORA_POINT size{};
        return done(&PelloraFunctions::PELLORA_GetPictureSize, &size) ? std::optional(size) : std::nullopt;
    }

    /** JPEG of the whole picture; nothing where there is none. */
    [[nodiscard]] std::optional<std::vector<unsigned char>> capture() const
    {
        unsigned long dwSize = 0;
        return grow([&](std::vector<unsigned char> &jpeg, unsigned long &dwNeeded) {
            const bool bDone =
                done(&PelloraFunctions::PELLORA_Capture, jpeg.data(), static_cast<unsigned long>(jpeg.size()), &dwSize);
            dwNeeded = dwSize;
            return bDone;
        });
    }

    /** JPEG of a part of it, in thousandths; quality 1 to 100. */
    [[nodiscard]] std::optional<std::vector<unsigned char>> capturePart(const tagPELLORA_RECT &part,
                                                                        unsigned long dwQuality = 85) const
    {
        return grow([&](std::vector<unsigned char> &jpeg, unsigned long &dwNeeded) {
            // The call replaces these by pixels, so that each one begins anew.
            unsigned long crop[] = {static_cast<unsigned long>(part.left), static_cast<unsigned long>(part.top),
                                    static_cast<unsigned long>(part.right), static_cast<unsigned long>(part.bottom)};
            tagPELLORA_CROP_PIC_INFO info{};
            info.pBuf = jpeg.data();
            info.dwBufSize = static_cast<unsigned long>(jpeg.size());
            info.dwQuality = dwQuality;
            info.pCropRect = crop;
            const bool bDone = done(&PelloraFunctions::PELLORA_Screenshot, &info);
            dwNeeded = info.dwPicSize;
            return bDone;
        });
    }

    bool showPart(const tagPELLORA_RECT &part) const
    {
        return video().PELLORA_SetDisplayRegion(handle(), &part, m_lPane) != 0;
    }
    bool showWhole() const
    {
        return video().PELLORA_SetDisplayRegion(handle(), nullptr, m_lPane) != 0;
    }
    bool openSound() const
    {
        return done(&PelloraFunctions::PELLORA_OpenSound);
    }
    bool closeSound() const
    {
        return done(&PelloraFunctions::PELLORA_CloseSound);
    }
    bool setVolume(unsigned short wVolume) const
    {
        return done(&PelloraFunctions::PELLORA_SetVolume, wVolume);
    }
    [[nodiscard]] unsigned short volume() const
    {
        return ask(&PelloraFunctions::PELLORA_GetVolume);
    }

    // Cameras.

    /** True: it has been handed to a worker; Window::onStatus and Session::onCameraState tell what becomes of it. */
    [[nodiscard]] bool preview(const PreviewRequest &request) const
    {
        return done(&PelloraFunctions::PELLORA_PreviewStream, recordOf(request));
    }
    bool stopPreview() const
    {
        return done(&PelloraFunctions::PELLORA_StopPreviewStream);
    }

    // Rules.

    bool openOverlay() const
    {
        return video().PELLORA_OpenDraw(handle(), m_lPane) != 0;
    }
    bool closeOverlay() const
    {
        return video().PELLORA_CloseDraw(handle(), m_lPane) != 0;
    }
    bool setOrigin(PELLORA_ORIGIN origin) const
    {
        return video().PELLORA_SetOriginPos(handle(), static_cast<unsigned short>(origin), m_lPane) != 0;
    }

    /** Without coordinates: the user draws it, or Rule::set gives it some. */
    template <PELLORA_RULE_TYPE type>
    [[nodiscard]] std::optional<Rule<type>> addRule(const RuleLook &look = {}) const
    {
        const std::string extension = detail::ruleExtension(type, look.points, look.finishEarly, look.caption);
        const long lRule = video().PELLORA_CreateRule(
            handle(), type, GetRValue(look.color), GetGValue(look.color), GetBValue(look.color),
            extension.empty() ? nullptr : extension.data(), look.limits, m_lPane);
        const Rule<type> rule(m_pWindow, m_lPane, lRule);
        // 0 is the first rule, and also the answer where there is no such pane: then there is nothing to be read.
        return lRule != PELLORA_NO_RULE && (lRule != 0 || rule.get()) ? std::optional(rule) : std::nullopt;
    }
    bool clearRules() const
    {
        return video().PELLORA_ClearRule(handle(), m_lPane) != 0;
    }

    [[nodiscard]] static tagPELLORA_PREVIEW_PARAM recordOf(const PreviewRequest &request)
    {
        tagPELLORA_PREVIEW_PARAM record{};
        record.userID = request.login;
        record.lChannel = request.channel;
        record.streamType = request.stream;
        record.openDraw = request.overlay;
        return record;
    }

private:
    [[nodiscard]] const PelloraFunctions &video() const
    {
        return m_pWindow->pFunctions->video;
    }
    [[nodiscard]] long handle() const
    {
        return m_pWindow->lHandle;
    }

    /** A function for the current pane, with this one made current. */
    template <class Result, class... Parameters, class... Arguments>
    Result ask(Result (*PelloraFunctions::*pfnFunction)(long, Parameters...), Arguments... arguments) const
    {
        return select() ? (video().*pfnFunction)(handle(), arguments...) : Result{};
    }
    template <class... Parameters, class... Arguments>
    bool done(int (*PelloraFunctions::*pfnFunction)(long, Parameters...), Arguments... arguments) const
    {
        return ask(pfnFunction, arguments...) != 0;
    }

    /** Asks for the size with an empty buffer, and again while the picture that is due then is larger. */
    template <class Take>
    static std::optional<std::vector<unsigned char>> grow(Take take)
    {
        std::vector<unsigned char> jpeg(1);
        for (int nTry = 0; nTry < 4; ++nTry) {
            unsigned long dwNeeded = 0;
            const bool bDone = take(jpeg, dwNeeded);
            if (bDone && dwNeeded <= jpeg.size()) {
                jpeg.resize(dwNeeded);
                return jpeg;
            }
            if (dwNeeded <= jpeg.size()) {
                return std::nullopt;
            }
            jpeg.resize(dwNeeded + dwNeeded / 4);
        }
        return std::nullopt;
    }

    std::shared_ptr<detail::WindowState> m_pWindow;
    long m_lPane;
};

} // namespace pellora

#endif
