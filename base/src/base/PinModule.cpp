#include "base/PinModule.h"

#include <windows.h>

namespace Base
{

void pinModule(const void *pFunction)
{
    HMODULE hModule = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                       static_cast<LPCWSTR>(pFunction), &hModule);
}

} // namespace Base
