#include "bench/Wall.h"

#include "Selvikdcm.h"
#include "interface/Pellora.h"
#include "tests/live/PaneScreen.h"

namespace bench
{

Wall::Wall(unsigned short wPanes) : m_host(1280, 720), m_lHandle(PELLORA_CreateWindow(m_host.handle(), 2))
{
    PELLORA_SplitScreen(m_lHandle, wPanes);
}

Wall::~Wall()
{
    PELLORA_DestroyWindow(m_lHandle);
    for (const long userID : m_logins) {
        SELVIK_DCM_Logout(userID);
    }
}

void Wall::start(const std::vector<std::string> &addresses)
{
    tagPELLORA_BATCH_PREVIEW_PARAM batch = {};
    for (const std::string &address : addresses) {
        tagPELLORA_PREVIEW_PARAM &param = batch.struPreviewParam[batch.wNum++];
        param.userID = SELVIK_DCM_Login(address.c_str(), "", "");
        param.lChannel = batch.wNum;
        m_logins.push_back(param.userID);
    }
    PELLORA_BatchPreviewStream(m_lHandle, batch, nullptr);
}

bool Wall::waitForPictures(int nPanes)
{
    const live::PaneScreen screen;
    for (int nPane = 0; nPane < nPanes; ++nPane) {
        if (!support::pumpUntil([&] { return screen.read(nPane).kind == live::PaneView::Kind::Whole; }, 30'000)) {
            return false;
        }
    }
    return true;
}

void Wall::pumpFor(double seconds)
{
    // Nothing is looked for meanwhile, so that the time that is measured is the library's and not this loop's.
    const ULONGLONG end = GetTickCount64() + static_cast<ULONGLONG>(seconds * 1000);
    for (ULONGLONG now = GetTickCount64(); now < end; now = GetTickCount64()) {
        MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(end - now), QS_ALLINPUT);
        support::pumpPosted();
    }
}

} // namespace bench
