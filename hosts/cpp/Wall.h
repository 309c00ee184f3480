#ifndef HOSTS_CPP_WALL_H
#define HOSTS_CPP_WALL_H

#include "Pellora.hpp"

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/**
 * Files and cameras in the panes of one video window, and what the keys do to the selected pane.
 *
 * Threads: the user-interface thread.
 * Owns:    the library's session, the video window, the log-ins; it stays where it is.
 * Errors:  words for the status bar; never throws but for want of memory.
 */
class Wall
{
public:
    /** A source is a file or, with "://" in it, a camera's address; both UTF-8. They fill the panes from the first on.
     */
    Wall(HWND host, std::vector<std::string> sources, std::function<void(const std::string &)> say);
    ~Wall();
    Wall(const Wall &) = delete;
    Wall &operator=(const Wall &) = delete;

    /** False: the library or its window could not be had; the log has the reason. */
    [[nodiscard]] bool isOpen() const;
    void start();
    void place(int width, int height) const;
    /** The left button has gone down on the video. */
    void onClick();
    /** False for a key that stands for nothing. */
    bool onKey(WPARAM key);
    /** Position and size of the selected pane's picture. */
    [[nodiscard]] std::string description() const;

private:
    struct Source {
        std::string place;
        std::optional<pellora::Login> login; // of a camera
        bool runs = false;
    };

    void startPane(int pane);
    void togglePreview();
    void toggleSound();
    void split(int panes);
    void seekBy(long seconds) const;
    void changeVolume(int percent) const;
    void saveCapture();
    void drawRule();
    void onStatus(const pellora::PaneStatus &status);
    void onCameraState(const pellora::CameraState &state);
    [[nodiscard]] int paneOf(long login) const;
    [[nodiscard]] bool isCamera(int pane) const;

    std::function<void(const std::string &)> m_say;
    std::vector<Source> m_sources;
    std::optional<pellora::Session> m_session; // after the log-ins, which end when it has ended
    std::optional<pellora::Window> m_window;
    std::array<bool, PELLORA_PANES_PER_WINDOW> m_paused{};
    int m_selected = 0;
    int m_filled = 0;
    int m_captures = 0;
    ULONGLONG m_clickUntil = 0;
    bool m_sounds = false;
    bool m_fullScreen = false;
};

#endif
