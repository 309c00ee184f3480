#ifndef HOSTS_NODE_VALUE_H
#define HOSTS_NODE_VALUE_H

#include "hosts/node/src/NodeApi.h"

#include <limits>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

namespace pellora::node
{

using Bytes = std::vector<unsigned char>;

/** What passes between JavaScript and the library: null, a truth, a number, a text, bytes (a Buffer), or a list. */
struct Value {
    using List = std::vector<Value>;

    Value() = default;
    explicit Value(bool bValue) : data(bValue) {}
    template <class Number, std::enable_if_t<std::is_arithmetic_v<Number> && !std::is_same_v<Number, bool>, int> = 0>
    explicit Value(Number value) : data(static_cast<double>(value))
    {
    }
    explicit Value(std::string value) : data(std::move(value)) {}
    explicit Value(const char *pValue) : data(std::string(pValue)) {}
    explicit Value(Bytes value) : data(std::move(value)) {}
    explicit Value(List value) : data(std::move(value)) {}

    [[nodiscard]] bool isNull() const
    {
        return std::holds_alternative<std::monostate>(data);
    }

    /** The alternative that is asked for; throws std::invalid_argument where it is another one. */
    template <class Type>
    [[nodiscard]] const Type &as() const
    {
        const Type *pValue = std::get_if<Type>(&data);
        if (pValue == nullptr) {
            throw std::invalid_argument("an argument is of another kind");
        }
        return *pValue;
    }

    template <class Type>
    [[nodiscard]] Type &as()
    {
        return const_cast<Type &>(static_cast<const Value *>(this)->as<Type>());
    }

    std::variant<std::monostate, bool, double, std::string, Bytes, List> data;
};

/** On the JavaScript thread. Throws std::invalid_argument for what has no counterpart. */
[[nodiscard]] Value fromScript(napi_env env, napi_value value);

/** On the JavaScript thread, inside a handle scope; null when the engine has no memory. Bytes are copied. */
[[nodiscard]] napi_value toScript(napi_env env, const Value &value);

/** A whole number within the bounds of a parameter's type; throws std::invalid_argument otherwise. */
template <class Number>
[[nodiscard]] Number numberOf(const Value &value)
{
    if (const bool *pTruth = std::get_if<bool>(&value.data)) {
        return static_cast<Number>(*pTruth ? 1 : 0);
    }
    const double number = value.as<double>();
    // Also false for what is no number.
    if (!(number >= static_cast<double>(std::numeric_limits<Number>::min()) &&
          number <= static_cast<double>(std::numeric_limits<Number>::max())) ||
        number != static_cast<double>(static_cast<Number>(number))) {
        throw std::invalid_argument("a number is out of range");
    }
    return static_cast<Number>(number);
}

} // namespace pellora::node

#endif
