#!/usr/bin/env bash
# Wine's loader: tools/wine64.sh PROGRAM [ARGUMENT…]
#
# Without the kernel's random placement, where that may be switched off. Wine 8 needs the page at 0x7ffe0000, and the
# heap of its loader begins anywhere in the gigabyte around it: one start in some thousands found the page taken and
# ended with status 1, without a word where Wine's own messages are off.
wine=/usr/lib/wine/wine64
if setarch --addr-no-randomize true 2>/dev/null; then
    exec setarch --addr-no-randomize "$wine" "$@"
fi
exec "$wine" "$@"
