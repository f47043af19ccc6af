#include "platform/storage/PropertySet.h"

#include <utility>

#include "platform/core/Exception.h"

namespace platform {

PropertySet::PropertySet(PropertyMap values, std::function<void(const PropertyMap&)> changed)
    : m_values(std::move(values)), m_changed(std::move(changed)) {}

bool PropertySet::HasKey(std::u16string_view key) const {
    return Lookup(key).has_value();
}

std::optional<PropertyValue> PropertySet::Lookup(std::u16string_view key) const {
    return m_values.With([key](const PropertyMap& values) -> std::optional<PropertyValue> {
        const auto found = values.find(key);
        return found == values.end() ? std::nullopt : std::optional(found->second);
    });
}

void PropertySet::Insert(std::u16string_view key, PropertyValue value) {
    Change([&](PropertyMap& values) { values.insert_or_assign(std::u16string(key), std::move(value)); });
}

void PropertySet::Remove(std::u16string_view key) {
    if (HasKey(key)) {
        Change([key](PropertyMap& values) { values.erase(std::u16string(key)); });
    }
}

void PropertySet::Change(const std::function<void(PropertyMap&)>& change) {
    m_values.With([&](PropertyMap& values) {
        change(values);
        m_changed(values);
    });
}

bool UnboxBoolean(const PropertyValue& value) {
    if (std::holds_alternative<std::monostate>(value)) {
        throw Exception(result::kPointer, u"Object reference not set to an instance of an object.");
    }
    if (const bool* boolean = std::get_if<bool>(&value)) {
        return *boolean;
    }
    throw Exception(result::kNoInterface, u"The value is not a Boolean.");
}

std::u16string UnboxString(const PropertyValue& value) {
    if (std::holds_alternative<std::monostate>(value)) {
        return {};
    }
    if (const auto* text = std::get_if<std::u16string>(&value)) {
        return *text;
    }
    throw Exception(result::kNoInterface, u"The value is not a String.");
}

}  // namespace platform
