#include "Drovel/tests/DrovelFixture.h"

#include <functional>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

void onPort(long, void *) {}

void onDraw(long, HDC, void *) {}

template <typename Function>
std::string address(Function *pFunction)
{
    char text[32];
    std::snprintf(text, sizeof(text), "0x%llX",
                  reinterpret_cast<unsigned long long>(reinterpret_cast<void *>(pFunction)));
    return text;
}

void *const kUser = reinterpret_cast<void *>(0x55);
unsigned char *const kBuffer = reinterpret_cast<unsigned char *>(0x70);

/** An operation that is one call of the player: what it calls and how its failure reads in the log. */
struct Operation {
    const char *name;
    std::function<bool(pellora::Drovel &)> run;
    std::string call;
    const char *function; /**< the player's */
    const char *signature;
};

void PrintTo(const Operation &operation, std::ostream *pStream)
{
    *pStream << operation.name;
}

/** Those that answer true or false. */
std::vector<Operation> switches()
{
    static KAVUN_SYSTEM_TIME s_time;
    static long s_nSize;
    static unsigned long s_crop[4] = {1, 2, 3, 4};
    static CROP_PIC_INFO s_info = {nullptr, 64, 0, 85, {0, 0, 0}, s_crop};
    static RECT s_region = {10, 20, 30, 40};
    return {
        {"OpenSound", [](auto &drovel) { return drovel.openSound(); }, "Kavun_PlaySound(0)", "Kavun_PlaySound",
         "bool __cdecl pellora::Drovel::openSound(void)"},
        {"CloseSound", [](auto &drovel) { return drovel.closeSound(); }, "Kavun_StopSound()", "Kavun_StopSound",
         "bool __cdecl pellora::Drovel::closeSound(void)"},
        {"SetVolume", [](auto &drovel) { return drovel.setVolume(0xFFFE); }, "Kavun_SetVolume(0, 65534)",
         "Kavun_SetVolume", "bool __cdecl pellora::Drovel::setVolume(unsigned short)"},
        {"GetSystemFileTime", [](auto &drovel) { return drovel.getSystemFileTime(&s_time, &s_time); },
         "Kavun_GetFileTotalTime(0, out, out)", "Kavun_GetFileTotalTime",
         "bool __cdecl pellora::Drovel::getSystemFileTime(struct KAVUN_SYSTEM_TIME *,struct KAVUN_SYSTEM_TIME *)"},
        {"GetSystemTime", [](auto &drovel) { return drovel.getSystemTime(&s_time); }, "Kavun_GetSystemTime(0, out)",
         "Kavun_GetSystemTime", "bool __cdecl pellora::Drovel::getSystemTime(struct KAVUN_SYSTEM_TIME *)"},
        {"GetPictureSize", [](auto &drovel) { return drovel.getPictureSize(s_nSize, s_nSize); },
         "Kavun_GetPictureSize(0, out, out)", "Kavun_GetPictureSize",
         "bool __cdecl pellora::Drovel::getPictureSize(long &,long &)"},
        {"Capture", [](auto &drovel) { return drovel.capture(kBuffer, 0, nullptr); }, "Kavun_GetJPEG(0, 0x70, 0, null)",
         "Kavun_GetJPEG", "bool __cdecl pellora::Drovel::capture(unsigned char *,unsigned long,unsigned long *)"},
        {"Screenshot",
         [](auto &drovel) {
             s_info.dwPicSize = 0;
             return drovel.screenshot(&s_info);
         },
         "Kavun_GetCropJPEG(0, {null, 64, 0, 85, 0, 0, 0, {1, 2, 3, 4}})", "Kavun_GetCropJPEG",
         "bool __cdecl pellora::Drovel::screenshot(struct CROP_PIC_INFO *)"},
        {"RegisterFileEnd", [](auto &drovel) { return drovel.registerFileEndCallback(&onPort, kUser); },
         "Kavun_SetFileEndCallback(0, " + address(&onPort) + ", 0x55)", "Kavun_SetFileEndCallback",
         "bool __cdecl pellora::Drovel::registerFileEndCallback(void (__cdecl *)(long,void *),void *)"},
        {"UnregisterFileEnd", [](auto &drovel) { return drovel.unRegisterFileEndCallback(); },
         "Kavun_SetFileEndCallback(0, null, null)", "Kavun_SetFileEndCallback",
         "bool __cdecl pellora::Drovel::unRegisterFileEndCallback(void)"},
        {"RegisterDraw", [](auto &drovel) { return drovel.registerDrawFunc(&onDraw, kUser); },
         "Kavun_RegisterDrawFun(0, " + address(&onDraw) + ", 0x55)", "Kavun_RegisterDrawFun",
         "bool __cdecl pellora::Drovel::registerDrawFunc(void (__cdecl *)(long,struct HDC__ *,void *),void *)"},
        {"UnregisterDraw", [](auto &drovel) { return drovel.unRegisterDrawFunc(); },
         "Kavun_RegisterDrawFun(0, null, null)", "Kavun_RegisterDrawFun",
         "bool __cdecl pellora::Drovel::unRegisterDrawFunc(void)"},
        {"SetDisplayRegion", [](auto &drovel) { return drovel.setDisplayRegion(&s_region); },
         "Kavun_SetDisplayRegion(0, 0, {10, 20, 30, 40}, null, 0)", "Kavun_SetDisplayRegion",
         "bool __cdecl pellora::Drovel::setDisplayRegion(struct tagRECT *)"},
        {"ClearDisplayRegion", [](auto &drovel) { return drovel.setDisplayRegion(nullptr); },
         "Kavun_SetDisplayRegion(0, 0, null, null, 0)", "Kavun_SetDisplayRegion",
         "bool __cdecl pellora::Drovel::setDisplayRegion(struct tagRECT *)"},
        {"OneByOne", [](auto &drovel) { return drovel.oneByOne(); }, "Kavun_OneByOne(0)", "Kavun_OneByOne",
         "bool __cdecl pellora::Drovel::oneByOne(void)"},
        {"OneByOneBack",
         [](auto &drovel) {
             drovel.setFileRefDone(true);
             return drovel.oneByOneBack();
         },
         "Kavun_OneByOneBack(0)", "Kavun_OneByOneBack", "bool __cdecl pellora::Drovel::oneByOneBack(void)"},
        {"SetPlayedTime", [](auto &drovel) { return drovel.setPlayedTime(90); }, "Kavun_SetPlayedTimeEx(0, 90000)",
         "Kavun_SetPlayedTimeEx", "bool __cdecl pellora::Drovel::setPlayedTime(unsigned long)"},
        {"Play", [](auto &drovel) { return drovel.play(); }, "Kavun_Play(0, 0x1234)", "Kavun_Play",
         "bool __cdecl pellora::Drovel::play(void)"},
        {"Pause", [](auto &drovel) { return drovel.pause(); }, "Kavun_Pause(0, 1)", "Kavun_Pause",
         "bool __cdecl pellora::Drovel::pause(void)"},
        {"Restore", [](auto &drovel) { return drovel.restore(); }, "Kavun_Pause(0, 0)", "Kavun_Pause",
         "bool __cdecl pellora::Drovel::restore(void)"},
        {"Fast", [](auto &drovel) { return drovel.fast(); }, "Kavun_Fast(0)", "Kavun_Fast",
         "bool __cdecl pellora::Drovel::fast(void)"},
        {"Slow", [](auto &drovel) { return drovel.slow(); }, "Kavun_Slow(0)", "Kavun_Slow",
         "bool __cdecl pellora::Drovel::slow(void)"},
    };
}

