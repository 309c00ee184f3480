#include "VideoWindow/WindowSubclass.h"

#include "base/PinModule.h"

#include <utility>

namespace pellora
{

namespace
{

WNDPROC procedureOf(HWND hWnd)
{
    return reinterpret_cast<WNDPROC>(GetWindowLongPtrW(hWnd, GWLP_WNDPROC));
}

WNDPROC replaceProcedure(HWND hWnd, WNDPROC pProcedure)
{
    return reinterpret_cast<WNDPROC>(SetWindowLongPtrW(hWnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(pProcedure)));
}

} // namespace

WindowSubclass::WindowSubclass(WNDPROC pProcedure, const wchar_t *pName)
    : m_pProcedure(pProcedure), m_nProbe(RegisterWindowMessageW(pName))
{
}

bool WindowSubclass::install(HWND hWnd)
{
    if (isReached(hWnd)) {
        return true;
    }
    Base::pinModule(reinterpret_cast<const void *>(m_pProcedure));
    // Known before the procedure runs, which would lose a message that comes at once.
    m_previous[hWnd] = procedureOf(hWnd);
    const WNDPROC pPrevious = replaceProcedure(hWnd, m_pProcedure);
    if (pPrevious == nullptr) {
        m_previous.erase(hWnd);
        return false;
    }
    m_previous[hWnd] = pPrevious;
    return true;
}

bool WindowSubclass::remove(HWND hWnd)
{
    if (procedureOf(hWnd) != m_pProcedure && isReached(hWnd)) {
        return false;
    }
    forget(hWnd);
    return true;
}

void WindowSubclass::forget(HWND hWnd)
{
    const auto it = m_previous.find(hWnd);
    if (it == m_previous.end()) {
        return;
    }
    if (procedureOf(hWnd) == m_pProcedure) {
        replaceProcedure(hWnd, it->second);
    }
    m_previous.erase(it);
}

bool WindowSubclass::isReached(HWND hWnd)
{
    // The number may be that of a window of somebody else's by now, who need not answer.
    if (m_previous.count(hWnd) == 0 || GetWindowThreadProcessId(hWnd, nullptr) != GetCurrentThreadId()) {
        return false;
    }
    if (procedureOf(hWnd) == m_pProcedure) {
        return true;
    }
    // The procedures on the way may look for others themselves.
    const bool bOuter = std::exchange(m_bProbeSeen, false);
    SendMessageW(hWnd, m_nProbe, 0, 0);
    return std::exchange(m_bProbeSeen, bOuter);
}

bool WindowSubclass::takesProbe(UINT nMessage)
{
    m_bProbeSeen = m_bProbeSeen || nMessage == m_nProbe;
    return nMessage == m_nProbe;
}

WNDPROC WindowSubclass::previous(HWND hWnd) const
{
    const auto it = m_previous.find(hWnd);
    return it != m_previous.end() ? it->second : nullptr;
}

} // namespace pellora
