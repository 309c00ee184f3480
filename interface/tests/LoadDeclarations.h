/*
 * Declares every function of the lists in Pellora_load.h once more: a compiler takes it only where the list tells what
 * the headers tell. Included from C and from C++.
 */
#ifndef INTERFACE_TESTS_LOADDECLARATIONS_H
#define INTERFACE_TESTS_LOADDECLARATIONS_H

#include "interface/Pellora_load.h"

#ifdef __cplusplus
extern "C" {
#endif

#define DECLARE_AGAIN(result, name, parameters) result name parameters PELLORA_NOEXCEPT;
#define DECLARE_DEVICES_AGAIN(result, name, parameters) result name parameters;
PELLORA_FUNCTIONS(DECLARE_AGAIN)
SELVIK_FUNCTIONS(DECLARE_DEVICES_AGAIN)

#ifdef __cplusplus
}
#endif

#endif
