#ifndef PLAYER_FILECODEC_H
#define PLAYER_FILECODEC_H

#include "player/src/core/DecoderThreads.h"
#include "player/src/core/Ffmpeg.h"

#include <cstdint>
#include <vector>

namespace player
{

/**
 * A file's decoder, in one of two shapes: for playing, and for where somebody waits. See DecoderThreads.
 *
 * Which one decodes can change where decoding begins anew, after restart(), and, with change(), between a picture that
 * needs none before it and those before it, once these have all been received.
 *
 * Threads: one.
 * Owns:    one decoder, or two once the second has been wanted.
 * Errors:  open() throws OpenFailure. Where there is no memory for the second decoder the first goes on.
 */
class FileCodec
{
public:
    /** Borrows the stream. */
    void open(const AVStream &stream, DecoderThreads threads);
    /** From where it can change on. */
    void setHurried(bool hurried)
    {
        m_bHurried = hurried;
    }
    [[nodiscard]] bool wantsChange() const
    {
        return m_nDecoding != wanted();
    }
    /** What it holds is thrown away; the other one may go on. */
    void restart();
    /** The other one goes on; this one has been drained. */
    void change();

    /** Null: nothing follows. The answers of FFmpeg's functions. */
    int send(AVPacket *pPacket);
    int receive(AVFrame &frame);

    [[nodiscard]] AVRational frameRate() const
    {
        return m_codecs[m_nDecoding]->framerate;
    }
    [[nodiscard]] int threads() const
    {
        return m_codecs[m_nDecoding]->thread_count;
    }
    /** Pictures that it may hold back at most. */
    [[nodiscard]] int delay() const
    {
        return m_codecs[m_nDecoding]->has_b_frames + m_codecs[m_nDecoding]->thread_count;
    }
    /** Pictures on which no other depends are not decoded. */
    void leaveOutUnneeded(bool leaveOut)
    {
        m_codecs[m_nDecoding]->skip_frame = leaveOut ? AVDISCARD_NONREF : AVDISCARD_DEFAULT;
    }

private:
    enum { Playing, Hurried };

    [[nodiscard]] int wanted() const
    {
        return m_bHurried && m_threads.hurried != m_threads.playing ? Hurried : Playing;
    }
    [[nodiscard]] CodecPtr openDecoder(int threads) const;
    void noteParameters(const AVPacket &packet);

    const AVStream *m_pStream = nullptr;
    DecoderThreads m_threads;
    bool m_bHurried = false;
    int m_nDecoding = Playing;
    CodecPtr m_codecs[2];
    /** The file's first one: there alone encoders say who they are, and FFmpeg decodes what some did wrong by that. */
    PacketPtr m_pFirst;
    /** What came with a packet, once, and holds from there on: the other decoder has not heard of it. */
    std::vector<std::uint8_t> m_parameters;
    bool m_bTellParameters = false;
};

} // namespace player

#endif
