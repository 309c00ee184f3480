// The exports without memory: a failure value or less service, and afterwards everything works.

#include "interface/tests/PelloraFixture.h"
#include "tests/soak/MemoryRuns.h"

namespace
{

class ExportMemory : public PelloraFixture
{
protected:
    static void SetUpTestSuite()
    {
        PelloraFixture::SetUpTestSuite();
        ASSERT_GT(soak::leadImportsHere(), 1);
    }

    static void leave()
    {
        for (long lHandle = 0; lHandle < 9; ++lHandle) {
            PELLORA_DestroyWindow(lHandle);
        }
        support::pumpPosted();
    }

    static void useRules(long lHandle)
    {
        char extension[] = "\4\0\1a caption that is longer than what a text holds without memory of its own";
        for (unsigned short wType = 1; wType <= 10; ++wType) {
            const long lRule = PELLORA_CreateRule(lHandle, wType, 255, 0, 0, extension, 15, -1);
            tagPELLORA_RULE_TEXT record{};
            PELLORA_GetRuleCoord(lHandle, lRule, &record, -1);
            PELLORA_SetRuleCoord(lHandle, lRule, &record, -1);
        }
    }

    static tagPELLORA_PREVIEW_PARAM camera()
    {
        tagPELLORA_PREVIEW_PARAM param{};
        param.userID = 7;
        param.lChannel = 1;
        param.openDraw = 1;
        return param;
    }

    /** A line by the mouse, and the overlay on a picture. */
    void drawByMouse(long lHandle)
    {
        PELLORA_SetRuleCoordCallback(
            lHandle, [](long, unsigned short, void *, unsigned char, long, long, unsigned long) {}, -1);
        PELLORA_CreateRule(lHandle, 2, 0, 0, 0, nullptr, 0, -1);
        const HWND hPicture = nativeWindow(childNamed(panesOf(videoWindows().front()).front(), "m_pLiveViewWnd"));
        PostMessageW(hPicture, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(20, 20));
        PostMessageW(hPicture, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(60, 40));
        PostMessageW(hPicture, WM_LBUTTONUP, 0, MAKELPARAM(60, 40));
        support::pumpPosted();
        for (const long lPort : doubles::openPorts()) {
            doubles::fireDraw(lPort, m_drawing.dc);
        }
    }

    void playCameras(long lHandle)
    {
        PELLORA_SetCurWnd(lHandle, 1);
        PELLORA_PreviewStream(lHandle, camera());
        // A start that failed opens none.
        static_cast<void>(support::pumpUntil([] { return !doubles::openPreviews().empty(); }, 50));
        for (const long lPreview : doubles::openPreviews()) {
            doubles::sendStream(lPreview, SELVIK_STREAM_HEADER, "header");
            doubles::sendStream(lPreview, SELVIK_STREAM_DATA, "data");
        }
        support::pumpPosted();
        tagPELLORA_BATCH_PREVIEW_PARAM batch{};
        batch.wNum = 4;
        for (int i = 0; i < 4; ++i) {
            batch.struPreviewParam[i] = camera();
            batch.struPreviewParam[i].url = m_file.data();
        }
        PELLORA_BatchPreviewStream(lHandle, batch, nullptr);
        PELLORA_BatchPreviewStream_Async(lHandle, batch, nullptr);
        PELLORA_StopAllPreviewStream(lHandle);
    }

    void moveAndSize(long lHandle)
    {
        MoveWindow(m_pHost->handle(), 10, 10, 500, 400, TRUE);
        support::pumpPosted();
        tagPELLORA_CLIP_AREA holes{};
        holes.wNum = 1;
        PELLORA_SetClipArea(lHandle, &holes);
        PELLORA_FullScreen(lHandle);
        PELLORA_NormalScreen(lHandle);
        PELLORA_SetGeometry(lHandle, 5, 5, 300, 200);
    }

    /** What a host does in a window. */
    void use(long lHandle)
    {
        PELLORA_SplitScreen(lHandle, 4);
        PELLORA_SetPreviewStatusCallback(lHandle, [](tagPELLORA_PREVIEW_STATUS) {});
        PELLORA_SetFileEndCallback(lHandle, [](long) {});
        PELLORA_PreviewFile(lHandle, m_file.data(), 1, 1);
        useRules(lHandle);
        unsigned char jpeg[64];
        unsigned long nWritten = 0;
        PELLORA_Capture(lHandle, jpeg, sizeof(jpeg), &nWritten);
        tagPELLORA_RECT region = {100, 100, 900, 900};
        PELLORA_SetDisplayRegion(lHandle, &region, -1);
        drawByMouse(lHandle);
        moveAndSize(lHandle);
        playCameras(lHandle);
    }

    /** The same with memory, from a clean start. */
    void expectEverything()
    {
        leave();
        doubles::clearCalls();
        m_log.clear();
        ASSERT_TRUE(support::pumpUntil([] { return doubles::openPreviews().empty() && doubles::openPorts().empty(); }));
        ASSERT_TRUE(support::pumpUntil([] { return videoWindows().empty(); }));
        ASSERT_EQ(createWindow(), 0);
        EXPECT_EQ(PELLORA_PreviewFile(0, m_file.data(), 0, 1), 1);
        EXPECT_EQ(PELLORA_CreateRule(0, 3, 0, 0, 0, nullptr, 0, 0), 0);
        EXPECT_EQ(PELLORA_SetCurWnd(0, 1), 1);
        EXPECT_EQ(PELLORA_PreviewStream(0, camera()), 1);
        EXPECT_TRUE(support::pumpUntil([] { return doubles::openPreviews().size() == 1; }));
        leave();
        EXPECT_TRUE(support::pumpUntil([] { return doubles::openPreviews().empty() && doubles::openPorts().empty(); }));
    }

    /** A bitmap of one pixel, which everything misses. */
    struct Drawing {
        Drawing() = default;
        ~Drawing()
        {
            DeleteDC(dc);
        }
        Drawing(const Drawing &) = delete;
        Drawing &operator=(const Drawing &) = delete;

        const HDC dc = CreateCompatibleDC(nullptr);
    };

    std::string m_file = "a.mkv";
    Drawing m_drawing;
};

TEST_F(ExportMemory, WindowsFailOrComeAndEverythingWorksAgain)
{
    soak::runOutOfMemory(
        [this] {
            PELLORA_DestroyWindow(createWindow());
            support::pumpPosted();
        },
        [this] { expectEverything(); });
}

TEST_F(ExportMemory, CallsFailOrDoLessAndEverythingWorksAgain)
{
    ASSERT_EQ(createWindow(), 0);
    soak::runOutOfMemory(
        [this] {
            use(0);
            PELLORA_DestroyWindow(0);
            support::pumpPosted();
        },
        [this] {
            expectEverything();
            ASSERT_EQ(createWindow(), 0);
        });
}

} // namespace
