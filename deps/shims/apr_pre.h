/* APR includes Windows headers in an order that mingw's do not survive: winsock2.h must come first. */
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <winsock2.h>
#include <ws2tcpip.h>
#include <mswsock.h>
#include <windows.h>
#include <ole2.h>
#include <iphlpapi.h>
