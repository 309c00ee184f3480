#ifndef TESTS_EMBEDDING_RECORDINGHOST_H
#define TESTS_EMBEDDING_RECORDINGHOST_H

#include <windows.h>

#include <string>
#include <vector>

namespace embedding
{

/**
 * A host window that writes down what its own procedure is given, and answers in its own way.
 *
 * Recorded are the messages that somebody means for a host; what the system adds when windows move is not.
 * Threads: the one that made it.
 * Owns:    the window.
 */
class RecordingHost
{
public:
    RecordingHost();
    ~RecordingHost();
    RecordingHost(const RecordingHost &) = delete;
    RecordingHost &operator=(const RecordingHost &) = delete;

    [[nodiscard]] HWND handle() const;
    /** One line a message: its number, its parameters or what they point to, and how it came. */
    [[nodiscard]] const std::vector<std::string> &record() const;
    void note(const std::string &line);

    /** The least size that it asks for. */
    static constexpr long kLeastWidth = 310;
    static constexpr long kLeastHeight = 220;
    /** Posts and sends itself the two messages behind this one when it gets it. */
    static constexpr UINT kNesting = WM_USER + 90;

private:
    static LRESULT CALLBACK procedure(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam);
    LRESULT onMessage(UINT nMessage, WPARAM wParam, LPARAM lParam);
    LRESULT onPaint();
    LRESULT onCopyData(WPARAM wParam, LPARAM lParam);
    void onNesting();

    HWND m_hWnd = nullptr;
    std::vector<std::string> m_record;
};

} // namespace embedding

#endif
