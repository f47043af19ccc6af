#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace platform {

/// The display texts of the user's language, from the package's Resources.resw files. Any thread.
class ResourceLoader {
  public:
    /// The loader for the user's languages; the same for the life of the process.
    static std::shared_ptr<ResourceLoader> GetForCurrentView();

    /// Reads the files, which GetForCurrentView does once. Throws a platform exception, with file and line,
    /// for one that cannot be read.
    static std::shared_ptr<ResourceLoader> Read();

    /// The text of a key ("Usable/Text" names the entry "Usable.Text"): from the first of the user's
    /// languages that has it, then from English. Empty when there is none.
    std::u16string GetString(std::u16string_view key) const;

  private:
    std::map<std::u16string, std::u16string, std::less<>> m_texts;
};

/// What the user's settings ask of the display. Any thread.
class ResourceContext {
  public:
    static ResourceContext GetForCurrentView();

    /// "LayoutDirection" is "LTR" or "RTL", by the user's first language; "Language" is its tag.
    const std::map<std::u16string, std::u16string, std::less<>>& QualifierValues() const { return m_values; }

  private:
    std::map<std::u16string, std::u16string, std::less<>> m_values;
};

}  // namespace platform