std::string nameOf(const testing::TestParamInfo<Operation> &info)
{
    return info.param.name;
}

class DrovelSwitchTest : public DrovelFixture, public testing::WithParamInterface<Operation>
{
};

TEST_P(DrovelSwitchTest, MakesOneCallAndSaysNothingOnSuccess)
{
    openFile();

    EXPECT_TRUE(GetParam().run(m_drovel));

    EXPECT_THAT(newCalls(), ElementsAre(GetParam().call));
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_P(DrovelSwitchTest, LogsTheLastErrorOnFailure)
{
    openFile();
    doubles::script(GetParam().function, {13});

    EXPECT_FALSE(GetParam().run(m_drovel));

    EXPECT_THAT(newCalls(), ElementsAre(GetParam().call, "Kavun_GetLastError(0)"));
    EXPECT_THAT(m_log.lines(), ElementsAre(IsLogLine("ERROR", std::string(GetParam().function) + " error: 13.",
                                                     GetParam().signature)));
}

TEST_P(DrovelSwitchTest, DoesNothingWithoutAPort)
{
    EXPECT_FALSE(GetParam().run(m_drovel));

    EXPECT_THAT(newCalls(), IsEmpty());
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Every, DrovelSwitchTest, testing::ValuesIn(switches()), nameOf);

struct Getter {
    const char *name;
    std::function<unsigned long(pellora::Drovel &)> run;
    const char *function;
    const char *signature;
    unsigned long value;
};

void PrintTo(const Getter &getter, std::ostream *pStream)
{
    *pStream << getter.name;
}

class DrovelGetterTest : public DrovelFixture, public testing::WithParamInterface<Getter>
{
protected:
    void SetUp() override
    {
        DrovelFixture::SetUp();
        doubles::PlayerOutputs outputs;
        outputs.volume = 40000;
        outputs.fileTime = 3600;
        outputs.playedTime = 17;
        doubles::setPlayerOutputs(outputs);
    }

    std::string call() const
    {
        return std::string(GetParam().function) + "(0)";
    }
};

TEST_P(DrovelGetterTest, HandsThePlayersValueOut)
{
    openFile();

    EXPECT_EQ(GetParam().run(m_drovel), GetParam().value);

    EXPECT_THAT(newCalls(), ElementsAre(call(), "Kavun_GetLastError(0)"));
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_P(DrovelGetterTest, JudgesFailureByTheLastErrorAndNotByTheValue)
{
    openFile();
    doubles::script(GetParam().function, {12});

    EXPECT_EQ(GetParam().run(m_drovel), 0UL);

    EXPECT_THAT(newCalls(), ElementsAre(call(), "Kavun_GetLastError(0)"));
    EXPECT_THAT(m_log.lines(), ElementsAre(IsLogLine("ERROR", std::string(GetParam().function) + " error: 12.",
                                                     GetParam().signature)));
}

TEST_P(DrovelGetterTest, IsZeroWithoutAPort)
{
    EXPECT_EQ(GetParam().run(m_drovel), 0UL);

    EXPECT_THAT(newCalls(), IsEmpty());
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

const Getter kGetters[] = {
    {"GetVolume", [](auto &drovel) { return drovel.getVolume(); }, "Kavun_GetVolume",
     "unsigned short __cdecl pellora::Drovel::getVolume(void)", 40000},
    {"GetFileTime", [](auto &drovel) { return drovel.getFileTime(); }, "Kavun_GetFileTime",
     "unsigned long __cdecl pellora::Drovel::getFileTime(void)", 3600},
    {"GetPlayedTime", [](auto &drovel) { return drovel.getPlayedTime(); }, "Kavun_GetPlayedTime",
     "unsigned long __cdecl pellora::Drovel::getPlayedTime(void)", 17},
};
INSTANTIATE_TEST_SUITE_P(Every, DrovelGetterTest, testing::ValuesIn(kGetters),
                         [](const auto &getter) { return std::string(getter.param.name); });

} // namespace
