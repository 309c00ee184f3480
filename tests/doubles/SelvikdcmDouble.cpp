#include "Selvikdcm.h"

#include "tests/doubles/PreviewTable.h"
#include "tests/doubles/Recorder.h"

#include <algorithm>

using namespace doubles;

namespace
{

thread_local unsigned long t_lastError = SELVIK_ERROR_NONE;

bool succeeds(const char *function, const std::string &arguments)
{
    t_lastError = recordCall(function, arguments);
    return t_lastError == SELVIK_ERROR_NONE;
}

std::string spellReserved(const unsigned char *bytes, std::size_t size)
{
    const bool zero = std::all_of(bytes, bytes + size, [](unsigned char byte) { return byte == 0; });
    return zero ? "zero" : spellBytes(bytes, static_cast<unsigned long>(size));
}

std::string spellInfo(const SELVIK_DCM_PREVIEW_INFO *info)
{
    if (info == nullptr) {
        return "null";
    }
    return "{" +
           joined(info->channel, info->streamType, info->word8, info->word12, info->word16, info->pad20,
                  spell(reinterpret_cast<const void *>(info->callback)), spell(info->user),
                  spellReserved(info->reserved40, sizeof(info->reserved40)), spellText(info->url),
                  spellReserved(info->reserved56, sizeof(info->reserved56))) +
           "}";
}

} // namespace

long SELVIK_DCM_StartPreview(long userID, const SELVIK_DCM_PREVIEW_INFO *info)
{
    if (info == nullptr) {
        recordCall("SELVIK_DCM_StartPreview", joined(userID, spellInfo(info)));
        t_lastError = SELVIK_ERROR_ARGUMENT;
        return -1;
    }
    recordRequest(userID, *info);
    if (!succeeds("SELVIK_DCM_StartPreview", joined(userID, spellInfo(info)))) {
        return takeFailure();
    }
    return takePreview(*info);
}

int SELVIK_DCM_StopPreview(long previewHandle)
{
    if (!succeeds("SELVIK_DCM_StopPreview", joined(previewHandle))) {
        return 0;
    }
    if (!dropPreview(previewHandle)) {
        t_lastError = SELVIK_ERROR_HANDLE;
        return 0;
    }
    return 1;
}

unsigned long SELVIK_DCM_GetLastError(void)
{
    recordCall("SELVIK_DCM_GetLastError", "");
    return t_lastError;
}

long SELVIK_DCM_Login(const char *address, const char *user, const char *password)
{
    return succeeds("SELVIK_DCM_Login", joined(spellText(address), spellText(user), spellText(password))) ? takeLogin()
                                                                                                          : -1;
}

int SELVIK_DCM_Logout(long userID)
{
    return succeeds("SELVIK_DCM_Logout", joined(userID)) ? 1 : 0;
}
