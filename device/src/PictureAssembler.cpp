#include "device/src/PictureAssembler.h"

#include "device/src/UnitScanner.h"

#include <utility>

namespace selvik
{

namespace
{

constexpr std::size_t kMaxPicture = 16 << 20;
constexpr int kMaxUnits = 4096;
/** Units that may stand before a picture. They are looked through for one with each that comes. */
constexpr int kMaxOpening = 128;

} // namespace

PictureAssembler::PictureAssembler(const AVCodecParameters &parameters) : m_codec(parameters.codec_id)
{
    if (hasParameterSets(m_codec) && parameters.extradata_size > 0) {
        visitUnits({parameters.extradata, static_cast<std::size_t>(parameters.extradata_size)}, Leading::IsNothing,
                   [this](ByteView unit) { readSequence(unit); });
    }
}

void PictureAssembler::readSequence(ByteView unit)
{
    constexpr int kSequence = 7;
    if (m_codec == AV_CODEC_ID_H264 && (unit.pData[0] & 0x1F) == kSequence) {
        if (const std::optional<H264Sequence> sequence = readH264Sequence(unit)) {
            m_sequence = sequence;
        }
    }
}

void PictureAssembler::begin(ByteView head)
{
    const UnitHead unit = headOf(m_codec, head);
    const bool bNewTime = m_nTicks != m_nUnitTicks;
    m_bSkipping = false;
    switch (unit.role) {
    case UnitRole::Nothing:
        m_bSkipping = true;
        return;
    case UnitRole::Closing:
        // Behind the end of its picture it is too late, and it must not go before the next one.
        m_bSkipping = m_nSlices == 0;
        if (m_bSkipping) {
            return;
        }
        break;
    case UnitRole::Opening:
        beginOpening(head, unit.bParameterSet, bNewTime);
        break;
    case UnitRole::Slice:
        beginSlice(unit.bFirst, head, bNewTime);
        break;
    case UnitRole::Opaque:
        beginOpaque(unit.bFirst, bNewTime);
        break;
    }
    m_nUnitTicks = m_nTicks;
    if (m_nSlices == 0 && m_nUnits >= kMaxOpening) {
        // The picture that they belong to does not come.
        m_bytes.clear();
        m_nUnits = 0;
    }
    if (++m_nUnits > kMaxUnits) {
        m_bIncomplete = true;
        m_bSkipping = true;
        return;
    }
    if (unit.role != UnitRole::Opaque) {
        static constexpr std::uint8_t kStartCode[] = {0, 0, 0, 1};
        append({kStartCode, sizeof kStartCode});
    }
}

void PictureAssembler::beginOpening(ByteView head, bool bParameterSet, bool bNewTime)
{
    if (bNewTime && hasPicture()) {
        m_nTail = kNone;
        finish();
    } else if (m_nSlices > 0) {
        // Some cameras repeat parameter sets between the slices of a picture: the next slice decides.
        m_nTail = m_nTail == kNone ? m_bytes.size() : m_nTail;
    } else if (bNewTime) {
        dropLateMessages();
    }
    if (bParameterSet) {
        m_bParameterSets = true;
        readSequence(head);
    }
}

void PictureAssembler::beginSlice(bool bFirst, ByteView head, bool bNewTime)
{
    const bool bBegins = bFirst && !isSecondField(head);
    if (m_nSlices > 0) {
        if (bBegins || (bNewTime && m_bMarkerBefore)) {
            finish();
        } else {
            m_nTail = kNone;
        }
    } else if (bNewTime && hasPicture()) {
        finish();
    } else if (bNewTime) {
        dropLateMessages();
    }
    if (m_nSlices == 0) {
        m_nPictureTicks = m_nTicks;
        m_bPaired = false;
        m_field = m_sequence && !m_sequence->bFramesOnly ? readH264Field(head, *m_sequence) : std::nullopt;
        if (!bFirst) {
            // The beginning of this picture has gone out with a marker of its own, or it never came.
            m_bMarkerTrusted = m_bMarkerTrusted && !m_bEndedByMarker;
            m_bIncomplete = true;
            m_bTorn = true;
        }
    }
    m_bEndedByMarker = false;
    ++m_nSlices;
}

bool PictureAssembler::isSecondField(ByteView head)
{
    if (m_nSlices == 0 || !m_field || !m_field->bField || m_bPaired) {
        return false;
    }
    const std::optional<H264Field> field = readH264Field(head, *m_sequence);
    m_bPaired = field && field->bField && field->bBottom != m_field->bBottom && field->nFrame == m_field->nFrame;
    return m_bPaired;
}

void PictureAssembler::beginOpaque(bool bMayBegin, bool bNewTime)
{
    if (bNewTime && m_nSlices > 0) {
        finish();
    }
    if (m_nSlices == 0) {
        m_nPictureTicks = m_nTicks;
        if (m_bEndedByMarker && !bMayBegin && m_nTicks == m_nLastTicks) {
            m_bMarkerTrusted = false;
            m_bIncomplete = true;
            m_bTorn = true;
        }
    }
    m_bEndedByMarker = false;
    ++m_nSlices;
}

void PictureAssembler::append(ByteView bytes)
{
    if (m_bSkipping) {
        return;
    }
    if (m_bytes.size() + bytes.size > kMaxPicture) {
        m_bytes.clear();
        m_nTail = kNone;
        m_bIncomplete = true;
        m_bSkipping = true;
        return;
    }
    m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
}

bool PictureAssembler::hasPicture() const
{
    // Where a whole picture was sent in the fragments of one unit, its slices were not seen one by one.
    return m_nSlices > 0 || (!m_bytes.empty() && containsPicture(m_codec, {m_bytes.data(), m_bytes.size()}));
}

void PictureAssembler::endPacket(bool bMarker, bool bInsideUnit)
{
    m_bMarkerBefore = bMarker;
    if (!bMarker) {
        return;
    }
    if (bInsideUnit) {
        // This camera sets the marker inside pictures. From now on only the next one's beginning ends a picture.
        m_bMarkerTrusted = false;
        return;
    }
    const bool bHalf = m_field && m_field->bField && !m_bPaired;
    if (m_bMarkerTrusted && !bHalf && hasPicture()) {
        if (m_nSlices == 0) {
            m_nPictureTicks = m_nTicks;
        }
        finish();
        m_bEndedByMarker = true;
    }
}

void PictureAssembler::finish()
{
    Bytes rest;
    if (m_nTail != kNone) {
        rest.assign(m_bytes.begin() + static_cast<std::ptrdiff_t>(m_nTail), m_bytes.end());
        m_bytes.resize(m_nTail);
    }
    if (m_bIncomplete) {
        m_bTorn = true;
    } else if (!m_bytes.empty()) {
        m_ready.push_back({std::move(m_bytes), m_nSlices > 0 ? m_nPictureTicks : m_nUnitTicks, takeTorn()});
    }
    m_nLastTicks = m_nSlices > 0 ? m_nPictureTicks : m_nUnitTicks;
    m_bytes = std::move(rest);
    m_nTail = kNone;
    m_nSlices = 0;
    m_nUnits = 0;
    m_bParameterSets = m_bParameterSets && !m_bytes.empty();
    m_bIncomplete = false;
    m_bEndedByMarker = false;
    m_field.reset();
}

void PictureAssembler::dropLateMessages()
{
    // They came behind the marker of the picture that they belong to. Parameter sets are worth keeping.
    if (m_nSlices == 0 && !m_bParameterSets && m_nUnitTicks == m_nLastTicks) {
        m_bytes.clear();
    }
}

void PictureAssembler::lose()
{
    m_bytes.clear();
    m_nTail = kNone;
    m_nSlices = 0;
    m_nUnits = 0;
    m_bParameterSets = false;
    m_bIncomplete = false;
    m_bSkipping = true;
    m_bEndedByMarker = false;
    m_bMarkerBefore = false;
    m_field.reset();
}

} // namespace selvik
