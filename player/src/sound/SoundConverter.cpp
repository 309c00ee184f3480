#include "player/src/sound/SoundConverter.h"

#include <algorithm>
#include <cstdlib>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

namespace player
{

namespace
{

constexpr std::int64_t kSecond = 1000000;
constexpr int kLeastRate = 4000;
constexpr int kMostRate = 384000;
constexpr int kMostChannels = 64;
constexpr int kMostStretch = 30000;
/** Times that are off by less are a matter of the container's rounding; the samples themselves go on. */
constexpr std::int64_t kRounding = 30000;

AVChannelLayout layoutOf(const SoundFormat &format)
{
    AVChannelLayout layout{};
    if (format.speakers == 0 || av_channel_layout_from_mask(&layout, format.speakers) < 0 ||
        layout.nb_channels != format.channels) {
        av_channel_layout_default(&layout, format.channels);
    }
    return layout;
}

} // namespace

SoundConverter::~SoundConverter()
{
    av_channel_layout_uninit(&m_layout);
}

bool SoundConverter::matches(const AVFrame &frame) const
{
    return m_pResampler && frame.sample_rate == m_nRate && frame.format == m_nSampleFormat &&
           av_channel_layout_compare(&frame.ch_layout, &m_layout) == 0;
}

bool SoundConverter::open(const AVFrame &frame)
{
    flush();
    m_pResampler.reset();
    if (frame.sample_rate < kLeastRate || frame.sample_rate > kMostRate || frame.ch_layout.nb_channels < 1 ||
        frame.ch_layout.nb_channels > kMostChannels) {
        return false;
    }
    AVChannelLayout in{};
    // Where only their number is known, the channels have their usual places.
    if (frame.ch_layout.order == AV_CHANNEL_ORDER_UNSPEC) {
        av_channel_layout_default(&in, frame.ch_layout.nb_channels);
    } else {
        av_channel_layout_copy(&in, &frame.ch_layout);
    }
    AVChannelLayout out = layoutOf(m_format);
    SwrContext *pResampler = nullptr;
    swr_alloc_set_opts2(&pResampler, &out, AV_SAMPLE_FMT_FLT, m_format.rate, &in,
                        static_cast<AVSampleFormat>(frame.format), frame.sample_rate, 0, nullptr);
    const bool bMono = in.nb_channels == 1;
    av_channel_layout_uninit(&in);
    av_channel_layout_uninit(&out);
    m_pResampler.reset(pResampler);
    // Without it, equal rates would be copied, and the first stretching would begin with a jump.
    // Nor are channels that are mixed to be louder together than a device can play.
    if (!pResampler || av_opt_set_int(pResampler, "flags", SWR_FLAG_RESAMPLE, 0) < 0 ||
        av_opt_set_double(pResampler, "rematrix_maxval", 1.0, 0) < 0 || (bMono && !spreadMono()) ||
        swr_init(pResampler) < 0) {
        m_pResampler.reset();
        return false;
    }
    m_nRate = frame.sample_rate;
    m_nSampleFormat = frame.format;
    av_channel_layout_uninit(&m_layout);
    av_channel_layout_copy(&m_layout, &frame.ch_layout);
    return true;
}

bool SoundConverter::spreadMono()
{
    // FFmpeg would share the loudness out between two loudspeakers.
    std::vector<double> matrix(static_cast<std::size_t>(m_format.channels), 0.0);
    matrix[0] = 1.0;
    if (m_format.channels > 1) {
        matrix[1] = 1.0;
    }
    return swr_set_matrix(m_pResampler.get(), matrix.data(), 1) >= 0;
}

void SoundConverter::follow(const AVFrame &frame)
{
    if (frame.pts == AV_NOPTS_VALUE) {
        return;
    }
    if (m_bFollows && std::abs(frame.pts - m_nFedUpTo) > kRounding) {
        // What the resampler still holds belongs to the other side of the gap.
        flush();
    }
    m_nFedUpTo = frame.pts;
}

SoundChunk SoundConverter::convert(const AVFrame &frame)
{
    SoundChunk chunk;
    if (frame.nb_samples <= 0 || (!matches(frame) && !open(frame))) {
        return chunk;
    }
    follow(frame);
    chunk.time = m_nFedUpTo - swr_get_delay(m_pResampler.get(), kSecond);
    swr_set_compensation(m_pResampler.get(), static_cast<int>(std::int64_t{m_format.rate} * m_nStretch / kSecond),
                         m_format.rate);
    const int most = swr_get_out_samples(m_pResampler.get(), frame.nb_samples);
    const auto channels = static_cast<std::size_t>(m_format.channels);
    chunk.samples.resize(static_cast<std::size_t>(std::max(most, 0)) * channels);
    auto *pOut = reinterpret_cast<std::uint8_t *>(chunk.samples.data());
    const int count = swr_convert(m_pResampler.get(), &pOut, most,
                                  const_cast<const std::uint8_t **>(frame.extended_data), frame.nb_samples);
    chunk.samples.resize(static_cast<std::size_t>(std::max(count, 0)) * channels);
    m_nFedUpTo += std::int64_t{frame.nb_samples} * kSecond / frame.sample_rate;
    m_bFollows = true;
    return chunk;
}

void SoundConverter::stretch(int parts)
{
    m_nStretch = std::clamp(parts, -kMostStretch, kMostStretch);
}

void SoundConverter::flush()
{
    if (m_pResampler && m_bFollows) {
        // Begins anew with the settings that it has.
        swr_close(m_pResampler.get());
        swr_init(m_pResampler.get());
    }
    m_bFollows = false;
}

} // namespace player
