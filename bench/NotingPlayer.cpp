#include "bench/NotingPlayer.h"

#include "Kavun.h"
#include "tests/cameras/CameraBed.h"
#include "tests/support/BarCode.h"

#include <cstddef>
#include <cstdint>
#include <utility>

namespace bench
{

NotingPlayer::~NotingPlayer()
{
    SELVIK_DCM_StopPreview(m_lPreview);
    Kavun_FreePort(m_lPort);
    SELVIK_DCM_Logout(m_lLogin);
}

bool NotingPlayer::start(const std::string &address)
{
    m_lLogin = SELVIK_DCM_Login(address.c_str(), "", "");
    SELVIK_DCM_PREVIEW_INFO info{};
    info.channel = 1;
    info.word16 = 1;
    info.callback = &NotingPlayer::onStream;
    info.user = this;
    m_lPreview = SELVIK_DCM_StartPreview(m_lLogin, &info);
    return m_lPreview >= 0;
}

std::map<int, NotingPlayer::Clock::time_point> NotingPlayer::presented() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_presented;
}

void NotingPlayer::onStream(long, const SELVIK_DCM_STREAM_DATA *pData, void *pUser)
{
    auto *pSelf = static_cast<NotingPlayer *>(pUser);
    if (pData->type == SELVIK_STREAM_DATA) {
        Kavun_InputData(pSelf->m_lPort, pData->bytes, pData->length);
        return;
    }
    Kavun_GetPort(&pSelf->m_lPort);
    Kavun_SetStreamOpenMode(pSelf->m_lPort, KAVUN_MODE_REAL_TIME);
    Kavun_OpenStream(pSelf->m_lPort, pData->bytes, pData->length, 0x500000);
    Kavun_RegisterDrawFun(pSelf->m_lPort, &NotingPlayer::onDraw, pSelf);
    Kavun_Play(pSelf->m_lPort, pSelf->m_hWnd);
}

void NotingPlayer::onDraw(long, HDC hDc, void *pUser)
{
    const auto now = Clock::now();
    DIBSECTION section{};
    if (GetObjectW(GetCurrentObject(hDc, OBJ_BITMAP), sizeof(section), &section) != sizeof(section)) {
        return;
    }
    GdiFlush();
    const int nWidth = section.dsBm.bmWidth;
    const int nHeight = section.dsBm.bmHeight;
    const bool bBottomUp = section.dsBmih.biHeight > 0;
    const auto *pFirst = static_cast<const std::uint8_t *>(section.dsBm.bmBits);
    const std::ptrdiff_t nStride = section.dsBm.bmWidthBytes;
    const auto number = bBottomUp
                            ? testsupport::readBarCode(pFirst + (nHeight - 1) * nStride, -nStride, nWidth, nHeight)
                            : testsupport::readBarCode(pFirst, nStride, nWidth, nHeight);
    if (number) {
        static_cast<NotingPlayer *>(pUser)->note(*number % cameras::kPicturesPerCamera, now);
    }
}

void NotingPlayer::note(int nNumber, Clock::time_point when)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_presented.emplace(nNumber, when);
    // The same picture is drawn anew now and then.
    if (nNumber != m_nLast && m_nRound > 0) {
        ++m_tally.nShown;
        m_tally.nDropped += m_nLast < 0 ? 0 : (nNumber - m_nLast + m_nRound) % m_nRound - 1;
    }
    m_nLast = nNumber;
}

NotingPlayer::Tally NotingPlayer::takeTally()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::exchange(m_tally, {});
}

} // namespace bench
