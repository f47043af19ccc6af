#include "platform/xaml/TypeRegistry.h"

#include <map>
#include <string>

#include "platform/core/Exception.h"
#include "platform/xaml/UIElement.h"

namespace platform {

namespace {

std::map<std::u16string, TypeFactory, std::less<>>& Types() {
    static std::map<std::u16string, TypeFactory, std::less<>> types;
    return types;
}

}  // namespace

void RegisterType(std::u16string_view fullName, TypeFactory factory) {
    Types().insert_or_assign(std::u16string(fullName), std::move(factory));
}

std::shared_ptr<UIElement> ActivateType(std::u16string_view fullName) {
    const auto found = Types().find(fullName);
    if (found == Types().end()) {
        throw Exception(result::kFail, u"There is no type " + std::u16string(fullName));
    }
    return found->second();
}

}  // namespace platform
