#ifndef DEVICE_PICTUREENTRY_H
#define DEVICE_PICTUREENTRY_H

#include "device/src/CodedPicture.h"
#include "device/src/TimeSource.h"

#include <optional>

namespace selvik
{

/**
 * Decides at which picture the decoding of a stream can begin, at first and after a loss.
 *
 * Best is a key picture, or a recovery point once the parameter sets are known. Streams that have neither are begun
 * with a picture that needs no other one, after a second; and a stream that has not even those, since it is refreshed
 * piece by piece, with any picture after four seconds. Pictures behind the key picture that are made of older ones are
 * left out: a decoder that was not told of the loss would make the older ones up.
 *
 * Threads: one.
 */
class PictureEntry
{
public:
    enum class Answer {
        Key,    /**< hand it on as a key picture */
        Other,  /**< hand it on */
        LeftOut /**< its decoding needs what was lost */
    };

    /** The description has parameter sets. */
    void knowSets()
    {
        m_bSetsKnown = true;
    }
    void lose()
    {
        // Further losses do not begin the waiting anew: on a bad line it would never end.
        m_bDamaged = m_bEntered;
    }
    [[nodiscard]] Answer judge(const PictureFacts &facts, Clock::time_point arrival)
    {
        m_bSetsKnown = m_bSetsKnown || !facts.parameterSets.empty();
        if (facts.bLeading && m_bLeadingLost) {
            return Answer::LeftOut;
        }
        const bool bBest = facts.bKey || (facts.bRecoveryPoint && m_bSetsKnown);
        m_bBestSeen = m_bBestSeen || bBest;
        m_bIntraServes = m_bIntraServes && !bBest;
        if (bBest || (facts.bIntra && m_bIntraServes) || isPatienceOver(facts, arrival)) {
            m_bLeadingLost = !m_bEntered || m_bDamaged;
            m_bEntered = true;
            m_bDamaged = false;
            m_waitingSince.reset();
            return Answer::Key;
        }
        // Before the first entry nothing has been handed on that could be spoilt. The header may need such a picture.
        return m_bDamaged ? Answer::LeftOut : Answer::Other;
    }

private:
    static constexpr Milliseconds kPatience{1000};
    static constexpr Milliseconds kLongPatience{4000};

    [[nodiscard]] bool isPatienceOver(const PictureFacts &facts, Clock::time_point arrival)
    {
        if (m_bEntered && !m_bDamaged) {
            return false;
        }
        m_waitingSince = m_waitingSince.value_or(arrival);
        const auto waited = arrival - *m_waitingSince;
        if (facts.bIntra && waited >= kPatience) {
            m_bIntraServes = true;
            return true;
        }
        return !m_bBestSeen && waited >= kLongPatience;
    }

    bool m_bSetsKnown = false;
    bool m_bEntered = false;
    bool m_bDamaged = false;     /**< something was lost since the entry */
    bool m_bLeadingLost = false; /**< pictures that are made of ones before the entry cannot be decoded */
    bool m_bBestSeen = false;    /**< the camera sends key pictures or recovery points */
    bool m_bIntraServes = false; /**< it sends none, but pictures that need no other one */
    std::optional<Clock::time_point> m_waitingSince;
};

} // namespace selvik

#endif
