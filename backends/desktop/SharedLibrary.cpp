#include "backends/desktop/SharedLibrary.h"

#include <dlfcn.h>

#include "platform/core/Exception.h"
#include "platform/core/Text.h"

namespace desktop {

namespace {

/// Throws for null.
void* Found(void* address, const std::string& what) {
    if (address == nullptr) {
        throw platform::Exception(platform::result::kFail,
                                  u"The library " + platform::FromUtf8(what) + u" cannot be used.");
    }
    return address;
}

}  // namespace

SharedLibrary::SharedLibrary(std::string file)
    : m_file(std::move(file)), m_handle(Found(dlopen(m_file.c_str(), RTLD_LAZY), m_file)) {}

SharedLibrary::Function SharedLibrary::operator[](const char* name) const {
    return Function(Found(dlsym(m_handle, name), m_file + " (" + name + ")"));
}

}  // namespace desktop
