#include "interface/Pellora.h"

#include "VideoWindow/HostMemory.h"
#include "interface/HostText.h"
#include "interface/LogAddress.h"
#include "interface/PaneChoice.h"
#include "preview/PreviewParam.h"
#include "preview/PreviewStatus.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

using namespace pellora;

static_assert(sizeof(tagPELLORA_PREVIEW_STATUS) == sizeof(PreviewStatus), "the record is copied as it is");

namespace
{

constexpr unsigned short kMostRequests = 9;

/** Logs an address without its credentials. */
template <typename... Arguments>
void logCallWithAddress(const LogLocation &where, const char *pFormat, const char *pUrl,
                        Arguments... arguments) noexcept
{
    try {
        const std::string address = hostTextForLog(pUrl);
        logInfo(where, pFormat, arguments..., addressForLog(address, address.size() >= kMaxHostText).c_str());
    } catch (...) {
        logException(where);
    }
}

/** Whether the request can be one, whatever the window; a warning says why it cannot. */
bool isAcceptable(const LogLocation &where, const tagPELLORA_PREVIEW_PARAM &param) noexcept
{
    if (param.userID < 0) {
        return refuse(where, "userID %d is no log-in", param.userID);
    }
    if (param.lChannel == 0) {
        return refuse(where, "there is no lChannel 0, the first one is 1");
    }
    if (param.streamType < 0 || param.streamType > 2) {
        return refuse(where, "there is no streamType %d, only 0, 1 and 2", param.streamType);
    }
    if (param.openDraw > 1) {
        return refuse(where, "openDraw is %d, and has to be 0 or 1", param.openDraw);
    }
    return true;
}

PreviewParam requestOf(const tagPELLORA_PREVIEW_PARAM &param)
{
    PreviewParam request;
    request.userID = param.userID;
    request.lChannel = param.lChannel;
    request.streamType = param.streamType;
    request.openDraw = param.openDraw;
    return request;
}

using StartBatch = bool (VideoWindow::*)(long, const std::vector<PreviewParam> &, std::vector<PreviewParam> &);

int startBatch(const LogLocation &where, long lHandle, const tagPELLORA_BATCH_PREVIEW_PARAM &param,
               tagPELLORA_BATCH_PREVIEW_PARAM *pOut, StartBatch pfnStart) noexcept
{
    return onWindow<int>(where, lHandle, [&](VideoWindow &window) {
        std::array<std::string, kMostRequests> urls;
        std::vector<PreviewParam> requests;
        for (unsigned short i = 0; i < std::min(param.wNum, kMostRequests); ++i) {
            const tagPELLORA_PREVIEW_PARAM &struParam = param.struPreviewParam[i];
            requests.push_back(requestOf(struParam));
            if (struParam.url != nullptr) {
                urls[i] = readHostText(struParam.url, std::numeric_limits<std::size_t>::max());
                requests.back().url = urls[i].c_str();
            }
        }
        std::vector<PreviewParam> handed;
        const bool bStarted = (window.*pfnStart)(lHandle, requests, handed);
        if (pOut != nullptr) {
            for (std::size_t i = 0; i < handed.size(); ++i) {
                tagPELLORA_PREVIEW_PARAM &answer = pOut->struPreviewParam[i];
                answer.userID = handed[i].userID;
                answer.lChannel = handed[i].lChannel;
                answer.streamType = handed[i].streamType;
                answer.openDraw = handed[i].openDraw;
                answer.lHandle = handed[i].lHandle;
                answer.lSubHandel = handed[i].lSubHandel;
            }
            pOut->wNum = static_cast<unsigned short>(handed.size());
        }
        return bStarted ? 1 : 0;
    });
}

void logBatch(const LogLocation &where, const char *pFormat, long lHandle,
              const tagPELLORA_BATCH_PREVIEW_PARAM &param) noexcept
{
    for (unsigned short i = 0; i < std::min(param.wNum, kMostRequests); ++i) {
        const tagPELLORA_PREVIEW_PARAM &struParam = param.struPreviewParam[i];
        logCallWithAddress(where, pFormat, struParam.url, lHandle, struParam.userID, struParam.streamType,
                           struParam.openDraw, struParam.lSubHandel);
    }
}

} // namespace

