#!/usr/bin/env bash
# Makes the Wine prefix that tests and the demo run in, once, and prints its path.
#
# It lives in the cache (PELLORA_CACHE, default ~/.cache/pellora), named after this script's contents. Wine's own
# fonts and a Chinese one are put where Windows programs look for them: without the replacements Chinese glyphs are
# missing, since no "Microsoft YaHei" is installed.
set -euo pipefail
cache="${PELLORA_CACHE:-$HOME/.cache/pellora}"
key="$(sha256sum "${BASH_SOURCE[0]}" | cut -c1-12)"
prefix="$cache/wine-$key"
mkdir -p "$cache"
exec 9>"$cache/wine.lock"
flock 9
if [ ! -e "$prefix/.complete" ]; then
    rm -rf "$prefix"
    export WINEPREFIX="$prefix" WINEARCH=win64 WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml= DISPLAY=
    wine="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)/wine64.sh"
    {
        "$wine" wineboot -i 9>&-
        /usr/lib/wine/wineserver64 -w || wineserver -w || true
        "$wine" winecfg -v win10 9>&- || true
        for value in "Microsoft YaHei UI=Noto Sans CJK SC" "Microsoft YaHei=Noto Sans CJK SC" \
            "MS Shell Dlg=Liberation Sans" "Segoe UI=Liberation Sans"; do
            "$wine" reg add 'HKCU\Software\Wine\Fonts\Replacements' /v "${value%%=*}" /d "${value#*=}" /f 9>&-
        done
        # No window manager runs on the virtual display: without this Wine waits two seconds for one whenever a
        # top-level window is hidden, with the window's thread blocked.
        "$wine" reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f 9>&-
        "$wine" reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f 9>&-
        mkdir -p "$prefix/drive_c/windows/Fonts"
        cp /usr/share/wine/fonts/*.ttf "$prefix/drive_c/windows/Fonts/" || true
        # Chromium ends at once when DirectWrite has no Tahoma, and finds it nowhere but under these names.
        for value in "Tahoma (TrueType)=tahoma.ttf" "Tahoma Bold (TrueType)=tahomabd.ttf"; do
            "$wine" reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\Fonts' /v "${value%%=*}" /d "${value#*=}" /f 9>&-
        done
        wineserver -w || true
    } >"$cache/wine-prefix.log" 2>&1
    touch "$prefix/.complete"
fi
echo "$prefix"
