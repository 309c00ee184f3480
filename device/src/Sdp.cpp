#include "device/src/Sdp.h"

#include "device/src/Text.h"

#include <algorithm>

namespace selvik
{

namespace
{

SdpMedia::Kind kindOf(const std::string &name)
{
    if (name == "video") {
        return SdpMedia::Kind::Video;
    }
    return name == "audio" ? SdpMedia::Kind::Audio : SdpMedia::Kind::Other;
}

/** The clock rate of a payload type that needs no rtpmap line (RFC 3551): 8 kHz for most sound, 90 kHz for video. */
int staticClockRate(int nPayloadType)
{
    constexpr int kFirstOfVideo = 24;
    constexpr int kMpegSound = 14;
    switch (nPayloadType) {
    case 6:
        return 16000;
    case 10:
    case 11:
        return 44100;
    case 16:
        return 11025;
    case 17:
        return 22050;
    default:
        return nPayloadType < kFirstOfVideo && nPayloadType != kMpegSound ? 8000 : 90000;
    }
}

// More payload types than a medium has.
constexpr std::size_t kMaxOtherTypes = 32;

SdpMedia parseMediaLine(const std::string &value)
{
    SdpMedia media;
    const std::vector<std::string> words = split(value, ' ');
    if (words.size() >= 4) {
        media.kind = kindOf(lowerCase(words[0]));
        media.nPayloadType = leadingNumber(words[3]) & 0x7F;
        media.nClockRate = staticClockRate(media.nPayloadType);
        for (std::size_t i = 4; i < words.size() && media.otherTypes.size() < kMaxOtherTypes; ++i) {
            media.otherTypes.push_back(leadingNumber(words[i]) & 0x7F);
        }
    }
    return media;
}

/** "96 H264/90000" for payload type 96: "H264/90000"; empty for another type's line. */
std::string valueForType(const std::string &value, int nPayloadType)
{
    const std::size_t blank = value.find(' ');
    if (blank == std::string::npos || leadingNumber(value) != nPayloadType) {
        return {};
    }
    return trimmed(value.substr(blank));
}

void applyRtpmap(SdpMedia &media, const std::string &mapped)
{
    if (mapped.empty() || !media.rtpmap.empty()) {
        return;
    }
    const std::vector<std::string> parts = split(mapped, '/');
    if (parts.empty()) {
        return;
    }
    media.rtpmap = mapped;
    media.encoding = lowerCase(parts.front());
    const int nRate = parts.size() > 1 ? leadingNumber(parts[1]) : 0;
    if (nRate > 0) {
        media.nClockRate = nRate;
    }
    if (media.encoding == "vnd.onvif.metadata") {
        media.kind = SdpMedia::Kind::Metadata;
    }
}

/** Another payload type of the line that has the same coding is another way to send the same. */
void noteOtherType(SdpMedia &media, const std::string &argument)
{
    const int nType = leadingNumber(argument);
    const std::string mapped = valueForType(argument, nType);
    const std::string encoding = lowerCase(mapped.substr(0, mapped.find('/')));
    if (nType != media.nPayloadType && !encoding.empty() && encoding == media.encoding) {
        media.otherTypes.erase(std::remove(media.otherTypes.begin(), media.otherTypes.end(), nType),
                               media.otherTypes.end());
    }
}

/** Of "96 1920-1080", or of "1920, 1080": the numbers around the separator. */
void applySize(SdpMedia &media, const std::string &value)
{
    const std::size_t separator = value.find_first_of("-,xX");
    if (separator != std::string::npos) {
        const std::string width = trimmed(value.substr(0, separator));
        media.nWidth = leadingNumber(width.substr(width.find_last_of(' ') + 1));
        media.nHeight = leadingNumber(trimmed(value.substr(separator + 1)));
    }
}

void applyAttribute(Sdp &sdp, const std::string &value)
{
    const std::size_t colon = value.find(':');
    const std::string name = lowerCase(value.substr(0, colon));
    const std::string argument = colon == std::string::npos ? std::string() : trimmed(value.substr(colon + 1));
    if (sdp.media.empty()) {
        if (name == "control") {
            sdp.control = argument;
        }
        return;
    }
    SdpMedia &media = sdp.media.back();
    if (name == "control") {
        media.control = argument;
    } else if (name == "rtpmap") {
        applyRtpmap(media, valueForType(argument, media.nPayloadType));
        noteOtherType(media, argument);
    } else if (name == "framesize" || name == "x-dimensions") {
        applySize(media, argument);
    } else if (name == "fmtp" && media.fmtp.empty()) {
        media.fmtp = valueForType(argument, media.nPayloadType);
    }
}

} // namespace

std::string SdpMedia::parameter(const std::string &name) const
{
    for (const std::string &part : split(fmtp, ';')) {
        const std::size_t equals = part.find('=');
        if (equals != std::string::npos && lowerCase(trimmed(part.substr(0, equals))) == name) {
            return trimmed(part.substr(equals + 1));
        }
    }
    return {};
}

std::string SdpMedia::description(bool bWithParameters) const
{
    const std::string type = std::to_string(nPayloadType);
    std::string text = "v=0\r\no=- 0 0 IN IP4 127.0.0.1\r\ns=-\r\nc=IN IP4 127.0.0.1\r\nt=0 0\r\n";
    text += std::string("m=") + (kind == Kind::Video ? "video" : "audio") + " 0 RTP/AVP " + type + "\r\n";
    if (!rtpmap.empty()) {
        text += "a=rtpmap:" + type + " " + rtpmap + "\r\n";
    }
    if (bWithParameters && !fmtp.empty()) {
        text += "a=fmtp:" + type + " " + fmtp + "\r\n";
    }
    return text;
}

Sdp Sdp::parse(const std::string &text)
{
    Sdp sdp;
    for (const std::string &each : lines(text)) {
        // Controls come back in requests, and formats in the description that FFmpeg's depacketizers are given.
        const std::string line = onOneLine(each);
        if (line.size() < 2 || line[1] != '=') {
            continue;
        }
        if (line[0] == 'm') {
            sdp.media.push_back(parseMediaLine(line.substr(2)));
        } else if (line[0] == 'a') {
            applyAttribute(sdp, line.substr(2));
        }
    }
    for (SdpMedia &media : sdp.media) {
        // A number that RFC 3551 has taken back, and cameras have not.
        constexpr int kG726 = 2;
        if (media.nPayloadType == kG726 && media.rtpmap.empty()) {
            applyRtpmap(media, "G726-32/8000");
        }
    }
    return sdp;
}

std::string resolveControl(const std::string &base, const std::string &control)
{
    if (control.empty() || control == "*") {
        return base;
    }
    const std::string scheme = lowerCase(control.substr(0, 8));
    if (startsWith(scheme, "rtsp://") || startsWith(scheme, "rtsps://")) {
        return control;
    }
    // Devices do not follow the rules of relative addresses: they expect the control behind the whole base, even where
    // the base ends with a query.
    const bool bSlash = !base.empty() && base.back() == '/';
    if (control.front() == '/') {
        return bSlash ? base + control.substr(1) : base + control;
    }
    return bSlash ? base + control : base + "/" + control;
}

} // namespace selvik
