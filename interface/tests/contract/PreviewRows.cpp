// Live previews.

#include "interface/tests/contract/ContractRow.h"
#include "interface/tests/contract/Readings.h"

#include <cstring>

namespace contract
{

namespace
{

/** A start of channel `nChannel` in a pane, at the device library. */
std::string start(int nChannel, const std::string &wnd, const std::string &url = "null", int nUser = 7,
                  int nStreamType = 1)
{
    return "SELVIK_DCM_StartPreview(" + std::to_string(nUser) + ", {" + std::to_string(nChannel) + ", " +
           std::to_string(nStreamType) + ", 0, 0, 1, 0, {any}, " + wnd + ", zero, " + url + ", zero})";
}

char g_address[] = "rtsp://192.0.2.7/a";

/** Two requests; the words that only answers have are not looked at. */
tagPELLORA_BATCH_PREVIEW_PARAM twoRequests()
{
    tagPELLORA_BATCH_PREVIEW_PARAM batch = {};
    batch.struPreviewParam[0] = {7, 11, 1, 0, 77, 88, nullptr};
    batch.struPreviewParam[1] = {8, 12, 2, 1, 77, 88, g_address};
    // Beyond wNum.
    batch.struPreviewParam[2] = {9, 13, 0, 0, 77, 88, nullptr};
    batch.wNum = 2;
    return batch;
}

tagPELLORA_BATCH_PREVIEW_PARAM g_answer;

/** What a batch call has written into the answer. */
std::string batchAnswer(const Scene & /*scene*/, long /*lPane*/)
{
    std::string text = std::to_string(g_answer.wNum);
    for (int i = 0; i < g_answer.wNum; ++i) {
        const tagPELLORA_PREVIEW_PARAM &param = g_answer.struPreviewParam[i];
        text += "; " + std::to_string(param.userID) + " " + std::to_string(param.lChannel) + " " +
                std::to_string(param.streamType) + " " + std::to_string(param.openDraw) + " " +
                std::to_string(param.lHandle) + " " + std::to_string(param.lSubHandel) + " " +
                (param.url == g_address ? "its own address" : "another address");
    }
    return text;
}

void forgetAnswer(const Scene & /*scene*/)
{
    g_answer = {};
    for (tagPELLORA_PREVIEW_PARAM &param : g_answer.struPreviewParam) {
        param.url = g_address;
    }
}

using StartBatch = int (*)(long, tagPELLORA_BATCH_PREVIEW_PARAM, tagPELLORA_BATCH_PREVIEW_PARAM *);

Row batchRow(Row made, StartBatch pfnStart)
{
    const std::string request = made.function + ", lHandle: {handle}, ";
    return made.acting(ActsOn::Window)
        .prepared(forgetAnswer)
        .asked([pfnStart](const Target &t) { return pfnStart(t.lHandle, twoRequests(), &g_answer); })
        .logging({made.function + ": lHandle: {handle}, wNum: 2",
                  request + "userID: 7, streamType: 1, openDraw: 0, lSubHandel: 88, url: (null)",
                  request + "userID: 8, streamType: 2, openDraw: 1, lSubHandel: 88, url: rtsp://192.0.2.7/a"})
        .showing(batchAnswer, "2; 7 11 1 0 1 0 its own address; 8 12 2 1 1 1 its own address");
}

std::vector<std::string> batchStarts()
{
    return {start(11, "{wnd:0}"), start(12, "{wnd:1}", "\"rtsp://192.0.2.7/a\"", 8, 2)};
}

/** What the end of a pane's preview is to the player and to the device library. */
Texts stopCalls()
{
    return {"Kavun_RegisterDrawFun({port}, null, null)", "Kavun_Stop({port})", "Kavun_CloseStream({port})",
            "Kavun_FreePort({port})", "SELVIK_DCM_StopPreview({preview})"};
}

Row previewRow()
{
    return row("PELLORA_PreviewStream", &PELLORA_PreviewStream,
               "int __cdecl PELLORA_PreviewStream(long,struct tagPELLORA_PREVIEW_PARAM)");
}

/** In the order of the checks; each has a value on either side of what is accepted. */
tagPELLORA_PREVIEW_PARAM request(const Target &target, bool bLow)
{
    tagPELLORA_PREVIEW_PARAM param;
    // Between the fields anything may stand.
    std::memset(&param, 0xFF, sizeof(param));
    param.userID = 7;
    param.lChannel = 12;
    param.streamType = 2;
    param.openDraw = 1;
    param.url = g_address;
    if (target.broken(0)) {
        param.userID = bLow ? -2147483647L - 1 : -1;
    }
    if (target.broken(1)) {
        param.lChannel = 0;
    }
    if (target.broken(2)) {
        param.streamType = bLow ? -1 : 3;
    }
    if (target.broken(3)) {
        param.openDraw = bLow ? 255 : 2;
    }
    return param;
}

std::vector<Check> requestChecks(const std::string &userID, const std::string &streamType, const std::string &openDraw)
{
    return {{"userID", Lookup::Later, "userID " + userID + " is no log-in"},
            {"lChannel", Lookup::Later, "there is no lChannel 0, the first one is 1"},
            {"streamType", Lookup::Later, "there is no streamType " + streamType + ", only 0, 1 and 2"},
            {"openDraw", Lookup::Later, "openDraw is " + openDraw + ", and has to be 0 or 1"}};
}

std::vector<Row> startRows()
{
    // The single preview's own address is logged, and goes no further.
    const Row single = previewRow()
                           .acting(ActsOn::CurrentPane)
                           .logging({"PELLORA_PreviewStream, lHandle: {handle}, userID: 7, streamType: 2, openDraw: 1, "
                                     "url: rtsp://192.0.2.7/a"})
                           .callingOnThePool({start(12, "{wnd}", "null", 7, 2)});
    return {
        Row(single)
            .asked([](const Target &t) { return PELLORA_PreviewStream(t.lHandle, request(t, false)); })
            .refusing(requestChecks("-1", "3", "2")),
        Row(single).is("FarFromWhatIsAccepted").asked([](const Target &t) {
            return PELLORA_PreviewStream(t.lHandle, request(t, true));
        }),
        batchRow(row("PELLORA_BatchPreviewStream", &PELLORA_BatchPreviewStream,
                     "int __cdecl PELLORA_BatchPreviewStream(long,struct tagPELLORA_BATCH_PREVIEW_PARAM,"
                     "struct tagPELLORA_BATCH_PREVIEW_PARAM *)"),
                 &PELLORA_BatchPreviewStream)
            .callingOnThePool(batchStarts()),
        batchRow(row("PELLORA_BatchPreviewStream_Async", &PELLORA_BatchPreviewStream_Async,
                     "int __cdecl PELLORA_BatchPreviewStream_Async(long,struct tagPELLORA_BATCH_PREVIEW_PARAM,"
                     "struct tagPELLORA_BATCH_PREVIEW_PARAM *)"),
                 &PELLORA_BatchPreviewStream_Async)
            .calling(batchStarts()),
    };
}

std::vector<Row> stopRows()
{
    return {
        row("PELLORA_StopPreviewStream", &PELLORA_StopPreviewStream, "int __cdecl PELLORA_StopPreviewStream(long)")
            .acting(ActsOn::CurrentPane, Playing::Live)
            .asked(&PELLORA_StopPreviewStream)
            .logging({"PELLORA_StopPreviewStream: lHandle: {handle}"})
            .callingOnThePool(stopCalls()),
        row("PELLORA_StopAllPreviewStream", &PELLORA_StopAllPreviewStream,
            "int __cdecl PELLORA_StopAllPreviewStream(long)")
            .acting(ActsOn::AllPanes, Playing::Live)
            .asked(&PELLORA_StopAllPreviewStream)
            .logging({"PELLORA_StopAllPreviewStream: lHandle: {handle}"})
            .callingOnThePool(stopCalls()),
        row("PELLORA_StopAllPreviewStream_Async", &PELLORA_StopAllPreviewStream_Async,
            "int __cdecl PELLORA_StopAllPreviewStream_Async(long)")
            .acting(ActsOn::AllPanes, Playing::Live)
            .asked(&PELLORA_StopAllPreviewStream_Async)
            .logging({"PELLORA_StopAllPreviewStream_Async: lHandle: {handle}"})
            .calling(stopCalls()),
    };
}

std::vector<Row> settingRows()
{
    const Row callback =
        row("PELLORA_SetPreviewStatusCallback", &PELLORA_SetPreviewStatusCallback,
            "int __cdecl PELLORA_SetPreviewStatusCallback(long,void (__cdecl *)(struct tagPELLORA_PREVIEW_STATUS))")
            .acting(ActsOn::AllPanes, Playing::Live);
    const Row intel =
        row("PELLORA_SetIntelData", &PELLORA_SetIntelData, "int __cdecl PELLORA_SetIntelData(long,unsigned short)")
            .acting(ActsOn::AllPanes, Playing::Files);
    return {
        Row(callback)
            .is("Some")
            .asked([](const Target &t) { return PELLORA_SetPreviewStatusCallback(t.lHandle, &noteStatus); })
            .logging({"PELLORA_SetPreviewStatusCallback: lHandle: {handle}, pfnPreviewStatusCB: " +
                      digits(reinterpret_cast<const void *>(&noteStatus))})
            .showingInThePane(toldStatus, "user 7 channel {channel} playing 1 of {pane} {pane}"),
        Row(callback)
            .is("None")
            .prepared([](const Scene &scene) { PELLORA_SetPreviewStatusCallback(scene.lHandle, &noteStatus); })
            .asked([](const Target &t) { return PELLORA_SetPreviewStatusCallback(t.lHandle, nullptr); })
            .logging({"PELLORA_SetPreviewStatusCallback: lHandle: {handle}, pfnPreviewStatusCB: 0000000000000000"})
            .showingInThePane(toldStatus, "nothing"),
        Row(intel)
            .is("Yes")
            .asked([](const Target &t) { return PELLORA_SetIntelData(t.lHandle, 2); })
            .logging({"PELLORA_SetIntelData: lHandle: {handle}, wOpen: 2"})
            .calling({"Kavun_RenderPrivateData({port}, 1, 1)"}),
        Row(intel)
            .is("No")
            .asked([](const Target &t) { return PELLORA_SetIntelData(t.lHandle, 0); })
            .logging({"PELLORA_SetIntelData: lHandle: {handle}, wOpen: 0"})
            .calling({"Kavun_RenderPrivateData({port}, 1, 0)"}),
    };
}

} // namespace

std::vector<Row> previewRows()
{
    std::vector<Row> rows = startRows();
    for (const auto &part : {stopRows(), settingRows()}) {
        rows.insert(rows.end(), part.begin(), part.end());
    }
    return rows;
}

} // namespace contract
