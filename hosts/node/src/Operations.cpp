#include "hosts/node/src/Operations.h"

#include "hosts/node/src/Invoke.h"

#include <cmath>
#include <functional>
#include <map>
#include <utility>

namespace pellora::node
{
namespace
{

using Invoker = std::function<Answer(const PelloraFunctions &, long, Value::List)>;

const std::map<std::string, Invoker> &invokers()
{
#define PELLORA_NODE_INVOKER(result, name, parameters)                                                                 \
    {#name, [](const PelloraFunctions &functions, long lHandle, Value::List arguments) {                               \
         return invoke(functions.name, lHandle, std::move(arguments));                                                 \
     }},
    static const std::map<std::string, Invoker> table{PELLORA_FUNCTIONS(PELLORA_NODE_INVOKER)};
#undef PELLORA_NODE_INVOKER
    return table;
}

void require(const Library &library, const char *pFunction, int nResult)
{
    if (nResult == 0) {
        throw library.failure(pFunction);
    }
}

void choosePane(const Library &library, const Window &window, int nPane)
{
    if (nPane >= 0) {
        require(library, "PELLORA_SetCurWnd", library.video().PELLORA_SetCurWnd(window.lHandle, nPane));
    }
}

/** Where 0 is a good answer, a dead window is told from it in advance. */
void requireLife(const Window &window, const std::string &function)
{
    if (window.lHandle == PELLORA_NO_WINDOW) {
        throw CallError(function, "the video window is closed");
    }
    if (IsWindow(window.hHost) == 0) {
        throw CallError(function, "the host window was destroyed");
    }
}

bool isFailure(Expect expect, double result)
{
    return (expect == Expect::One && result == 0) || (expect == Expect::NotNegative && result < 0);
}

tagPELLORA_POINT pictureSize(const Library &library, const Window &window, int nPane)
{
    tagPELLORA_POINT size{};
    choosePane(library, window, nPane);
    library.video().PELLORA_GetPictureSize(window.lHandle, &size);
    return size;
}

/** Room for most pictures; the library tells when it needs more. */
constexpr std::size_t kFirstBuffer = std::size_t{1} << 20;
constexpr int kCaptureAttempts = 4;

/** function(buffer, size needed) answers 1 when the buffer holds the picture. */
template <class Function>
Bytes captureInto(const Library &library, const char *pName, Function function)
{
    Bytes bytes(kFirstBuffer);
    for (int i = 0; i < kCaptureAttempts; ++i) {
        unsigned long dwSize = 0;
        if (function(bytes, dwSize) != 0) {
            bytes.resize(dwSize);
            return bytes;
        }
        if (dwSize <= bytes.size()) {
            break;
        }
        // The next picture may be larger.
        bytes.resize(dwSize + dwSize / 4);
    }
    throw library.failure(pName);
}

} // namespace

Value openWindow(Library &library, Window &window, unsigned char embedMode)
{
    if (IsWindow(window.hHost) == 0) {
        throw CallError("PELLORA_CreateWindow", "there is no such host window");
    }
    library.begin();
    // One more would be shown and belong to nobody.
    if (library.isFull()) {
        throw CallError("PELLORA_CreateWindow", "there are nine video windows, and no more are possible");
    }
    const long lHandle = library.video().PELLORA_CreateWindow(window.hHost, embedMode);
    if (lHandle < 0) {
        throw library.failure("PELLORA_CreateWindow");
    }
    window.lHandle = lHandle;
    library.follow(lHandle, {window.pQueue, window.nId});
    return Value(lHandle);
}

Value closeWindow(Library &library, Window &window)
{
    if (window.lHandle != PELLORA_NO_WINDOW) {
        library.forget(window.lHandle);
        library.video().PELLORA_DestroyWindow(std::exchange(window.lHandle, PELLORA_NO_WINDOW));
    }
    return {};
}

Value callFunction(Library &library, const Window &window, const std::string &function, Expect expect, int nPane,
                   const Value::List &arguments)
{
    const auto found = invokers().find(function);
    if (found == invokers().end()) {
        throw std::invalid_argument("there is no function " + function);
    }
    requireLife(window, function);
    choosePane(library, window, nPane);
    Answer answer = found->second(library.video(), window.lHandle, arguments);
    if (isFailure(expect, answer.result)) {
        throw library.failure(function);
    }
    return Value(Value::List{Value(answer.result), Value(std::move(answer.records))});
}

