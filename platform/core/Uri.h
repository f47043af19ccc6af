#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// A URI, cut as RFC 3986 says; only what an activation needs.
class Uri {
  public:
    Uri() = default;

    /// Nothing when `text` has no scheme.
    static std::optional<Uri> Parse(std::u16string_view text);

    /// The scheme, in lower case.
    const std::u16string& SchemeName() const { return m_scheme; }

    /// The query with its "?"; empty when there is none.
    const std::u16string& Query() const { return m_query; }

  private:
    std::u16string m_scheme;
    std::u16string m_query;
};

}  // namespace platform
