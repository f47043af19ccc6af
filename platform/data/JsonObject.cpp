#include "platform/data/JsonObject.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <iterator>

#include "platform/core/Text.h"

namespace platform {

namespace {

Exception NotJson(const std::u16string& why) {
    return {result::kInvalidJson, u"The text is no JSON object: " + why};
}

/// Of values whose depth is known to be limited.
JsonValue Converted(const nlohmann::ordered_json& json) {
    if (json.is_boolean()) {
        return json.get<bool>();
    }
    if (json.is_number()) {
        return json.get<double>();
    }
    if (json.is_string()) {
        return FromUtf8(json.get_ref<const std::string&>());
    }
    if (json.is_array()) {
        JsonArray array;
        std::ranges::transform(json, std::back_inserter(array), Converted);
        return array;
    }
    if (json.is_object()) {
        JsonObject object;
        for (const auto& [name, value] : json.items()) {
            object.SetNamedValue(FromUtf8(name), Converted(value));
        }
        return object;
    }
    return {};
}

}  // namespace

/// The library would leave characters in place that steer a terminal, so texts are written by ToJson.
struct JsonWriter {
    std::string Text{};

    void Write(const JsonValue& value) {
        std::visit([this](const auto& held) { Write(held); }, value.m_value);
    }
    void Write(std::nullptr_t) { Text += "null"; }
    void Write(bool value) { Text += value ? "true" : "false"; }
    void Write(double value) {
        std::array<char, 32> digits;
        constexpr double kExact = 9007199254740992;
        const char* const end =
            std::abs(value) <= kExact && value == std::trunc(value)
                ? std::to_chars(digits.begin(), digits.end(), static_cast<std::int64_t>(value)).ptr
                : std::to_chars(digits.begin(), digits.end(), value).ptr;
        Text.append(static_cast<const char*>(digits.data()), end);
    }
    void Write(const std::u16string& value) { Text += ToJson(value); }
    void Write(const JsonArray& array) {
        WriteList('[', array, [this](const JsonValue& value) { Write(value); });
        Text += ']';
    }
    void Write(const JsonObject& object) {
        WriteList('{', object, [this](const auto& member) {
            Write(member.first);
            Text += ':';
            Write(member.second);
        });
        Text += '}';
    }
    template <typename List, typename WriteOne>
    void WriteList(char separator, const List& list, WriteOne writeOne) {
        Text += separator;
        separator = 0;
        for (const auto& each : list) {
            if (std::exchange(separator, ',') != 0) {
                Text += ',';
            }
            writeOne(each);
        }
    }
};

JsonObject JsonObject::Parse(std::u16string_view text) {
    if (text.size() > kMaxCharacters) {
        throw NotJson(u"it is longer than " + ToText(std::uint64_t{kMaxCharacters}) + u" characters");
    }
    try {
        const auto json = nlohmann::ordered_json::parse(ToValidUtf8(text), [](int depth, auto, auto&) {
            if (depth >= kMaxDepth) {
                throw NotJson(u"its values are nested too deep");
            }
            return true;
        });
        return Converted(json).GetObject();
    } catch (const nlohmann::json::parse_error& error) {
        throw NotJson(u"byte " + ToText(std::uint64_t{error.byte}) + u" is wrong");
    } catch (const nlohmann::json::exception&) {
        throw NotJson(u"a number is too large");
    } catch (...) {
        throw CurrentException();
    }
}

std::u16string JsonObject::Stringify() const {
    JsonWriter writer;
    writer.Write(*this);
    return FromUtf8(writer.Text);
}

std::u16string JsonValue::Stringify() const {
    JsonWriter writer;
    writer.Write(*this);
    return FromUtf8(writer.Text);
}

JsonValue::JsonValue(std::u16string value) : m_value(std::move(value)) {}

JsonValue::JsonValue(double value) {
    if (std::isfinite(value)) {
        m_value = value;
    }
}

void JsonObject::SetNamedValue(std::u16string_view name, JsonValue value) {
    for (auto& [known, held] : m_members) {
        if (known == name) {
            held = std::move(value);
            return;
        }
    }
    m_members.emplace_back(name, std::move(value));
}

const JsonValue* JsonObject::Find(std::u16string_view name) const {
    for (const auto& [known, held] : m_members) {
        if (known == name) {
            return &held;
        }
    }
    return nullptr;
}

const JsonValue& JsonObject::GetNamedValue(std::u16string_view name) const {
    const JsonValue* const value = Find(name);
    if (value == nullptr) {
        throw Exception(result::kJsonValueNotFound, u"The JSON object has no member " + std::u16string(name));
    }
    return *value;
}

const std::u16string& JsonObject::GetNamedString(std::u16string_view name) const {
    return GetNamedValue(name).GetString();
}

std::u16string JsonObject::GetNamedString(std::u16string_view name, std::u16string_view otherwise) const {
    const JsonValue* const value = Find(name);
    return value != nullptr ? value->GetString() : std::u16string(otherwise);
}

double JsonObject::GetNamedNumber(std::u16string_view name) const {
    return GetNamedValue(name).GetNumber();
}

bool JsonObject::GetNamedBoolean(std::u16string_view name) const {
    return GetNamedValue(name).GetBoolean();
}

const JsonArray& JsonObject::GetNamedArray(std::u16string_view name) const {
    return GetNamedValue(name).GetArray();
}

const JsonObject& JsonObject::GetNamedObject(std::u16string_view name) const {
    return GetNamedValue(name).GetObject();
}

}  // namespace platform
