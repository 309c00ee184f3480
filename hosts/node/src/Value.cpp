#include "hosts/node/src/Value.h"

namespace pellora::node
{
namespace
{

void require(napi_status status)
{
    if (status != napi_ok) {
        throw std::invalid_argument("an argument cannot be read");
    }
}

std::string textOf(napi_env env, napi_value value)
{
    std::size_t nLength = 0;
    require(g_napi.napi_get_value_string_utf8(env, value, nullptr, 0, &nLength));
    std::string text(nLength + 1, '\0');
    require(g_napi.napi_get_value_string_utf8(env, value, &text[0], text.size(), &nLength));
    text.resize(nLength);
    return text;
}

Value::List listOf(napi_env env, napi_value value)
{
    std::uint32_t nLength = 0;
    require(g_napi.napi_get_array_length(env, value, &nLength));
    Value::List list;
    for (std::uint32_t i = 0; i < nLength; ++i) {
        napi_value element = nullptr;
        require(g_napi.napi_get_element(env, value, i, &element));
        list.push_back(fromScript(env, element));
    }
    return list;
}

Value fromObject(napi_env env, napi_value value)
{
    bool bIs = false;
    require(g_napi.napi_is_buffer(env, value, &bIs));
    if (bIs) {
        void *pData = nullptr;
        std::size_t nLength = 0;
        require(g_napi.napi_get_buffer_info(env, value, &pData, &nLength));
        const auto *pBytes = static_cast<const unsigned char *>(pData);
        return nLength > 0 ? Value(Bytes(pBytes, pBytes + nLength)) : Value(Bytes());
    }
    require(g_napi.napi_is_array(env, value, &bIs));
    if (bIs) {
        return Value(listOf(env, value));
    }
    throw std::invalid_argument("an argument is of another kind");
}

napi_value toList(napi_env env, const Value::List &list)
{
    napi_value result = nullptr;
    g_napi.napi_create_array_with_length(env, list.size(), &result);
    std::uint32_t i = 0;
    for (const Value &element : list) {
        g_napi.napi_set_element(env, result, i++, toScript(env, element));
    }
    return result;
}

} // namespace

Value fromScript(napi_env env, napi_value value)
{
    napi_valuetype type = napi_undefined;
    require(g_napi.napi_typeof(env, value, &type));
    switch (type) {
    case napi_undefined:
    case napi_null:
        return {};
    case napi_boolean: {
        bool bValue = false;
        require(g_napi.napi_get_value_bool(env, value, &bValue));
        return Value(bValue);
    }
    case napi_number: {
        double number = 0;
        require(g_napi.napi_get_value_double(env, value, &number));
        return Value(number);
    }
    case napi_string:
        return Value(textOf(env, value));
    default:
        return fromObject(env, value);
    }
}

napi_value toScript(napi_env env, const Value &value)
{
    napi_value result = nullptr;
    if (const bool *pTruth = std::get_if<bool>(&value.data)) {
        g_napi.napi_create_double(env, *pTruth ? 1 : 0, &result);
    } else if (const double *pNumber = std::get_if<double>(&value.data)) {
        g_napi.napi_create_double(env, *pNumber, &result);
    } else if (const std::string *pText = std::get_if<std::string>(&value.data)) {
        g_napi.napi_create_string_utf8(env, pText->data(), pText->size(), &result);
    } else if (const Bytes *pBytes = std::get_if<Bytes>(&value.data)) {
        // A copy: Electron allows no buffers around foreign memory.
        g_napi.napi_create_buffer_copy(env, pBytes->size(), pBytes->data(), nullptr, &result);
    } else if (const Value::List *pList = std::get_if<Value::List>(&value.data)) {
        result = toList(env, *pList);
    } else {
        g_napi.napi_get_null(env, &result);
    }
    return result;
}

} // namespace pellora::node
