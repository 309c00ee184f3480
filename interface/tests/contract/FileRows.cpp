// Recorded files and their times.

#include "interface/tests/contract/ContractRow.h"
#include "interface/tests/contract/Readings.h"

namespace contract
{

namespace
{

tagPELLORA_SYSTEM_TIME g_start;
tagPELLORA_SYSTEM_TIME g_end;

std::string spelledTime(const tagPELLORA_SYSTEM_TIME &time)
{
    std::string text;
    for (const unsigned long nPart :
         {time.dwYear, time.dwMonth, time.dwDay, time.dwHour, time.dwMinute, time.dwSecond, time.dwMillisecond}) {
        text += (text.empty() ? "" : " ") + std::to_string(nPart);
    }
    return text;
}

std::string writtenTimes(const Scene & /*scene*/, long /*lPane*/)
{
    return spelledTime(g_start) + "; " + spelledTime(g_end);
}

void forgetTimes(const Scene & /*scene*/)
{
    g_start = {};
    g_end = {};
}

/** A command that takes the window alone and is one call of the player. */
Row commandRow(const char *pFunction, int (*pHeader)(long) noexcept, const char *pSignature,
               const std::string &playersFunction, const std::string &arguments)
{
    return row(pFunction, pHeader, pSignature)
        .acting(ActsOn::CurrentPane, Playing::Files)
        .asked(pHeader)
        .logging({pFunction + std::string(": lHandle: {handle}")})
        .calling({playersFunction + "(" + arguments + ")"})
        .failingWith(playersFunction)
        .needingSource();
}

std::vector<Row> commandRows()
{
    return {
        commandRow("PELLORA_Play", &PELLORA_Play, "int __cdecl PELLORA_Play(long)", "Kavun_Play", "{port}, {surface}"),
        commandRow("PELLORA_Pause", &PELLORA_Pause, "int __cdecl PELLORA_Pause(long)", "Kavun_Pause", "{port}, 1"),
        commandRow("PELLORA_Restore", &PELLORA_Restore, "int __cdecl PELLORA_Restore(long)", "Kavun_Pause",
                   "{port}, 0"),
        commandRow("PELLORA_Fast", &PELLORA_Fast, "int __cdecl PELLORA_Fast(long)", "Kavun_Fast", "{port}"),
        commandRow("PELLORA_Slow", &PELLORA_Slow, "int __cdecl PELLORA_Slow(long)", "Kavun_Slow", "{port}"),
        commandRow("PELLORA_OneByOne", &PELLORA_OneByOne, "int __cdecl PELLORA_OneByOne(long)", "Kavun_OneByOne",
                   "{port}"),
        commandRow("PELLORA_OneByOneBack", &PELLORA_OneByOneBack, "int __cdecl PELLORA_OneByOneBack(long)",
                   "Kavun_OneByOneBack", "{port}"),
    };
}

Row previewFileRow(unsigned char byLoop, unsigned char byOpenDraw)
{
    return row("PELLORA_PreviewFile", &PELLORA_PreviewFile,
               "int __cdecl PELLORA_PreviewFile(long,char *,unsigned char,unsigned char)")
        .acting(ActsOn::CurrentPane)
        .asked([=](const Target &t) {
            char path[] = "C:\\films\\b.mp4";
            return PELLORA_PreviewFile(t.lHandle, path, byLoop, byOpenDraw);
        })
        .logging({"PELLORA_PreviewFile: lHandle: {handle}, pFileName: C:\\films\\b.mp4"})
        .failingWith("Kavun_OpenFile");
}

Texts openCalls()
{
    return {"Kavun_GetPort(out)",
            "Kavun_SetFileRefCallBack(0, {any}, {any})",
            "Kavun_SetStreamOpenMode(0, 1)",
            "Kavun_OpenFile(0, \"C:\\films\\b.mp4\")",
            "Kavun_SetDisplayBuf(0, 6)",
            "Kavun_Play(0, {surface})",
            "Kavun_RenderPrivateData(0, 255, 0)"};
}

Texts openCallsAnd(const std::string &call)
{
    Texts calls = openCalls();
    calls.push_back(call);
    return calls;
}

std::vector<Row> previewRowsOfFiles()
{
    return {
        previewFileRow(0, 0).calling(openCalls()),
        previewFileRow(1, 0).is("InALoop").calling(openCallsAnd("Kavun_SetFileEndCallback(0, {any}, {wnd})")),
        previewFileRow(0, 1).is("WithTheOverlay").calling(openCallsAnd("Kavun_RegisterDrawFun(0, {any}, {wnd})")),
        row("PELLORA_StopPreviewFile", &PELLORA_StopPreviewFile, "int __cdecl PELLORA_StopPreviewFile(long)")
            .acting(ActsOn::CurrentPane, Playing::Files)
            .asked(&PELLORA_StopPreviewFile)
            .logging({"PELLORA_StopPreviewFile: lHandle: {handle}"})
            .calling({"Kavun_RegisterDrawFun({port}, null, null)", "Kavun_SetFileEndCallback({port}, null, null)",
                      "Kavun_SetFileRefCallBack({port}, null, null)", "Kavun_Stop({port})", "Kavun_CloseFile({port})",
                      "Kavun_FreePort({port})"})
            .showingInThePane(ruleNumbers, "none"),
    };
}

Row endRow()
{
    return row("PELLORA_SetFileEndCallback", &PELLORA_SetFileEndCallback,
               "unsigned long __cdecl PELLORA_SetFileEndCallback(long,void (__cdecl *)(long))")
        .acting(ActsOn::CurrentPane, Playing::Files)
        .failingWith("Kavun_SetFileEndCallback");
}

std::vector<Row> endRows()
{
    return {
        endRow()
            .is("Some")
            .asked([](const Target &t) { return PELLORA_SetFileEndCallback(t.lHandle, &noteFileEnd); })
            .logging({"PELLORA_SetFileEndCallback: lHandle: {handle}, fFileEndCBFun: " +
                      digits(reinterpret_cast<const void *>(&noteFileEnd)) + "."})
            .calling({"Kavun_SetFileEndCallback({port}, {any}, {wnd})"})
            .showingInThePane(toldFileEnd, "end in window {handle}"),
        endRow()
            .is("None")
            .prepared([](const Scene &scene) { PELLORA_SetFileEndCallback(scene.lHandle, &noteFileEnd); })
            .asked([](const Target &t) { return PELLORA_SetFileEndCallback(t.lHandle, nullptr); })
            .logging({"PELLORA_SetFileEndCallback: lHandle: {handle}, fFileEndCBFun: 0000000000000000."})
            .calling({"Kavun_SetFileEndCallback({port}, null, null)"})
            .showingInThePane(toldFileEnd, "nothing"),
    };
}

Row seekRow(unsigned long dwSeconds)
{
    return row("PELLORA_SetPlayPos", &PELLORA_SetPlayPos, "int __cdecl PELLORA_SetPlayPos(long,unsigned long)")
        .acting(ActsOn::CurrentPane, Playing::Files)
        .asked([=](const Target &t) { return PELLORA_SetPlayPos(t.lHandle, dwSeconds); })
        .failingWith("Kavun_SetPlayedTimeEx")
        .needingSource();
}

std::vector<Row> timeRows()
{
    return {
        seekRow(90)
            .logging({"PELLORA_SetPlayPos: lHandle: {handle}, dwPlayedTime: 90"})
            .calling({"Kavun_SetPlayedTimeEx({port}, 90000)"}),
        // The format is that of signed numbers.
        seekRow(0xFFFFFFFFUL)
            .is("Last")
            .logging({"PELLORA_SetPlayPos: lHandle: {handle}, dwPlayedTime: -1"})
            .calling({"Kavun_SetPlayedTimeEx({port}, 4294967295)"}),
        row("PELLORA_GetPlayPos", &PELLORA_GetPlayPos, "unsigned long __cdecl PELLORA_GetPlayPos(long)")
            .acting(ActsOn::CurrentPane, Playing::Files)
            .asked(&PELLORA_GetPlayPos)
            .logging({"PELLORA_GetPlayPos: lHandle: {handle}"})
            .answering(17)
            .calling({"Kavun_GetPlayedTime({port})"})
            .failingWith("Kavun_GetPlayedTime")
            .needingSource(),
        row("PELLORA_GetFileTime", &PELLORA_GetFileTime, "unsigned long __cdecl PELLORA_GetFileTime(long)")
            .acting(ActsOn::CurrentPane, Playing::Files)
            .asked(&PELLORA_GetFileTime)
            .logging({"PELLORA_GetFileTime: lHandle: {handle}"})
            .answering(3600)
            .calling({"Kavun_GetFileTime({port})"})
            .failingWith("Kavun_GetFileTime")
            .needingSource(),
        row("PELLORA_GetFileTimeNoPriview", &PELLORA_GetFileTimeNoPriview,
            "unsigned long __cdecl PELLORA_GetFileTimeNoPriview(char *)")
            .acting(ActsOn::NoWindow)
            .asked([](const Target &) {
                char path[] = "b.mp4";
                return PELLORA_GetFileTimeNoPriview(path);
            })
            .logging({"PELLORA_GetFileTimeNoPriview: pFileName: b.mp4."})
            .answering(3600)
            .calling({"Kavun_GetPort(out)", "Kavun_OpenFile(0, \"b.mp4\")", "Kavun_GetFileTime(0)",
                      "Kavun_CloseFile(0)", "Kavun_FreePort(0)"})
            .failingWith("Kavun_OpenFile"),
        // Answer 0 when they have filled the records, too.
        row("PELLORA_GetSystemFileTime", &PELLORA_GetSystemFileTime,
            "int __cdecl PELLORA_GetSystemFileTime(long,struct tagPELLORA_SYSTEM_TIME *,"
            "struct tagPELLORA_SYSTEM_TIME *)")
            .acting(ActsOn::CurrentPane, Playing::Files)
            .prepared(forgetTimes)
            .asked([](const Target &t) {
                return PELLORA_GetSystemFileTime(t.lHandle, t.broken(0) ? nullptr : &g_start,
                                                 t.broken(1) ? nullptr : &g_end);
            })
            .logging({"PELLORA_GetSystemFileTime: lHandle: {handle}"})
            .answering(0)
            .calling({"Kavun_GetFileTotalTime({port}, out, out)"})
            .failingWith("Kavun_GetFileTotalTime")
            .needingSource()
            .refusing({{"NullStart", Lookup::Any, "pStart is null"}, {"NullEnd", Lookup::Any, "pEnd is null"}})
            .showing(writtenTimes, "2024 2 29 23 59 58 999; 2024 3 1 0 0 1 2"),
        row("PELLORA_GetSystemTime", &PELLORA_GetSystemTime,
            "int __cdecl PELLORA_GetSystemTime(long,struct tagPELLORA_SYSTEM_TIME *)")
            .acting(ActsOn::CurrentPane, Playing::Files)
            .prepared(forgetTimes)
            .asked([](const Target &t) { return PELLORA_GetSystemTime(t.lHandle, t.broken(0) ? nullptr : &g_start); })
            .logging({"PELLORA_GetSystemTime: lHandle: {handle}."})
            .answering(0)
            .calling({"Kavun_GetSystemTime({port}, out)"})
            .failingWith("Kavun_GetSystemTime")
            .needingSource()
            .refusing({{"NullTime", Lookup::Any, "pTime is null"}})
            .showing(writtenTimes, "2025 12 31 1 2 3 4; 0 0 0 0 0 0 0"),
    };
}

} // namespace

std::vector<Row> fileRows()
{
    std::vector<Row> rows = commandRows();
    for (const auto &part : {previewRowsOfFiles(), endRows(), timeRows()}) {
        rows.insert(rows.end(), part.begin(), part.end());
    }
    return rows;
}

} // namespace contract
