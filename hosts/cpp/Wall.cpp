#include "hosts/cpp/Wall.h"

#include <algorithm>
#include <fstream>

namespace
{

std::string named(int pane)
{
    return "Pane " + std::to_string(pane + 1) + ": ";
}

std::string clock(unsigned long seconds)
{
    const std::string rest = std::to_string(seconds % 60);
    return std::to_string(seconds / 60) + (rest.size() < 2 ? ":0" : ":") + rest;
}

} // namespace

Wall::Wall(HWND host, std::vector<std::string> sources, std::function<void(const std::string &)> say)
    : m_say(std::move(say)), m_session(pellora::Session::start())
{
    for (std::string &place : sources) {
        m_sources.push_back({std::move(place), std::nullopt});
    }
    m_window = m_session ? m_session->createWindow(host) : std::nullopt;
    if (!m_window) {
        return;
    }
    m_window->onStatus([this](const pellora::PaneStatus &status) { onStatus(status); });
    m_window->onFileEnd([this](int pane) { m_say(named(pane) + "the end"); });
    m_window->onRule([this](const pellora::RuleEvent &event) {
        if (event.state == PELLORA_EDIT_COMPLETE) {
            m_say(named(event.pane) + "rule " + std::to_string(event.rule) + " is drawn");
        }
    });
    m_session->onCameraState([this](const pellora::CameraState &state) { onCameraState(state); });
}

Wall::~Wall()
{
    m_window.reset();
    // Before the session: it waits for starts that wait for their camera, and a log-out ends them.
    m_sources.clear();
    m_session.reset();
}

bool Wall::isOpen() const
{
    return m_window.has_value();
}

void Wall::start()
{
    const std::size_t count = m_sources.size();
    split(count > 4 ? 9 : count > 1 ? 4 : 1);
}

void Wall::place(int width, int height) const
{
    m_window->place(0, 0, width, height);
}

bool Wall::isCamera(int pane) const
{
    const auto index = static_cast<std::size_t>(pane);
    return index < m_sources.size() && m_sources[index].place.find("://") != std::string::npos;
}

void Wall::startPane(int pane)
{
    Source &source = m_sources[static_cast<std::size_t>(pane)];
    m_selected = pane;
    if (!isCamera(pane)) {
        source.runs = m_window->pane(pane).playFile(source.place);
        if (!source.runs) {
            m_say(named(pane) + "the file cannot be played; the log says why");
        }
        return;
    }
    if (!source.login) {
        source.login = m_session->logIn(source.place);
    }
    pellora::PreviewRequest request;
    request.login = source.login ? source.login->id() : -1;
    source.runs = m_window->pane(pane).preview(request);
    m_say(named(pane) + (source.runs ? "starting" : "the camera's address is not understood"));
}

/** Shows so many panes and gives those that are shown for the first time their sources. */
void Wall::split(int panes)
{
    m_window->split(panes);
    for (const int last = std::min(panes, static_cast<int>(m_sources.size())); m_filled < last; ++m_filled) {
        startPane(m_filled);
    }
    m_selected = 0;
    m_window->pane(0).select();
}

void Wall::onClick()
{
    // The report comes soon, though perhaps after further messages; a click between the panes brings none.
    m_clickUntil = GetTickCount64() + 2000;
}

/** Of a click, which selects the pane, or the outcome of a start; why one has failed, the camera's state tells. */
void Wall::onStatus(const pellora::PaneStatus &status)
{
    if (GetTickCount64() < std::exchange(m_clickUntil, 0)) {
        m_selected = status.pane;
    } else if (status.playing) {
        m_say(named(status.pane) + "playing");
    }
}

void Wall::onCameraState(const pellora::CameraState &state)
{
    const int pane = paneOf(state.login);
    if (pane >= 0 && state.state == SELVIK_STATE_LOST) {
        m_say(named(pane) + "lost, " + state.reason);
    } else if (pane >= 0 && state.state == SELVIK_STATE_FAILED) {
        m_sources[static_cast<std::size_t>(pane)].runs = false;
        m_say(named(pane) + "cannot be shown, " + state.reason);
    }
}

