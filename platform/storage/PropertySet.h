#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "platform/core/Guarded.h"

namespace platform {

/// A key's missing value. Not std::monostate: of types that are all either trivial or texts the library of
/// GCC 12 makes a variant that destroys what is not there, when a copy of it fails for want of memory.
struct NoValue {
    NoValue() = default;
    NoValue(const NoValue&) noexcept;
    NoValue& operator=(const NoValue&) = default;
    ~NoValue() = default;
    bool operator==(const NoValue&) const = default;
};

/// A boxed value.
using PropertyValue = std::variant<NoValue, bool, std::int32_t, std::int64_t, double, std::u16string>;

using PropertyMap = std::map<std::u16string, PropertyValue, std::less<>>;

/// The names of the types that a boxed value has, by its index.
inline constexpr std::array kTypeNames = {"Empty", "Boolean", "Int32", "Int64", "Double", "String"};
static_assert(kTypeNames.size() == std::variant_size_v<PropertyValue>);

/// A map of text keys to boxed values whose owner makes every change. Any thread.
class PropertySet {
  public:
    using Edit = std::function<void(PropertyMap&)>;

    /// `origin` names the set in messages, such as the path of its file. `apply` is called for each change,
    /// one at a time, and must call the edit once with the map, which it may renew before; it must not throw.
    PropertySet(std::u16string origin, PropertyMap values,
                std::function<void(PropertyMap&, const Edit&)> apply);

    PropertyMap All() const;

    bool HasKey(std::u16string_view key) const;

    /// Nothing when there is no such key.
    std::optional<PropertyValue> Lookup(std::u16string_view key) const;

    /// The Boolean under `key`, nothing when there is no such key. A missing value or another type is a
    /// platform exception (null pointer, no such interface) that says for people what is wrong where, and the
    /// way out.
    std::optional<bool> LookupBoolean(std::u16string_view key) const;

    /// The same for a text, of which a missing value is the empty one.
    std::optional<std::u16string> LookupString(std::u16string_view key) const;

    /// Sets the value of `key`, which may exist.
    void Insert(std::u16string_view key, PropertyValue value);

    /// Does nothing when there is no such key.
    void Remove(std::u16string_view key);

    /// Several changes that depend on what is there, as one. The edit must not throw.
    void Change(const Edit& edit);

  private:
    [[noreturn]] void RefuseType(std::u16string_view key, const PropertyValue& value,
                                 const PropertyValue& wanted) const;
    const std::u16string m_origin;
    Guarded<PropertyMap> m_values;
    const std::function<void(PropertyMap&, const Edit&)> m_apply;
};

}  // namespace platform
