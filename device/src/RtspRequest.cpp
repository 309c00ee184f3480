#include "device/src/RtspRequest.h"

#include "device/src/Text.h"

#include <algorithm>
#include <array>

namespace selvik
{

namespace
{

const char *const kPublic = "Public: OPTIONS, GET_PARAMETER, SET_PARAMETER, ANNOUNCE, REDIRECT, TEARDOWN\r\n";

template <std::size_t N>
bool contains(const std::array<const char *, N> &methods, const std::string &method)
{
    return std::find(methods.begin(), methods.end(), method) != methods.end();
}

} // namespace

std::optional<RtspRequest> RtspRequest::parse(const std::string &head)
{
    const std::vector<std::string> headLines = lines(head);
    if (headLines.empty()) {
        return std::nullopt;
    }
    const std::vector<std::string> words = split(headLines.front(), ' ');
    if (words.size() < 3 || !startsWith(words.back(), "RTSP/")) {
        return std::nullopt;
    }
    RtspRequest request;
    request.method = words.front();
    request.readHeaders(headLines);
    return request;
}

std::string RtspRequest::answer() const
{
    static constexpr std::array<const char *, 6> kServed = {"OPTIONS",  "GET_PARAMETER", "SET_PARAMETER",
                                                            "ANNOUNCE", "REDIRECT",      "TEARDOWN"};
    static constexpr std::array<const char *, 5> kOfServers = {"DESCRIBE", "SETUP", "PLAY", "PAUSE", "RECORD"};
    std::string text = "RTSP/1.0 ";
    if (contains(kServed, method)) {
        text += "200 OK\r\n";
    } else if (contains(kOfServers, method)) {
        text += "405 Method Not Allowed\r\n";
    } else {
        text += "501 Not Implemented\r\n";
    }
    text += "CSeq: " + header("cseq") + "\r\n";
    if (!header("session").empty()) {
        text += "Session: " + header("session") + "\r\n";
    }
    return text + (method == "OPTIONS" ? kPublic : "") + "\r\n";
}

} // namespace selvik
