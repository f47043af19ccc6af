#include "platform/resources/XmlSource.h"

#include <algorithm>

#include "platform/core/Exception.h"
#include "platform/core/Text.h"

namespace platform {

XmlSource::XmlSource(LoadedFile file) : m_file(std::move(file)) {
    const auto parsed = m_document.load_buffer(m_file.Content.data(), m_file.Content.size(),
                                               pugi::parse_default, pugi::encoding_utf8);
    if (!parsed) {
        FailAt(parsed.offset, parsed.description());
    }
}

pugi::xml_node XmlSource::Root(std::string_view name) const {
    const auto root = Root();
    if (root.name() != name) {
        Fail(root, "the root element must be <" + std::string(name) + ">");
    }
    return root;
}

void XmlSource::Fail(const pugi::xml_node& where, std::string_view problem) const {
    FailAt(where ? where.offset_debug() : 0, problem);
}

void XmlSource::FailAt(std::ptrdiff_t offset, std::string_view problem) const {
    const auto end =
        std::clamp<std::ptrdiff_t>(offset, 0, static_cast<std::ptrdiff_t>(m_file.Content.size()));
    const auto line = 1 + std::count(m_file.Content.begin(), m_file.Content.begin() + end, '\n');
    throw Exception(result::kMarkup,
                    FromUtf8(m_file.DisplayPath + ":" + std::to_string(line) + ": " + std::string(problem)));
}

}  // namespace platform