int PELLORA_PreviewStream(long lHandle, tagPELLORA_PREVIEW_PARAM param) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_PreviewStream(long,struct tagPELLORA_PREVIEW_PARAM)");
    logCallWithAddress(where, "PELLORA_PreviewStream, lHandle: %d, userID: %d, streamType: %d, openDraw: %d, url: %s",
                       param.url, lHandle, param.userID, param.streamType, param.openDraw);
    if (!isAcceptable(where, param)) {
        return 0;
    }
    return onCurrentPane<int>(where, lHandle, [&](VideoWnd &pane) {
        // Without the address: a single preview runs on its log-in's; docs/compatibility.md: single-ignores-url.
        return pane.previewStream(requestOf(param)) ||
               refuse(where, "a start is under way in pane %d of window %d", pane.subHandel(), lHandle);
    });
}

int PELLORA_StopPreviewStream(long lHandle) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_StopPreviewStream(long)");
    logCall(where, "PELLORA_StopPreviewStream: lHandle: %d", lHandle);
    return onCurrentPane<int>(where, lHandle, &VideoWnd::stopPreviewStream);
}

int PELLORA_BatchPreviewStream(long lHandle, tagPELLORA_BATCH_PREVIEW_PARAM param,
                               tagPELLORA_BATCH_PREVIEW_PARAM *pOut) noexcept
{
    const LogLocation where =
        exportAt("int __cdecl PELLORA_BatchPreviewStream(long,struct tagPELLORA_BATCH_PREVIEW_PARAM,"
                 "struct tagPELLORA_BATCH_PREVIEW_PARAM *)");
    logCall(where, "PELLORA_BatchPreviewStream: lHandle: %d, wNum: %d", lHandle, param.wNum);
    logBatch(where,
             "PELLORA_BatchPreviewStream, lHandle: %d, userID: %d, streamType: %d, openDraw: %d, lSubHandel: %d, "
             "url: %s",
             lHandle, param);
    return startBatch(where, lHandle, param, pOut, &VideoWindow::batchPreview);
}

int PELLORA_BatchPreviewStream_Async(long lHandle, tagPELLORA_BATCH_PREVIEW_PARAM param,
                                     tagPELLORA_BATCH_PREVIEW_PARAM *pOut) noexcept
{
    const LogLocation where =
        exportAt("int __cdecl PELLORA_BatchPreviewStream_Async(long,struct tagPELLORA_BATCH_PREVIEW_PARAM,"
                 "struct tagPELLORA_BATCH_PREVIEW_PARAM *)");
    logCall(where, "PELLORA_BatchPreviewStream_Async: lHandle: %d, wNum: %d", lHandle, param.wNum);
    logBatch(where,
             "PELLORA_BatchPreviewStream_Async, lHandle: %d, userID: %d, streamType: %d, openDraw: %d, lSubHandel: %d, "
             "url: %s",
             lHandle, param);
    return startBatch(where, lHandle, param, pOut, &VideoWindow::batchPreviewAsync);
}

int PELLORA_StopAllPreviewStream(long lHandle) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_StopAllPreviewStream(long)");
    logCall(where, "PELLORA_StopAllPreviewStream: lHandle: %d", lHandle);
    return onWindow<int>(where, lHandle, &VideoWindow::stopAllPreview);
}

int PELLORA_StopAllPreviewStream_Async(long lHandle) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_StopAllPreviewStream_Async(long)");
    logCall(where, "PELLORA_StopAllPreviewStream_Async: lHandle: %d", lHandle);
    return onWindow<int>(where, lHandle, &VideoWindow::stopAllPreviewAsync);
}

int PELLORA_SetPreviewStatusCallback(long lHandle, pfnPreviewStatusCB pfnCallback) noexcept
{
    const LogLocation where = exportAt(
        "int __cdecl PELLORA_SetPreviewStatusCallback(long,void (__cdecl *)(struct tagPELLORA_PREVIEW_STATUS))");
    logCall(where, "PELLORA_SetPreviewStatusCallback: lHandle: %d, pfnPreviewStatusCB: %p", lHandle, pfnCallback);
    return onWindow<int>(where, lHandle, [&](VideoWindow &window) {
        if (pfnCallback == nullptr) {
            return window.setPreviewStatusCallback(nullptr, lHandle);
        }
        return window.setPreviewStatusCallback(
            [pfnCallback](const PreviewStatus &status) {
                tagPELLORA_PREVIEW_STATUS record;
                std::memcpy(&record, &status, sizeof(record));
                pfnCallback(record);
            },
            lHandle);
    });
}

int PELLORA_SetIntelData(long lHandle, unsigned short wOpen) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_SetIntelData(long,unsigned short)");
    logCall(where, "PELLORA_SetIntelData: lHandle: %d, wOpen: %d", lHandle, wOpen);
    return onWindow<int>(where, lHandle, &VideoWindow::setIntelData, wOpen != 0);
}
