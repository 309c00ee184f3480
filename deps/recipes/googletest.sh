# Test runner, from the sources that Debian's package googletest installs.
needs=""
version="1.12.1"
C_FLAGS=""
unpack() { cp -r /usr/src/googletest/. "$SRC/"; }
