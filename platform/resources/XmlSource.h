#pragma once

#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "platform/resources/PackageFiles.h"

namespace platform {

/// An XML file of the package, parsed; its failures name file and line. For the layer's own readers.
class XmlSource {
  public:
    /// Throws a platform exception when the file is not well-formed.
    explicit XmlSource(LoadedFile file);

    /// The root element, which must have this name.
    pugi::xml_node Root(std::string_view name) const;
    pugi::xml_node Root() const { return m_document.document_element(); }

    /// Throws a platform exception: "MainPage.xaml:12: " and `problem`.
    [[noreturn]] void Fail(const pugi::xml_node& where, std::string_view problem) const;

  private:
    [[noreturn]] void FailAt(std::ptrdiff_t offset, std::string_view problem) const;

    LoadedFile m_file;
    pugi::xml_document m_document;
};

}  // namespace platform
