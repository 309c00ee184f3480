#ifndef PLAYER_PICTUREDECODER_H
#define PLAYER_PICTUREDECODER_H

#include "player/src/core/Picture.h"
#include "player/src/file/FileCodec.h"
#include "player/src/file/FileIndex.h"
#include "player/src/file/FileReader.h"
#include "player/src/file/FrameStamps.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace player
{

/**
 * Decodes what is read, and says of each picture which one it is. Pictures that need what was not read are left out.
 *
 * Threads: one.
 * Owns:    the decoder. Borrows the reader.
 * Units:   ticks of the picture stream; times in microseconds from the first picture.
 * Errors:  open() throws OpenFailure; afterwards damage costs pictures and nothing else.
 */
class PictureDecoder
{
public:
    explicit PictureDecoder(FileReader &reader) : m_reader(reader) {}
    ~PictureDecoder();
    PictureDecoder(const PictureDecoder &) = delete;
    PictureDecoder &operator=(const PictureDecoder &) = delete;

    /** `threads`: from a coded picture's width and height. */
    void open(const std::function<DecoderThreads(int, int)> &threads);
    /** Somebody waits, or does so no more; see DecoderThreads. */
    void setHurried(bool hurried)
    {
        m_codec.setHurried(hurried);
    }
    /** That decode at the moment. */
    [[nodiscard]] int threads() const
    {
        return m_codec.threads();
    }
    /** The first picture that can be decoded, within a bound; empty where there is none. Throws OpenFailure. */
    Picture decodeFirst();
    /** The packet that it came of. */
    [[nodiscard]] std::int64_t firstNumber() const
    {
        return m_nFirstNumber;
    }
    [[nodiscard]] std::optional<std::int64_t> firstTick() const
    {
        return m_stamps.firstTick();
    }
    /** What a picture lasts where nothing tells. */
    [[nodiscard]] std::int64_t nominalDuration() const;
    /** What is known of every picture from now on, as far as it has grown. */
    void setIndex(std::shared_ptr<const FileIndex> pIndex)
    {
        m_pIndex = std::move(pIndex);
    }

    /** The next picture; empty at the end. */
    Picture decode();
    /** The next packet; false at the end. */
    bool feed();
    /** What is read next does not continue what was read before; with `atKey` it begins at the next key picture. */
    void restart(bool atKey);
    /** After a restart: where the key picture was found that decoding began at; AV_NOPTS_VALUE where nobody tells. */
    [[nodiscard]] std::int64_t keyStamp() const
    {
        return m_nKeyStamp;
    }
    [[nodiscard]] bool isDrained() const
    {
        return m_bDrained;
    }

    /** Pictures in front of that one that no other needs are not decoded. */
    void setNeededFrom(std::int64_t ordinal)
    {
        m_nNeededFrom = ordinal;
    }
    /** Leaves out pictures on which no other depends. */
    void leaveOutUnneeded(bool leaveOut);
    /** Pictures were left out in front of the next one. */
    [[nodiscard]] bool isAfterGap() const
    {
        return m_bAfterGap;
    }
    /** Goes on at a later key picture, if there is one up to a time; false where it goes on as before. */
    bool hurryTo(std::int64_t time, std::int64_t tick);

private:
    using Companion = FrameStamps::Companion;

    [[nodiscard]] std::optional<FileIndex::Place> placeOf(const std::optional<std::int64_t> &number) const;
    void send(CodedPicture &coded);
    [[nodiscard]] bool mayChangeAt(const CodedPicture &coded) const;
    void goOnInOther();
    bool isToBeFed(const CodedPicture &coded);
    [[nodiscard]] std::int64_t stampOf(const AVFrame &frame, const Companion &companion);
    [[nodiscard]] bool isUseless(const Companion &companion, std::int64_t stamp);
    Picture stamped(FramePtr pFrame, const Companion &companion, std::int64_t stamp);
    [[nodiscard]] std::int64_t durationOf(const AVFrame &frame) const;

    FileReader &m_reader;
    FileCodec m_codec;
    /** The first one for the other decoder, which waits until this one has given its last. */
    std::optional<CodedPicture> m_heldBack;
    FrameStamps m_stamps;
    std::shared_ptr<const FileIndex> m_pIndex;
    std::int64_t m_nFirstNumber = 0;

    std::int64_t m_nNeededFrom = 0;
    bool m_bLeaveOut = false;
    /** Its packets have been seen to hold several pictures; see isNextPacked(). */
    bool m_bPacked = false;
    bool m_bDrained = false;
    bool m_bAfterGap = false;
    bool m_bWaitForKey = false;
    /** While waiting: none ahead of that tick, or of that packet, will do. */
    std::optional<std::int64_t> m_keyNotBefore;
    std::optional<std::int64_t> m_keyNumber;
    /** After a seek nothing can be counted from: pictures without a time of their own are of no use. */
    bool m_bWaitForTime = false;
    /** The first key packet after a seek: pictures shown before it may lack what they refer to. */
    std::optional<std::uint64_t> m_keySerial;
    std::int64_t m_nKeyStamp = AV_NOPTS_VALUE;
    /** Longest distance of key pictures so far, in ticks, and the last one seen. */
    std::int64_t m_nKeyDistance = 0;
    std::optional<std::int64_t> m_latestKeyTick;
};

} // namespace player

#endif
