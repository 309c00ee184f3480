#ifndef INTERFACE_TESTS_CONTRACT_SIGNATURETEXT_H
#define INTERFACE_TESTS_CONTRACT_SIGNATURETEXT_H

#include "interface/Pellora.h"

#include <string>
#include <type_traits>

/**
 * Signatures of exported functions, as lines of the log name them: as Microsoft's compiler spells types.
 *
 * What is only read is spelled without const, which says nothing about the binary interface.
 */
namespace contract
{

template <typename Type>
struct TypeText;

#define CONTRACT_TYPE_TEXT(type, spelling)                                                                             \
    template <>                                                                                                        \
    struct TypeText<type> {                                                                                            \
        static std::string get()                                                                                       \
        {                                                                                                              \
            return spelling;                                                                                           \
        }                                                                                                              \
    }

CONTRACT_TYPE_TEXT(void, "void");
CONTRACT_TYPE_TEXT(char, "char");
CONTRACT_TYPE_TEXT(unsigned char, "unsigned char");
CONTRACT_TYPE_TEXT(unsigned short, "unsigned short");
CONTRACT_TYPE_TEXT(int, "int");
CONTRACT_TYPE_TEXT(long, "long");
CONTRACT_TYPE_TEXT(unsigned long, "unsigned long");
CONTRACT_TYPE_TEXT(HWND__, "struct HWND__");
CONTRACT_TYPE_TEXT(tagPELLORA_PREVIEW_PARAM, "struct tagPELLORA_PREVIEW_PARAM");
CONTRACT_TYPE_TEXT(tagPELLORA_BATCH_PREVIEW_PARAM, "struct tagPELLORA_BATCH_PREVIEW_PARAM");
CONTRACT_TYPE_TEXT(tagPELLORA_PREVIEW_STATUS, "struct tagPELLORA_PREVIEW_STATUS");
CONTRACT_TYPE_TEXT(tagPELLORA_SYSTEM_TIME, "struct tagPELLORA_SYSTEM_TIME");
CONTRACT_TYPE_TEXT(tagPELLORA_POINT, "struct tagPELLORA_POINT");
CONTRACT_TYPE_TEXT(tagPELLORA_RECT, "struct tagPELLORA_RECT");
CONTRACT_TYPE_TEXT(tagPELLORA_CROP_PIC_INFO, "struct tagPELLORA_CROP_PIC_INFO");
CONTRACT_TYPE_TEXT(tagPELLORA_CLIP_AREA, "struct tagPELLORA_CLIP_AREA");

#undef CONTRACT_TYPE_TEXT

template <typename... Arguments>
std::string argumentsText()
{
    std::string text;
    ((text += (text.empty() ? "" : ",") + TypeText<Arguments>::get()), ...);
    return text.empty() ? "void" : text;
}

template <typename Type>
struct TypeText<Type *> {
    static std::string get()
    {
        return TypeText<std::remove_const_t<Type>>::get() + " *";
    }
};

template <typename Result, typename... Arguments>
struct TypeText<Result (*)(Arguments...)> {
    static std::string get()
    {
        return TypeText<Result>::get() + " (__cdecl *)(" + argumentsText<Arguments...>() + ")";
    }
};

/** Only for functions that promise to throw nothing, as every export does. */
template <typename Result, typename... Arguments>
std::string signatureText(const std::string &name, Result (* /*pFunction*/)(Arguments...) noexcept)
{
    return TypeText<Result>::get() + " __cdecl " + name + "(" + argumentsText<Arguments...>() + ")";
}

} // namespace contract

#endif
