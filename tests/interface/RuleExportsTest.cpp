#include "tests/VideoWindow/RuleReports.h"
#include "tests/interface/PelloraFixture.h"

#include <cstdio>

namespace
{

class RuleMouseTest : public PelloraFixture
{
};

TEST_F(RuleMouseTest, Probe)
{
    const long h = createWindow();
    for (auto &t : m_log.texts()) std::printf("%s\n", t.c_str());
    playFile(h);
    for (int n : {1, 1002, 1004, 1000}) {
        if (n > 1)
            PELLORA_SetGeometry(h, 0, 0, n, n / 2);
        QWidget *pane = panesOf(videoWindows().front()).front();
        QWidget *label = childNamed(pane, "m_pLiveViewWnd");
        PELLORA_OpenDraw(h, -1);
        PELLORA_SetRuleCoordCallback(h, &rulereports::callback, -1);
        long id = PELLORA_CreateRule(h, 1, 0, 0, 0, nullptr, 0, -1);
        PostMessageW(nativeWindow(label), WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(label->width(), label->height()));
        support::pumpPosted();
        PostMessageW(nativeWindow(label), WM_LBUTTONUP, 0, MAKELPARAM(label->width(), label->height()));
        support::pumpPosted();
        std::printf("%d: label %d x %d at %d %d pane at %d %d\n", n, label->width(), label->height(), label->x(), label->y(), pane->x(), pane->y());
        for (auto &t : rulereports::take())
            std::printf("   %s\n", t.c_str());
        PELLORA_DestroyRule(h, id, -1);
    }
}

} // namespace
