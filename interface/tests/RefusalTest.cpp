// What the log says of refused calls beside the rows of contract/: one warning each, behind what the call says anyway.

#include "interface/tests/PreviewFixture.h"

using testing::ElementsAre;

namespace
{

void onFileEnd(long) {}

class RefusalTest : public PreviewFixture
{
protected:
    [[nodiscard]] std::size_t warnings() const
    {
        return callsWith(m_log.texts(), "WARN ").size();
    }
};

TEST_F(RefusalTest, NamesARuleNumberThatCannotBeOneBehindItsErrorLine)
{
    EXPECT_EQ(PELLORA_DestroyRule(m_lHandle, 300, -1), 0);

    EXPECT_THAT(m_log.texts(),
                ElementsAre("INFO PELLORA_DestroyRule: lHandle: 0, lSubHandel: -1, lRuleID: 300",
                            "ERROR handle wrong: 300", "WARN PELLORA_DestroyRule: pane 0 of window 0 has no rule 300"));
}

/** Lets a test take a widget's native window away. */
class NativeWindowAway : public QWidget
{
public:
    static void take(QWidget *pWidget)
    {
        (pWidget->*(&NativeWindowAway::destroy))(true, true);
    }
};

TEST_F(RefusalTest, CutsNoHolesIntoAVideoWithoutANativeWindow)
{
    NativeWindowAway::take(videoWindows().front());
    m_log.clear();
    const char *const kSignature = "int __cdecl PELLORA_SetClipArea(long,struct tagPELLORA_CLIP_AREA *)";
    // The window is asked for before the record is looked at, of which none can be read here.
    const auto *const pUnreadable = reinterpret_cast<const tagPELLORA_CLIP_AREA *>(8);
    tagPELLORA_CLIP_AREA area = {{{10, 10, 60, 40}, {}, {}, {}}, {0, 0, 0, 0}, 1};

    for (const tagPELLORA_CLIP_AREA *pArea : {pUnreadable, static_cast<const tagPELLORA_CLIP_AREA *>(&area)}) {
        EXPECT_EQ(PELLORA_SetClipArea(m_lHandle, pArea), 0);
    }

    EXPECT_THAT(m_log.lines(), ElementsAre(IsRefusal("window 0 has no native window", kSignature),
                                           IsRefusal("window 0 has no native window", kSignature)));
}

TEST_F(RefusalTest, SaysThatAStartIsUnderWay)
{
    doubles::hold("SELVIK_DCM_StartPreview");
    EXPECT_EQ(PELLORA_PreviewStream(m_lHandle, previewParam()), 1);
    ASSERT_TRUE(untilHeld("SELVIK_DCM_StartPreview"));
    m_log.clear();

    EXPECT_EQ(PELLORA_PreviewStream(m_lHandle, previewParam()), 0);
    EXPECT_THAT(m_log.lines().back(),
                IsRefusal("a start is under way in pane 0 of window 0",
                          "int __cdecl PELLORA_PreviewStream(long,struct tagPELLORA_PREVIEW_PARAM)"));

    m_log.clear();
    EXPECT_EQ(PELLORA_BatchPreviewStream(m_lHandle, batchOf(1), nullptr), 1);
    EXPECT_EQ(m_log.texts().back(), "WARN batch request 0 is refused: a start is under way in pane 0 of window 0");
    EXPECT_EQ(warnings(), 1U);
    doubles::letAllThrough();
    EXPECT_TRUE(until([this] { return m_notices.at(0)->count() == 1; }));
}

/** Starts a file that the player cannot open: the port keeps the number of what was freed until it is stopped. */
void failToOpen(long lHandle)
{
    std::string path = "a.mkv";
    doubles::script("Kavun_OpenFile", {4});
    EXPECT_EQ(PELLORA_PreviewFile(lHandle, path.data(), 0, 0), 0);
}

TEST_F(RefusalTest, StopsAFileThatFailedWithTheLinesOfItsStopAndThenWithNone)
{
    const Texts lines = {"ERROR Kavun_RegisterDrawFun error: 1.",    "ERROR Kavun_SetFileEndCallback error: 1.",
                         "ERROR Kavun_SetFileRefCallBack error: 1.", "WARN Kavun_Stop error: 1.",
                         "WARN Kavun_CloseFile error: 1.",           "WARN Kavun_FreePort error: 1."};
    failToOpen(m_lHandle);
    m_log.clear();

    PELLORA_StopPreviewFile(m_lHandle);
    EXPECT_EQ(m_log.texts(), Texts{"INFO PELLORA_StopPreviewFile: lHandle: 0"} + lines);

    m_log.clear();
    PELLORA_StopPreviewFile(m_lHandle);
    EXPECT_EQ(m_log.texts(), Texts{"INFO PELLORA_StopPreviewFile: lHandle: 0"});
}

TEST_F(RefusalTest, LeavesTheReasonOfACommandOnAFailedFileToThePlayer)
{
    failToOpen(m_lHandle);
    m_log.clear();

    EXPECT_EQ(PELLORA_Pause(m_lHandle), 0);

    EXPECT_THAT(m_log.texts(), ElementsAre("INFO PELLORA_Pause: lHandle: 0", "ERROR Kavun_Pause error: 1."));
}

TEST_F(RefusalTest, WarnsOfNoCallbackThatIsKeptForTheNextFile)
{
    EXPECT_EQ(PELLORA_SetFileEndCallback(m_lHandle, &onFileEnd), 0UL);

    EXPECT_EQ(warnings(), 0U);
}

TEST_F(RefusalTest, WarnsEachTimeThatACommandIsRefused)
{
    for (int i = 0; i < 3; ++i) {
        PELLORA_Pause(m_lHandle);
    }

    EXPECT_EQ(warnings(), 3U);
}

TEST_F(RefusalTest, LimitsTheWarningsOfAHostThatAsksOfAllKindsOfRules)
{
    tagPELLORA_RECT coordinates{};
    for (long lRuleID = 100; lRuleID < 300; ++lRuleID) {
        PELLORA_GetRuleCoord(m_lHandle, lRuleID, &coordinates, 0);
    }

    EXPECT_EQ(warnings(), 64U);
}

} // namespace
