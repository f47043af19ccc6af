#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "platform/core/Guarded.h"

namespace platform {

/// A boxed value; std::monostate is a key's missing value.
using PropertyValue = std::variant<std::monostate, bool, std::int32_t, std::int64_t, double, std::u16string>;

using PropertyMap = std::map<std::u16string, PropertyValue, std::less<>>;

/// A map of text keys to boxed values that tells its owner of every change. Any thread.
class PropertySet {
  public:
    /// `changed` is called with the whole map after each change, one change at a time; it must not throw.
    PropertySet(PropertyMap values, std::function<void(const PropertyMap&)> changed);

    bool HasKey(std::u16string_view key) const;

    /// Nothing when there is no such key.
    std::optional<PropertyValue> Lookup(std::u16string_view key) const;

    /// Sets the value of `key`, which may exist.
    void Insert(std::u16string_view key, PropertyValue value);

    /// Does nothing when there is no such key.
    void Remove(std::u16string_view key);

  private:
    void Change(const std::function<void(PropertyMap&)>& change);

    Guarded<PropertyMap> m_values;
    const std::function<void(const PropertyMap&)> m_changed;
};

/// The Boolean in `value`. A missing value or another type is a platform exception (null pointer, no such
/// interface).
bool UnboxBoolean(const PropertyValue& value);

/// The text in `value`, empty for a missing value. Another type is a platform exception.
std::u16string UnboxString(const PropertyValue& value);

}  // namespace platform