Value playFile(Library &library, const Window &window, int nPane, const std::string &file, bool bLoop, bool bOverlay)
{
    requireLife(window, "PELLORA_PreviewFile");
    choosePane(library, window, nPane);
    require(library, "PELLORA_PreviewFile",
            library.video().PELLORA_PreviewFile(window.lHandle, file.c_str(), bLoop ? 1 : 0, bOverlay ? 1 : 0));
    library.followFileEnd(window.lHandle, nPane);
    return {};
}

Value capture(Library &library, const Window &window, int nPane, const Value &part, unsigned long dwQuality)
{
    const char *pName = part.isNull() ? "PELLORA_Capture" : "PELLORA_Screenshot";
    requireLife(window, pName);
    choosePane(library, window, nPane);
    const PelloraFunctions &video = library.video();
    if (part.isNull()) {
        return Value(captureInto(library, pName, [&](Bytes &bytes, unsigned long &dwSize) {
            return video.PELLORA_Capture(window.lHandle, bytes.data(), static_cast<unsigned long>(bytes.size()),
                                         &dwSize);
        }));
    }
    const Value::List &edges = part.as<Value::List>();
    return Value(captureInto(library, pName, [&](Bytes &bytes, unsigned long &dwSize) {
        // The call replaces them by pixels.
        std::array<unsigned long, 4> rect{};
        for (std::size_t i = 0; i < rect.size(); ++i) {
            rect[i] = numberOf<unsigned long>(edges.at(i));
        }
        tagPELLORA_CROP_PIC_INFO info{};
        info.pBuf = bytes.data();
        info.dwBufSize = static_cast<unsigned long>(bytes.size());
        info.dwQuality = dwQuality;
        info.pCropRect = rect.data();
        const int nResult = video.PELLORA_Screenshot(window.lHandle, &info);
        dwSize = info.dwPicSize;
        return nResult;
    }));
}

Value previewBatch(Library &library, const Window &window, const Value::List &requests)
{
    requireLife(window, "PELLORA_BatchPreviewStream");
    std::vector<std::string> addresses(PELLORA_PANES_PER_WINDOW);
    tagPELLORA_BATCH_PREVIEW_PARAM batch{};
    for (const Value &request : requests) {
        const Value::List &fields = request.as<Value::List>();
        tagPELLORA_PREVIEW_PARAM &param = batch.struPreviewParam[batch.wNum];
        std::string &address = addresses.at(batch.wNum++);
        param.userID = numberOf<long>(fields.at(0));
        param.lChannel = numberOf<unsigned long>(fields.at(1));
        param.streamType = numberOf<long>(fields.at(2));
        param.openDraw = numberOf<unsigned char>(fields.at(3));
        if (!fields.at(4).isNull()) {
            address = fields[4].as<std::string>();
            param.url = address.data();
        }
    }
    require(library, "PELLORA_BatchPreviewStream",
            library.video().PELLORA_BatchPreviewStream(window.lHandle, batch, nullptr));
    return {};
}

Value getRule(Library &library, const Window &window, int nPane, long lRule)
{
    requireLife(window, "PELLORA_GetRuleCoord");
    Bytes record(sizeof(tagPELLORA_RULE_TEXT));
    require(library, "PELLORA_GetRuleCoord",
            library.video().PELLORA_GetRuleCoord(window.lHandle, lRule, record.data(), nPane));
    const tagPELLORA_POINT size = pictureSize(library, window, nPane);
    return Value(Value::List{Value(std::move(record)), Value(size.x), Value(size.y)});
}

Value setRule(Library &library, const Window &window, int nPane, long lRule, Bytes record, std::size_t nFirst,
              std::size_t nWords)
{
    requireLife(window, "PELLORA_SetRuleCoord");
    record.resize(sizeof(tagPELLORA_RULE_TEXT));
    if (nFirst + nWords * sizeof(long) > record.size()) {
        throw std::invalid_argument("the record has no such words");
    }
    const tagPELLORA_POINT size = nWords > 0 ? pictureSize(library, window, nPane) : tagPELLORA_POINT{1, 1};
    if (size.x <= 0 || size.y <= 0) {
        throw CallError("PELLORA_SetRuleCoord", "pixels need a picture, and there is none yet");
    }
    for (std::size_t i = 0; i < nWords; ++i) {
        long lWord = 0;
        unsigned char *pWord = record.data() + nFirst + i * sizeof(lWord);
        std::memcpy(&lWord, pWord, sizeof(lWord));
        lWord = std::lround(lWord * 1000.0 / (i % 2 == 0 ? size.x : size.y));
        std::memcpy(pWord, &lWord, sizeof(lWord));
    }
    require(library, "PELLORA_SetRuleCoord",
            library.video().PELLORA_SetRuleCoord(window.lHandle, lRule, record.data(), nPane));
    return {};
}

} // namespace pellora::node
