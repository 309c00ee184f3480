#include "device/src/Module.h"

#include "companion/OwnModule.h"
#include "device/src/Ffmpeg.h"

#include <cstdarg>

namespace selvik
{

namespace
{

void dropMessage(void * /*pContext*/, int /*level*/, const char * /*pFormat*/, va_list /*arguments*/) {}

} // namespace

void prepareProcess()
{
    static const bool bPrepared = [] {
        av_log_set_callback(&dropMessage);
        companion::keepLoaded();
        return true;
    }();
    (void)bPrepared;
}

} // namespace selvik
