#ifndef HOSTS_NODE_INVOKE_H
#define HOSTS_NODE_INVOKE_H

#include "hosts/node/src/Value.h"

#include "Pellora_load.h"

#include <algorithm>
#include <cstring>
#include <tuple>

namespace pellora::node
{

/** What a function has answered, and the records that it was given, as they are afterwards. */
struct Answer {
    double result = 0;
    Value::List records;
};

/** Turns an argument into a function's parameter. Records and callbacks that lead on to other memory are not for this.
 */
template <class Parameter, class = void>
struct ParameterOf {
    static Parameter from(Value &)
    {
        throw std::invalid_argument("the function has an operation of its own");
    }
};

template <class Number>
struct ParameterOf<Number, std::enable_if_t<std::is_integral_v<Number>>> {
    static Number from(Value &value)
    {
        return numberOf<Number>(value);
    }
};

template <>
struct ParameterOf<HWND> {
    static HWND from(Value &value)
    {
        return reinterpret_cast<HWND>(static_cast<UINT_PTR>(numberOf<unsigned long>(value)));
    }
};

template <>
struct ParameterOf<const char *> {
    static const char *from(Value &value)
    {
        return value.isNull() ? nullptr : value.as<std::string>().c_str();
    }
};

/** A record, whose size is known. */
template <class Record>
struct ParameterOf<Record *, std::enable_if_t<std::is_class_v<Record> && !std::is_same_v<Record *, HWND> &&
                                              !std::is_same_v<Record, tagPELLORA_CROP_PIC_INFO> &&
                                              !std::is_same_v<Record, tagPELLORA_BATCH_PREVIEW_PARAM>>> {
    static Record *from(Value &value)
    {
        if (value.isNull()) {
            return nullptr;
        }
        Bytes &bytes = value.as<Bytes>();
        bytes.resize(std::max(bytes.size(), sizeof(Record)));
        return reinterpret_cast<Record *>(bytes.data());
    }
};

/** A rule's record or its extension: whatever the rule's type is, the largest one has room. */
template <class Void>
struct ParameterOf<Void *, std::enable_if_t<std::is_void_v<Void>>> {
    static Void *from(Value &value)
    {
        if (value.isNull()) {
            return nullptr;
        }
        Bytes &bytes = value.as<Bytes>();
        bytes.resize(std::max(bytes.size(), sizeof(tagPELLORA_RULE_TEXT)));
        return bytes.data();
    }
};

template <>
struct ParameterOf<tagPELLORA_PREVIEW_PARAM> {
    static tagPELLORA_PREVIEW_PARAM from(Value &value)
    {
        tagPELLORA_PREVIEW_PARAM record{};
        const Bytes &bytes = value.as<Bytes>();
        std::memcpy(&record, bytes.data(), std::min(bytes.size(), sizeof(record)));
        // No address from outside: this call does not look at it.
        record.url = nullptr;
        return record;
    }
};

template <class Result, class... Parameters, std::size_t... indices>
Answer invokeWith(Result (*pfnFunction)(Parameters...), Value::List &arguments, std::index_sequence<indices...>)
{
    (void)arguments;
    Answer answer;
    answer.result = static_cast<double>(pfnFunction(ParameterOf<Parameters>::from(arguments[indices])...));
    for (Value &argument : arguments) {
        if (std::holds_alternative<Bytes>(argument.data)) {
            answer.records.push_back(std::move(argument));
        }
    }
    return answer;
}

/** Calls a function of the library; a first parameter of type long is the window's handle. */
template <class Result, class... Parameters>
Answer invoke(Result (*pfnFunction)(Parameters...), long lHandle, Value::List arguments)
{
    if constexpr (sizeof...(Parameters) > 0) {
        if constexpr (std::is_same_v<std::tuple_element_t<0, std::tuple<Parameters...>>, long>) {
            arguments.insert(arguments.begin(), Value(lHandle));
        }
    }
    if (arguments.size() != sizeof...(Parameters)) {
        throw std::invalid_argument("the function has another number of arguments");
    }
    return invokeWith(pfnFunction, arguments, std::index_sequence_for<Parameters...>());
}

} // namespace pellora::node

#endif