int Wall::paneOf(long login) const
{
    const auto found = std::find_if(m_sources.begin(), m_sources.end(), [login](const Source &source) {
        return source.login && source.login->id() == login;
    });
    return found != m_sources.end() ? static_cast<int>(found - m_sources.begin()) : -1;
}

bool Wall::onKey(WPARAM key)
{
    const pellora::Pane pane = m_window->current();
    bool &paused = m_paused[static_cast<std::size_t>(m_selected)];
    switch (key) {
    case '1':
    case '4':
    case '9':
        split(static_cast<int>(key - '0'));
        break;
    case 'F':
    case VK_ESCAPE:
        m_fullScreen = key == 'F' && !m_fullScreen;
        m_window->fullScreen(m_fullScreen);
        break;
    case VK_SPACE:
        paused = !paused;
        paused ? pane.pause() : pane.resume();
        break;
    case VK_DOWN:
    case VK_UP:
        paused = (key == VK_DOWN ? pane.stepOn() : pane.stepBack()) || paused;
        break;
    case VK_LEFT:
    case VK_RIGHT:
        seekBy(key == VK_LEFT ? -10 : 10);
        break;
    case VK_ADD:
    case VK_SUBTRACT:
        m_say((key == VK_ADD ? pane.faster() : pane.slower()) ? "Another speed" : "As far as it goes");
        break;
    case VK_PRIOR:
    case VK_NEXT:
        changeVolume(key == VK_PRIOR ? 10 : -10);
        break;
    case 'M':
        toggleSound();
        break;
    case 'C':
        saveCapture();
        break;
    case 'R':
        drawRule();
        break;
    case 'S':
        togglePreview();
        break;
    default:
        return false;
    }
    return true;
}

void Wall::togglePreview()
{
    if (!isCamera(m_selected)) {
        m_say("No camera in this pane");
    } else if (bool &runs = m_sources[static_cast<std::size_t>(m_selected)].runs; runs) {
        m_window->current().stopPreview();
        runs = false;
        m_say(named(m_selected) + "stopped");
    } else {
        startPane(m_selected);
    }
}

void Wall::toggleSound()
{
    const pellora::Pane pane = m_window->current();
    const bool done = m_sounds ? pane.closeSound() : pane.openSound();
    m_sounds = done ? !m_sounds : m_sounds;
    m_say(!done ? "No sound here, or no sound device" : m_sounds ? "Sound on" : "Sound off");
}

void Wall::seekBy(long seconds) const
{
    const pellora::Pane pane = m_window->current();
    pane.seek(static_cast<unsigned long>(std::max(0L, static_cast<long>(pane.position()) + seconds)));
}

void Wall::changeVolume(int percent) const
{
    const pellora::Pane pane = m_window->current();
    const int volume = pane.volume() + PELLORA_MAX_VOLUME * percent / 100;
    pane.setVolume(static_cast<unsigned short>(std::clamp<int>(volume, 0, PELLORA_MAX_VOLUME)));
}

void Wall::saveCapture()
{
    const auto jpeg = m_window->current().capture();
    if (!jpeg) {
        m_say("Nothing to capture");
        return;
    }
    const std::string name = "capture-" + std::to_string(++m_captures) + ".jpg";
    std::ofstream file(name, std::ios::binary);
    file.write(reinterpret_cast<const char *>(jpeg->data()), static_cast<std::streamsize>(jpeg->size()));
    file.close();
    m_say(file ? "Saved " + name : name + " cannot be written");
}

/** A rectangle, which the user draws. */
void Wall::drawRule()
{
    const pellora::Pane pane = m_window->current();
    const bool added = pane.openOverlay() && pane.addRule<PELLORA_RULE_RECT_WITH_TEXT>({RGB(0, 224, 255), "area"});
    m_say(added ? "Drag a rectangle" : "Nothing plays here, or there are 64 rules");
}

std::string Wall::description() const
{
    const pellora::Pane pane = m_window->current();
    std::string text = named(m_selected);
    if (!isCamera(m_selected)) {
        text += clock(pane.position()) + " / " + clock(pane.length());
    }
    if (const auto size = pane.pictureSize()) {
        text += "    " + std::to_string(size->x) + " x " + std::to_string(size->y);
    }
    return text;
}
