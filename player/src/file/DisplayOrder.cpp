#include "player/src/file/DisplayOrder.h"

#include "player/src/core/Error.h"
#include "player/src/file/PackedPictures.h"

#include <algorithm>
#include <tuple>

extern "C" {
#include <libavutil/common.h>
}

namespace player
{

namespace
{

/** More than any coder lets pictures overtake each other. */
constexpr std::size_t kMostReordered = 32;

/** Codecs whose pictures that nothing refers to are shown before the one that was decoded ahead of them. */
bool ordersByType(AVCodecID codec)
{
    return codec == AV_CODEC_ID_MPEG1VIDEO || codec == AV_CODEC_ID_MPEG2VIDEO || codec == AV_CODEC_ID_MPEG4;
}

bool ordersByCount(AVCodecID codec)
{
    return codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC;
}

} // namespace

bool DisplayOrder::Later::operator()(const Waiting &left, const Waiting &right) const
{
    return std::tie(left.epoch, left.value, left.entry.number) > std::tie(right.epoch, right.value, right.entry.number);
}

DisplayOrder::DisplayOrder(const AVStream &stream, bool byHeaders)
    : m_bByHeaders(byHeaders), m_codec(stream.codecpar->codec_id)
{
    if (!byHeaders || (!ordersByType(m_codec) && !ordersByCount(m_codec))) {
        return;
    }
    m_pCodec.reset(avcodec_alloc_context3(nullptr));
    if (!m_pCodec || avcodec_parameters_to_context(m_pCodec.get(), stream.codecpar) < 0) {
        throw OpenFailure{Error::Resources};
    }
    m_pParser.reset(av_parser_init(m_codec));
    if (m_pParser) {
        m_pParser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
    }
}

DisplayOrder::~DisplayOrder() = default;

void DisplayOrder::add(const Entry &entry, const AVPacket &packet)
{
    if (m_bByHeaders) {
        addByHeader(entry, packet);
    } else {
        addByStamp(entry);
    }
}

void DisplayOrder::addByStamp(const Entry &entry)
{
    // One without a stamp among others that have one follows what was known to come last.
    m_nHighest = entry.stamp ? std::max(m_nHighest, *entry.stamp) : av_sat_add64(m_nHighest, 1);
    push(entry.stamp.value_or(m_nHighest), entry);
}

void DisplayOrder::addByHeader(const Entry &entry, const AVPacket &packet)
{
    if (!m_pParser) {
        push(entry.number, entry);
        return;
    }
    std::uint8_t *pOut = nullptr;
    int size = 0;
    av_parser_parse2(m_pParser.get(), m_pCodec.get(), &pOut, &size, packet.data, packet.size, packet.pts, packet.dts,
                     packet.pos);
    if (ordersByCount(m_codec)) {
        addByCount(entry, m_pParser->output_picture_number, m_pParser->key_frame == 1 || entry.key);
    } else {
        addByType(entry, m_bNextIsB ? AV_PICTURE_TYPE_B : m_pParser->pict_type);
        m_bNextIsB = m_codec == AV_CODEC_ID_MPEG4 && isNextPacked(packet, m_bNextIsB);
    }
}

void DisplayOrder::addByCount(const Entry &entry, std::int64_t count, bool key)
{
    // A key picture is shown after everything that was decoded ahead of it, so that a lower count is a new beginning.
    if (key && count <= m_nHighest) {
        ++m_nEpoch;
        m_nHighest = count;
    }
    m_nHighest = std::max(m_nHighest, count);
    push(count, entry);
}

void DisplayOrder::addByType(const Entry &entry, int type)
{
    if (type == AV_PICTURE_TYPE_B) {
        push(m_nShown++, entry);
        return;
    }
    if (m_anchor) {
        push(m_nShown++, *m_anchor);
    }
    m_anchor = entry;
}

void DisplayOrder::push(std::int64_t value, const Entry &entry)
{
    m_waiting.push({m_nEpoch, value, entry});
}

void DisplayOrder::end()
{
    if (m_anchor) {
        push(m_nShown++, *m_anchor);
        m_anchor.reset();
    }
    m_bEnded = true;
}

std::optional<DisplayOrder::Entry> DisplayOrder::take()
{
    if (m_waiting.empty() || (!m_bEnded && m_waiting.size() <= kMostReordered)) {
        return std::nullopt;
    }
    const Entry entry = m_waiting.top().entry;
    m_waiting.pop();
    return entry;
}

} // namespace player
