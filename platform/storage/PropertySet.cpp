#include "platform/storage/PropertySet.h"

#include <utility>

#include "platform/core/Exception.h"
#include "platform/core/Text.h"

namespace platform {

// Not in the header, or the type would be trivial.
NoValue::NoValue(const NoValue&) noexcept = default;

PropertySet::PropertySet(std::u16string origin, PropertyMap values,
                         std::function<void(PropertyMap&, const Edit&)> apply)
    : m_origin(std::move(origin)), m_values(std::move(values)), m_apply(std::move(apply)) {}

PropertyMap PropertySet::All() const {
    return m_values.With([](const PropertyMap& values) { return values; });
}

bool PropertySet::HasKey(std::u16string_view key) const {
    return Lookup(key).has_value();
}

std::optional<PropertyValue> PropertySet::Lookup(std::u16string_view key) const {
    return m_values.With([key](const PropertyMap& values) -> std::optional<PropertyValue> {
        const auto found = values.find(key);
        return found == values.end() ? std::nullopt : std::optional(found->second);
    });
}

std::optional<bool> PropertySet::LookupBoolean(std::u16string_view key) const {
    const auto value = Lookup(key);
    if (!value) {
        return {};
    }
    if (const auto* const boolean = std::get_if<bool>(&*value)) {
        return *boolean;
    }
    RefuseType(key, *value, bool{});
}

std::optional<std::u16string> PropertySet::LookupString(std::u16string_view key) const {
    const auto value = Lookup(key);
    if (!value) {
        return {};
    }
    if (std::holds_alternative<NoValue>(*value)) {
        return u"";
    }
    if (const auto* const text = std::get_if<std::u16string>(&*value)) {
        return *text;
    }
    RefuseType(key, *value, std::u16string());
}

void PropertySet::RefuseType(std::u16string_view key, const PropertyValue& value,
                             const PropertyValue& wanted) const {
    const auto code = std::holds_alternative<NoValue>(value) ? result::kPointer : result::kNoInterface;
    throw Exception(code, m_origin + u": " + std::u16string(key) + u" has the type " +
                              FromUtf8(kTypeNames[value.index()]) + u" in place of " +
                              FromUtf8(kTypeNames[wanted.index()]) +
                              u"; correct it, or delete the setting to have its default, and start again");
}

void PropertySet::Insert(std::u16string_view key, PropertyValue value) {
    Change([&](PropertyMap& values) { values.insert_or_assign(std::u16string(key), std::move(value)); });
}

void PropertySet::Remove(std::u16string_view key) {
    if (HasKey(key)) {
        Change([key](PropertyMap& values) { values.erase(std::u16string(key)); });
    }
}

void PropertySet::Change(const Edit& edit) {
    m_values.With([&](PropertyMap& values) { m_apply(values, edit); });
}

}  // namespace platform
