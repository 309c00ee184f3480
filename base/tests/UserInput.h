#ifndef BASE_TESTS_USERINPUT_H
#define BASE_TESTS_USERINPUT_H

#include <windows.h>

// What a person does and sees. Input goes by way of the system, which finds the window; the screen is what the display
// shows. Positions are the screen's pixels.

inline void click(POINT place)
{
    SetCursorPos(place.x, place.y);
    INPUT input[2] = {};
    input[0].type = INPUT_MOUSE;
    input[0].mi.dwFlags = MOUSEEVENTF_LEFTDOWN;
    input[1].type = INPUT_MOUSE;
    input[1].mi.dwFlags = MOUSEEVENTF_LEFTUP;
    SendInput(2, input, sizeof(INPUT));
}

/** Presses and releases a key. */
inline void press(WORD wKey)
{
    INPUT input[2] = {};
    input[0].type = INPUT_KEYBOARD;
    input[0].ki.wVk = wKey;
    input[1] = input[0];
    input[1].ki.dwFlags = KEYEVENTF_KEYUP;
    SendInput(2, input, sizeof(INPUT));
}

[[nodiscard]] inline COLORREF colourAt(POINT place)
{
    const HDC hScreen = GetDC(nullptr);
    const COLORREF colour = GetPixel(hScreen, place.x, place.y);
    ReleaseDC(nullptr, hScreen);
    return colour;
}

/** A place of a window's client area on the screen. */
[[nodiscard]] inline POINT onScreen(HWND hWnd, int x, int y)
{
    POINT place = {x, y};
    ClientToScreen(hWnd, &place);
    return place;
}

#endif
