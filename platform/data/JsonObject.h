#pragma once

// JSON (RFC 8259) as values, with the platform's names. Any thread; nothing here throws anything but
// platform::Exception.

#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/core/Exception.h"

namespace platform {

namespace result {
inline constexpr HResult kInvalidJson = 0x83750007;
inline constexpr HResult kJsonValueNotFound = 0x83750009;
}  // namespace result

class JsonValue;
using JsonArray = std::vector<JsonValue>;

/// Members in the order in which they were set or read.
class JsonObject {
  public:
    /// Text that is longer, or values that are nested deeper, are refused, so that foreign text costs little.
    static constexpr std::size_t kMaxCharacters = 65'536;
    static constexpr int kMaxDepth = 32;

    /// The object that `text` is. A lone surrogate is read as U+FFFD; of two members of one name the last
    /// counts. Throws kInvalidJson.
    static JsonObject Parse(std::u16string_view text);

    /// One line of valid text, of which nothing steers a terminal: control characters, line separators and
    /// marks of direction are escaped.
    std::u16string Stringify() const;

    void SetNamedValue(std::u16string_view name, JsonValue value);

    /// Null where there is no such member.
    const JsonValue* Find(std::u16string_view name) const;

    /// The member's value. Throws kJsonValueNotFound where there is none, kInvalidJson for one of another
    /// type; with a default, that one where there is none.
    const std::u16string& GetNamedString(std::u16string_view name) const;
    std::u16string GetNamedString(std::u16string_view name, std::u16string_view otherwise) const;
    double GetNamedNumber(std::u16string_view name) const;
    bool GetNamedBoolean(std::u16string_view name) const;
    const JsonArray& GetNamedArray(std::u16string_view name) const;
    const JsonObject& GetNamedObject(std::u16string_view name) const;

    auto begin() const { return m_members.begin(); }
    auto end() const { return m_members.end(); }

  private:
    const JsonValue& GetNamedValue(std::u16string_view name) const;

    std::vector<std::pair<std::u16string, JsonValue>> m_members;
};

class JsonValue {
  public:
    JsonValue() = default;
    JsonValue(std::same_as<bool> auto value) : m_value(value) {}
    /// Whole numbers up to 2^53 are exact. Infinities and NaN, which JSON has not, become null.
    JsonValue(double value);
    template <std::integral T>
    requires(!std::same_as<T, bool>) JsonValue(T value) : JsonValue(static_cast<double>(value)) {}
    JsonValue(std::u16string value);
    JsonValue(std::u16string_view value) : m_value(std::u16string(value)) {}
    JsonValue(const char16_t* value) : m_value(std::u16string(value)) {}
    JsonValue(JsonArray value) : m_value(std::move(value)) {}
    JsonValue(JsonObject value) : m_value(std::move(value)) {}

    /// Throw kInvalidJson for a value of another type.
    bool GetBoolean() const { return Get<bool>(); }
    double GetNumber() const { return Get<double>(); }
    const std::u16string& GetString() const { return Get<std::u16string>(); }
    const JsonArray& GetArray() const { return Get<JsonArray>(); }
    const JsonObject& GetObject() const { return Get<JsonObject>(); }

    std::u16string Stringify() const;

  private:
    template <typename T>
    const T& Get() const {
        const T* value = std::get_if<T>(&m_value);
        if (value == nullptr) {
            throw Exception(result::kInvalidJson, u"The JSON value is of another type");
        }
        return *value;
    }

    friend struct JsonWriter;

    std::variant<std::nullptr_t, bool, double, std::u16string, JsonArray, JsonObject> m_value = nullptr;
};

}  // namespace platform
