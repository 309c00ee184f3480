#ifndef VIDEOWINDOW_WINDOWSUBCLASS_H
#define VIDEOWINDOW_WINDOWSUBCLASS_H

#include <windows.h>

#include <map>

namespace pellora
{

/**
 * The windows that one window procedure of the library's was put in front of, and what each had before.
 *
 * Others subclass the same windows, before and after, and may put an earlier procedure back without a word. Whether
 * messages still come by is found out by sending one that only this procedure knows.
 * Threads: the windows' own, which is the GUI thread. Lives as long as the process, as does the module from the first
 *          window on.
 */
class WindowSubclass
{
public:
    /** The name is that of the message; one for each procedure. */
    WindowSubclass(WNDPROC pProcedure, const wchar_t *pName);
    ~WindowSubclass() = delete;
    WindowSubclass(const WindowSubclass &) = delete;
    WindowSubclass &operator=(const WindowSubclass &) = delete;

    /** Puts the procedure in front, unless messages reach it already. False: the window cannot be subclassed. */
    bool install(HWND hWnd);
    /**
     * Puts the earlier procedure back. False when somebody else's lies in front and passes messages on: then the
     * procedure goes on doing so too.
     */
    bool remove(HWND hWnd);
    /** As remove, for a window that is going: nothing is kept of it in any case. */
    void forget(HWND hWnd);

    /** Messages for the window come by the procedure. */
    [[nodiscard]] bool isReached(HWND hWnd);
    /** For the procedure: true for the message that looks for it, which it answers with 0. */
    [[nodiscard]] bool takesProbe(UINT nMessage);
    /** What the window had before; null for one that is not subclassed. */
    [[nodiscard]] WNDPROC previous(HWND hWnd) const;

private:
    const WNDPROC m_pProcedure;
    const UINT m_nProbe;
    bool m_bProbeSeen = false;
    std::map<HWND, WNDPROC> m_previous;
};

} // namespace pellora

#endif
